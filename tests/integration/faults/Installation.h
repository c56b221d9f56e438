// One installation under test: a directory of its own, and what the callbacks were told.

#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "LogCapture.h"
#include "Norv/Corvane/Common/Installer.h"
#include "Packages.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

// What the two callbacks of one installation received. The worker writes, the test waits.
class Verdicts {
public:
    std::function<void(unsigned int)> progress(std::function<void(unsigned int)> then = {});
    std::function<void(bool)> completion(std::function<void(bool)> then = {});

    // Blocks until the completion callback has returned once.
    void wait();

    std::vector<unsigned int> percentages();
    std::vector<bool> completions();

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<unsigned int> percentages_;
    std::vector<bool> completions_;
    bool returned_ = false;
};

// Installs to the end and returns the verdicts, normally one.
std::vector<bool> install(Common::ValidatedFirmwareZip firmware,
                          const boost::filesystem::path& target,
                          std::function<void(unsigned int)> onProgress = {});

// What the log says about an installation that ended.
LogRecord failedOn(const std::string& localFilePath);
extern const LogRecord canceled;
extern const LogRecord cancelRequested;
extern const LogRecord succeeded;

class FaultTest : public testing::Test {
protected:
    boost::filesystem::path package() const { return directory / "firmware.zip"; }
    boost::filesystem::path target() const { return directory / "target"; }

    // Packs, validates and installs `files`.
    std::vector<bool> installAll(const std::vector<Payload>& files);

    const TemporaryDirectory directory;
};

}  // namespace Norv::Corvane::Test
