// A package directory, a target directory and the firmware-host program.

#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "PackageBuilder.h"
#include "Process.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

class HostFixture : public testing::Test {
protected:
    TemporaryDirectory directory;
    TemporaryDirectory target;
    const KeyFiles keys = writeKey(rsaKey(), directory);

    std::vector<std::string> command(const boost::filesystem::path& package,
                                     const std::vector<std::string>& options = {}) const {
        std::vector<std::string> words = {FIRMWARE_HOST};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(),
                     {keys.certificate.string(), package.string(), target.path().string()});
        return words;
    }
};

}  // namespace Norv::Corvane::Test
