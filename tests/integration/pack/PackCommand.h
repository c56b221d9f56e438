// The commands of firmware-pack on their usual roads, and looks at the packages they make.

#pragma once

#include <boost/json/parse.hpp>
#include <string>
#include <vector>

#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "PackFixture.h"

namespace Norv::Corvane::Test {

class PackCommand : public PackFixture {
protected:
    std::vector<std::string> targetsIn(const std::string& package) {
        auto zip =
            Common::FirmwareZipValidator(validator).ValidateFirmwareZipFile(folder / package);
        std::vector<std::string> targets;
        if (zip) {
            for (const auto& file : zip->description.files) {
                targets.push_back(file.remoteFilePath.value_or(file.localFilePath));
                EXPECT_TRUE(zip->package.validate(file)) << file.localFilePath;
            }
        }
        return targets;
    }

    boost::json::object inspect(const std::string& package, const Words& more = {}) {
        Words words = {"inspect", "--json", package};
        words.insert(words.end(), more.begin(), more.end());
        const ProcessResult result = pack(words);
        EXPECT_EQ(result.status, 0) << result.err;
        return boost::json::parse(result.out).as_object();
    }
};

}  // namespace Norv::Corvane::Test
