// One installation from end to end, as a host runs it: a signed package goes in, an installed tree
// and one verdict come out.

#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>
#include <string>

#include "Installation.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "PackageBuilder.h"
#include "TemporaryDirectory.h"
#include "ValidatorFixture.h"

namespace Norv::Corvane::Test {

class Road : public ValidatorFixture {
protected:
    // Validates the package and installs what passes. No report: it was refused.
    boost::optional<InstallationReport> travel(const boost::filesystem::path& package,
                                               const boost::filesystem::path& to) {
        auto firmware = zipValidator.ValidateFirmwareZipFile(package);
        if (!firmware) {
            return boost::none;
        }
        return installAndWait(*std::move(firmware), to);
    }

    boost::optional<InstallationReport> travel(const PackageBuilder& package) {
        return travel(package.build(directory), target.path());
    }

    std::string installed(const std::string& name) const { return readFile(target / name); }

    static LogRecord failedToProcess(const std::string& name) {
        return {spdlog::level::err, "Failed to process: " + name, "operator()"};
    }

    static LogRecord refused(const std::string& reason) {
        return {spdlog::level::err, "Invalid firmwareDescription: " + reason,
                "ValidateFirmwareZipFile"};
    }

    const LogRecord succeeded{spdlog::level::info, "Firmware installation succeded", "operator()"};

    TemporaryDirectory target;
    Common::FirmwareZipValidator zipValidator{validator};
};

// Bytes that do not compress, the same for the same seed.
inline std::string noise(std::size_t size, unsigned int seed = 1) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        seed = seed * 1664525U + 1013904223U;
        byte = static_cast<char>(seed >> 24U);
    }
    return bytes;
}

}  // namespace Norv::Corvane::Test
