#include "Manifest.h"

#include <gmock/gmock.h>

#include <boost/optional/optional_io.hpp>
#include <boost/variant/get.hpp>
#include <pugixml.hpp>

#include "Norv/Corvane/Common/FirmwareDescription.h"

namespace {

using namespace Norv::Corvane::Pack;
namespace Common = Norv::Corvane::Common;
using Norv::Ombrel::Project::DeviceType;
using testing::ElementsAre;

Common::FirmwareDescription parse(const std::string& xml) {
    pugi::xml_document document;
    EXPECT_TRUE(document.load_string(xml.c_str()));
    return boost::get<Common::FirmwareDescription>(
        Common::parseFirmwareDescription(document.child("FirmwareDescription")));
}

Manifest sample() {
    return {"QV", "PD03JNSH", "1.2.3.4", "5.6.7.8", "9.10.11.12", {"rev 1", "rev 2"}, {}};
}

TEST(PackManifest, ReadsBackAsItWasStated) {
    Manifest manifest = sample();
    manifest.files.push_back(
        {PayloadKind::Script, "s", "setup/Script.run", std::vector<std::uint8_t>(32, 7), 12});
    manifest.files.push_back(
        {PayloadKind::Firmware, "app", "app", std::vector<std::uint8_t>(32, 8), 4294967295});
    const Common::FirmwareDescription description = parse(toXml(manifest));

    EXPECT_EQ(description.deviceType, DeviceType(DeviceType::Type::PD03JNSH));
    EXPECT_EQ(to_string(description.version), "1.2.3.4");
    EXPECT_EQ(to_string(description.systemVersion), "5.6.7.8");
    EXPECT_EQ(to_string(description.applicationVersion), "9.10.11.12");
    EXPECT_THAT(description.supportedHwRevs, ElementsAre("rev 1", "rev 2"));
    ASSERT_EQ(description.files.size(), 2U);
    EXPECT_EQ(description.files[0].kind, Common::FileKind::Script);
    EXPECT_EQ(description.files[0].localFilePath, "s");
    EXPECT_EQ(description.files[0].remoteFilePath, std::string("setup/Script.run"));
    EXPECT_EQ(description.files[0].hashValue, manifest.files[0].hashValue);
    EXPECT_EQ(description.files[0].length, 12U);
    EXPECT_EQ(description.files[1].kind, Common::FileKind::Firmware);
    EXPECT_FALSE(description.files[1].remoteFilePath);
    EXPECT_EQ(description.files[1].length, 4294967295U);
}

TEST(PackManifest, EscapesMarkupInValues) {
    Manifest manifest = sample();
    const std::string awkward = "<\"&'>\t\n\xc3\xa9";
    manifest.supportedHwRevs = {awkward};
    EXPECT_THAT(parse(toXml(manifest)).supportedHwRevs, ElementsAre(awkward));
}

TEST(PackManifest, BindsThePrefixOfTheKindAttribute) {
    EXPECT_NE(toXml(sample()).find("xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""),
              std::string::npos);
}

}  // namespace
