#include "Package.h"

#include <gmock/gmock.h>

#include "Error.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "ValidatorFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using Pack::buildPackage;
using Pack::PackageInput;
using Pack::PackError;
using Pack::PayloadKind;
using testing::ElementsAre;
using testing::IsEmpty;

class PackPackage : public ValidatorFixture {
protected:
    TemporaryDirectory sources;
    TemporaryDirectory outputs;
    const std::string output = (outputs / "package.zip").string();
    const Pack::Signer signer{keys.key.string(), keys.certificate.string()};
    PackageInput input{{"QV", "QA01RTVN", "1.2.3.4", "5.6.7.8", "9.10.11.12", {"A"}, {}}, {}, true};

    void add(PayloadKind kind, const std::string& path, const std::string& data) {
        input.manifest.files.push_back({kind, path, path, {}, 0});
        input.sources.push_back(sources.write(path, data).string());
    }

    std::string failure() {
        try {
            buildPackage(input, signer, output);
        } catch (const PackError& error) {
            return error.what();
        }
        return "";
    }
};

TEST_F(PackPackage, PassesTheLibrarysOwnValidation) {
    add(PayloadKind::Firmware, "app", std::string(600000, 'a'));
    add(PayloadKind::Firmware, "empty", "");
    add(PayloadKind::Script, "Script.run", "exit 0");
    EXPECT_THAT(buildPackage(input, signer, output), IsEmpty());
    const auto zip = Common::FirmwareZipValidator(validator).ValidateFirmwareZipFile(output);
    ASSERT_TRUE(zip);
    ASSERT_EQ(zip->description.files.size(), 3U);
    for (const auto& file : zip->description.files) {
        EXPECT_TRUE(zip->package.validate(file)) << file.localFilePath;
    }
    EXPECT_EQ(zip->description.totalLength, 600006U);
}

TEST_F(PackPackage, ReturnsTheWarnings) {
    add(PayloadKind::Script, "install.sh", "exit 0");
    EXPECT_EQ(buildPackage(input, signer, output).size(), 1U);
    EXPECT_THAT(outputs.files(), ElementsAre("package.zip"));
}

TEST_F(PackPackage, IsNotWrittenWhenTheManifestIsWrong) {
    add(PayloadKind::Firmware, "app", "a");
    input.manifest.version = "1";
    input.manifest.modelId = "X";
    EXPECT_EQ(failure(),
              "manufacturer \"QV\", model \"X\" is no known device\n"
              "version \"1\" is not of the form 1.2.3.4");
    EXPECT_THAT(outputs.files(), IsEmpty());
}

TEST_F(PackPackage, IsCheckedBeforeThePayloadIsRead) {
    add(PayloadKind::Firmware, "app", "a");
    input.sources[0] = "/absent";
    input.manifest.version = "1";
    EXPECT_EQ(failure(), "version \"1\" is not of the form 1.2.3.4");
}

TEST_F(PackPackage, IsNotWrittenWhenASourceIsMissing) {
    add(PayloadKind::Firmware, "app", "a");
    input.sources[0] = "/absent";
    EXPECT_EQ(failure(), "cannot read /absent: No such file or directory");
    EXPECT_THAT(outputs.files(), IsEmpty());
    input.sources.clear();
    EXPECT_EQ(failure(), "a payload file has no source");
}

TEST_F(PackPackage, IsNotWrittenWhenTheManifestCannotBeSigned) {
    add(PayloadKind::Firmware, "app", "a");
    input.manifest.supportedHwRevs = {"\x01"};
    EXPECT_NE(failure().find("not well-formed XML"), std::string::npos);
    EXPECT_THAT(outputs.files(), IsEmpty());
}

}  // namespace
