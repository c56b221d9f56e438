// Packages made by the test support pass through the library: the other tests rely on that.

#include <gmock/gmock.h>
#include <spdlog/spdlog.h>

#include <boost/optional/optional_io.hpp>

#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "PackageBuilder.h"
#include "ValidatorFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::IsEmpty;

class Builder : public ValidatorFixture {
protected:
    Common::FirmwareZipValidator zipValidator{validator};
};

TEST_F(Builder, MakesPackagesThatTheLibraryAccepts) {
    const auto path = PackageBuilder()
                          .firmware("bin/app", "program")
                          .script("setup/Script.run", "exit 0\n")
                          .build(directory);
    const auto zip = zipValidator.ValidateFirmwareZipFile(path);
    ASSERT_TRUE(zip);
    EXPECT_THAT(log.records(), IsEmpty());
    ASSERT_EQ(zip->description.files.size(), 2U);
    EXPECT_EQ(zip->description.files[0].kind, Common::FileKind::Firmware);
    EXPECT_EQ(zip->description.files[0].localFilePath, "bin/app");
    EXPECT_FALSE(zip->description.files[0].remoteFilePath);
    EXPECT_EQ(zip->description.files[0].length, 7U);
    EXPECT_EQ(zip->description.files[1].kind, Common::FileKind::Script);
    EXPECT_TRUE(zip->package.validate(zip->description.files[0]));
    EXPECT_TRUE(zip->package.validate(zip->description.files[1]));
    EXPECT_THAT(zip->description.supportedHwRevs, ElementsAre("A", "B"));
}

TEST_F(Builder, EditsBeforeTheSignatureKeepItValid) {
    const auto path =
        PackageBuilder()
            .editManifest([](Pack::Manifest& manifest) { manifest.version = "4.3.2.1"; })
            .editXml([](std::string& xml) { xml.insert(xml.find("<Files"), "<Other/>"); })
            .build(directory);
    const auto zip = zipValidator.ValidateFirmwareZipFile(path);
    ASSERT_TRUE(zip);
    EXPECT_EQ(to_string(zip->description.version), "4.3.2.1");
}

TEST_F(Builder, TamperingAfterTheSignatureBreaksIt) {
    const std::string manifest =
        PackageBuilder()
            .tamper([](std::string& xml) { xml.replace(xml.find("1.2.3.4"), 7, "1.2.3.5"); })
            .manifest();
    EXPECT_EQ(validator.ValidateSignature(manifest), boost::make_optional(false));
}

TEST_F(Builder, SignsWithAnotherKeyOrNotAtAll) {
    EXPECT_EQ(validator.ValidateSignature(PackageBuilder().signedBy(strangerKey()).manifest()),
              boost::make_optional(false));
    EXPECT_EQ(validator.ValidateSignature(PackageBuilder().withoutSignature().manifest()),
              boost::none);
}

TEST_F(Builder, AcceptsEllipticCurveKeys) {
    ASSERT_FALSE(validator.Open(writeKey(ecKey(), directory, "ec").certificate));
    EXPECT_EQ(validator.ValidateSignature(PackageBuilder().signedBy(ecKey()).manifest()),
              boost::make_optional(true));
}

TEST_F(Builder, FlippedBitsAndOmittedEntriesStayInTheManifest) {
    const auto path = PackageBuilder()
                          .firmware("flipped", "aaaa")
                          .firmware("omitted", "bbbb")
                          .stored()
                          .flipBit("flipped")
                          .omit("omitted")
                          .build(directory);
    const auto zip = zipValidator.ValidateFirmwareZipFile(path);
    ASSERT_TRUE(zip);
    EXPECT_FALSE(zip->package.validate(zip->description.files[0]));
    EXPECT_THROW(zip->package.validate(zip->description.files[1]), std::runtime_error);
    EXPECT_NE(readFile(path).find("aa`a"), std::string::npos);
}

TEST_F(Builder, CapturesTheTextLevelAndFunctionOfALogLine) {
    EXPECT_FALSE(Common::FirmwarePackage::Create("/nonexistent.zip"));
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::err,
                                      "Faild to open /nonexistent.zip (No such file)", "Create"}));
}

}  // namespace
