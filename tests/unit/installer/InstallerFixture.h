// Installations of unsigned packages into a directory that the test can look into.

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Installation.h"
#include "LogCapture.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

inline LogRecord failedToProcess(const std::string& name) {
    return {spdlog::level::err, "Failed to process: " + name, "operator()"};
}
inline const LogRecord succeeded{spdlog::level::info, "Firmware installation succeded",
                                 "operator()"};

class InstallerTest : public testing::Test {
protected:
    // Installs into the target directory, which exists from the start.
    InstallationReport install(const PackageBuilder& package) const {
        return installAndWait(unsignedPackage(package), target.path());
    }

    std::string installed(const std::string& name) const { return readFile(target / name); }

    TemporaryDirectory target;
    LogCapture log;
};

}  // namespace Norv::Corvane::Test
