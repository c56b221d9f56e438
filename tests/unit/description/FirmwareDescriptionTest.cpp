#include "Norv/Corvane/Common/FirmwareDescription.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>
#include <string>
#include <type_traits>

#include "FileEntry.h"
#include "Norv/Corvane/Common/ErrorCodes.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using Norv::Ombrel::Project::DeviceType;
using Norv::Ombrel::Project::Version;
using File = FirmwareDescription::File;
using Outcome = boost::variant<FirmwareDescription, std::error_code>;

static_assert(static_cast<int>(FileKind::Script) == 0);
static_assert(static_cast<int>(FileKind::Firmware) == 1);
static_assert(static_cast<int>(HashAlgorithm::SHA256) == 0);

static_assert(
    std::is_same_v<decltype(parseFileKind), boost::optional<FileKind>(boost::string_view)>);
static_assert(std::is_same_v<decltype(parseHashAlgorithm),
                             boost::optional<HashAlgorithm>(boost::string_view)>);
static_assert(std::is_same_v<decltype(parseFile), boost::optional<File>(pugi::xml_node)>);
static_assert(std::is_same_v<decltype(parseFirmwareDescription), Outcome(pugi::xml_node)>);

static_assert(std::is_copy_constructible_v<File> && std::is_nothrow_move_constructible_v<File>);
static_assert(std::is_move_constructible_v<FirmwareDescription>);

// A manifest of which a test changes what it is about.
struct Manifest {
    std::string manufacturer = R"(<ManufacturerId Value="QV"/>)";
    std::string model = R"(<ModelId Value="WOLMZB04"/>)";
    std::string version = R"(<Version Value="1.2.3.4"/>)";
    std::string systemVersion = R"(<SystemVersion Value="5.6.7.8"/>)";
    std::string applicationVersion = R"(<ApplicationVersion Value="9.10.11.12"/>)";
    std::string rest;

    Outcome parse() const {
        const std::string text = "<FirmwareDescription>" + manufacturer + model + version +
                                 systemVersion + applicationVersion + rest +
                                 "</FirmwareDescription>";
        pugi::xml_document document;
        EXPECT_TRUE(document.load_string(text.c_str())) << text;
        return parseFirmwareDescription(document.child("FirmwareDescription"));
    }

    FirmwareDescription parsed() const { return boost::get<FirmwareDescription>(parse()); }

    std::error_code error() const {
        const Outcome outcome = parse();
        const auto* const error = boost::get<std::error_code>(&outcome);
        return error != nullptr ? *error : std::error_code();
    }
};

TEST(FirmwareDescription, HoldsItsFieldsInManifestOrder) {
    const FirmwareDescription description{
        DeviceType::Type::WOLMZB04,
        Version{1, 2, 3, 4},
        Version{5, 6, 7, 8},
        Version{9, 10, 11, 12},
        {"A"},
        {File{FileKind::Script, HashAlgorithm::SHA256, "local", std::string("remote"), {1, 2}, 3}},
        4};
    const auto& [type, version, system, application, revisions, files, total] = description;
    EXPECT_EQ(type, DeviceType(DeviceType::Type::WOLMZB04));
    EXPECT_EQ(version, (Version{1, 2, 3, 4}));
    EXPECT_EQ(system, (Version{5, 6, 7, 8}));
    EXPECT_EQ(application, (Version{9, 10, 11, 12}));
    EXPECT_EQ(revisions, std::vector<std::string>{"A"});
    EXPECT_EQ(total, 4U);

    const auto& [kind, algorithm, local, remote, hash, length] = files.at(0);
    EXPECT_EQ(kind, FileKind::Script);
    EXPECT_EQ(algorithm, HashAlgorithm::SHA256);
    EXPECT_EQ(local, "local");
    EXPECT_EQ(remote, std::string("remote"));
    EXPECT_EQ(hash, (std::vector<std::uint8_t>{1, 2}));
    EXPECT_EQ(length, 3U);
}

TEST(ParseFirmwareDescription, ReadsEveryField) {
    Manifest manifest;
    manifest.rest = R"(<SupportedHwRevs><HwRev Value="A"/><HwRev Value="B2"/></SupportedHwRevs>)"
                    "<Files>" +
                    FileEntry().text() + "</Files>";
    const FirmwareDescription description = manifest.parsed();
    EXPECT_EQ(description.deviceType, DeviceType(DeviceType::Type::WOLMZB04));
    EXPECT_EQ(description.version, (Version{1, 2, 3, 4}));
    EXPECT_EQ(description.systemVersion, (Version{5, 6, 7, 8}));
    EXPECT_EQ(description.applicationVersion, (Version{9, 10, 11, 12}));
    EXPECT_EQ(description.supportedHwRevs, (std::vector<std::string>{"A", "B2"}));
    ASSERT_EQ(description.files.size(), 1U);
    EXPECT_EQ(description.files[0].localFilePath, "bin/app");
    EXPECT_EQ(description.totalLength, 42U);
}

TEST(ParseFirmwareDescription, NeedsAManufacturer) {
    Manifest manifest;
    for (const char* element :
         {"", "<ManufacturerId/>", R"(<ManufacturerId value="QV"/>)",
          R"(<manufacturerId Value="QV"/>)", "<ManufacturerId>QV</ManufacturerId>"}) {
        manifest.manufacturer = element;
        EXPECT_EQ(manifest.error(), ParseFirmwareDescriptionError::MissingManufacturerId)
            << element;
    }
}

TEST(ParseFirmwareDescription, NeedsAModel) {
    Manifest manifest;
    for (const char* element : {"", "<ModelId/>", R"(<Model Value="WOLMZB04"/>)"}) {
        manifest.model = element;
        EXPECT_EQ(manifest.error(), ParseFirmwareDescriptionError::MissingModelId) << element;
    }
}

TEST(ParseFirmwareDescription, NeedsThreeVersionsOfFourParts) {
    using Error = ParseFirmwareDescriptionError;
    for (const char* rest :
         {"", "/>", R"( Value=""/>)", R"( Value="1.2.3"/>)", R"( Value="x"/>)"}) {
        const auto broken = [&](const std::string& name) {
            return *rest == '\0' ? std::string() : "<" + name + rest;
        };
        Manifest manifest;
        manifest.version = broken("Version");
        EXPECT_EQ(manifest.error(), Error::MissingVersion) << manifest.version;
        manifest = Manifest();
        manifest.systemVersion = broken("SystemVersion");
        EXPECT_EQ(manifest.error(), Error::MissingSystemVersion) << manifest.systemVersion;
        manifest = Manifest();
        manifest.applicationVersion = broken("ApplicationVersion");
        EXPECT_EQ(manifest.error(), Error::MissingApplicationVersion)
            << manifest.applicationVersion;
    }
}

TEST(ParseFirmwareDescription, ReportsTheFirstFailureOnly) {
    using Error = ParseFirmwareDescriptionError;
    Manifest manifest{"", "", "", "", "", ""};
    EXPECT_EQ(manifest.error(), Error::MissingManufacturerId);
    manifest.manufacturer = Manifest().manufacturer;
    EXPECT_EQ(manifest.error(), Error::MissingModelId);
    manifest.model = Manifest().model;
    EXPECT_EQ(manifest.error(), Error::MissingVersion);
    manifest.version = Manifest().version;
    EXPECT_EQ(manifest.error(), Error::MissingSystemVersion);
    manifest.systemVersion = Manifest().systemVersion;
    EXPECT_EQ(manifest.error(), Error::MissingApplicationVersion);
}

TEST(ParseFirmwareDescription, CallsAnEmptyElementAndNoElementAMissingManufacturer) {
    const Outcome outcome = parseFirmwareDescription(pugi::xml_node());
    ASSERT_NE(boost::get<std::error_code>(&outcome), nullptr);
    EXPECT_EQ(boost::get<std::error_code>(outcome),
              ParseFirmwareDescriptionError::MissingManufacturerId);
}

TEST(ParseFirmwareDescription, GivesUnknownDevicesTheEmptyDeviceType) {
    Manifest manifest;
    manifest.manufacturer = R"(<ManufacturerId Value=""/>)";
    EXPECT_EQ(manifest.parsed().deviceType, DeviceType(DeviceType::Type::None));

    manifest = Manifest();
    manifest.model = R"(<ModelId Value=""/>)";
    EXPECT_EQ(manifest.parsed().deviceType, DeviceType(DeviceType::Type::None));

    manifest = Manifest();
    manifest.manufacturer = R"(<ManufacturerId Value="qv"/>)";
    EXPECT_EQ(manifest.parsed().deviceType, DeviceType(DeviceType::Type::None));
}

TEST(ParseFirmwareDescription, TakesHardwareRevisionsInDocumentOrderByExactName) {
    Manifest manifest;
    manifest.rest = R"(<SupportedHwRevs> text <HwRevision Value="X"/><!-- c --><HwRev Value="2"/>)"
                    R"(<hwRev Value="Y"/><HwRev Value="1"/></SupportedHwRevs>)";
    EXPECT_EQ(manifest.parsed().supportedHwRevs, (std::vector<std::string>{"2", "1"}));
}

TEST(ParseFirmwareDescription, ReadsARevisionWithoutValueAsEmptyText) {
    Manifest manifest;
    manifest.rest = R"(<SupportedHwRevs><HwRevision Value="X"/><HwRev/></SupportedHwRevs>)";
    EXPECT_EQ(manifest.parsed().supportedHwRevs, std::vector<std::string>{""});
}

TEST(ParseFirmwareDescription, NeedsNeitherRevisionsNorFiles) {
    const FirmwareDescription description = Manifest().parsed();
    EXPECT_TRUE(description.supportedHwRevs.empty());
    EXPECT_TRUE(description.files.empty());
    EXPECT_EQ(description.totalLength, 0U);
}

TEST(ParseFirmwareDescription, SumsLengthsModuloTwoToThe32) {
    Manifest manifest;
    manifest.rest = "<Files>" + ofLength("4294967295").text() + ofLength("2").text() + "</Files>";
    EXPECT_EQ(manifest.parsed().totalLength, 1U);
}

TEST(ParseFirmwareDescription, KeepsFilesInDocumentOrderAndLeavesNoGapForRejectedOnes) {
    FileEntry first = ofLength("1");
    first.local = R"(LocalFilePath="z")";
    FileEntry rejected = ofLength("1000");
    rejected.algorithm = R"(HashAlgorithm="SHA256")";
    FileEntry second = ofLength("2");
    second.local = R"(LocalFilePath="a")";
    FileEntry third = ofLength("4");
    third.local = R"(LocalFilePath="m")";

    Manifest manifest;
    manifest.rest = "<Files>" + first.text() + rejected.text() + second.text() +
                    ofLength("").text() + third.text() + "</Files>";
    const FirmwareDescription description = manifest.parsed();
    ASSERT_EQ(description.files.size(), 3U);
    EXPECT_EQ(description.files[0].localFilePath, "z");
    EXPECT_EQ(description.files[1].localFilePath, "a");
    EXPECT_EQ(description.files[2].localFilePath, "m");
    EXPECT_EQ(description.totalLength, 7U);
}

TEST(ParseFirmwareDescription, DoesNotLookAtTheNamesOfFileEntries) {
    Manifest manifest;
    manifest.rest = "<Files>text<!-- comment -->" + FileEntry().text("Anything") +
                    FileEntry().text("File") + "</Files>";
    EXPECT_EQ(manifest.parsed().files.size(), 2U);
}

TEST(ParseFirmwareDescription, UsesTheFirstElementOfAName) {
    Manifest manifest;
    manifest.rest = R"(<Version Value="9.9.9.9"/>)"
                    "<Files>" +
                    FileEntry().text() + "</Files><Files>" + FileEntry().text() + "</Files>";
    EXPECT_EQ(manifest.parsed().version, (Version{1, 2, 3, 4}));
    EXPECT_EQ(manifest.parsed().files.size(), 1U);

    manifest = Manifest();
    manifest.version = R"(<Version/>)" + manifest.version;
    EXPECT_EQ(manifest.error(), ParseFirmwareDescriptionError::MissingVersion);
}

TEST(ParseFirmwareDescription, LooksAtDirectChildrenOnly) {
    Manifest manifest;
    manifest.model = "<Device>" + manifest.model + "</Device>";
    EXPECT_EQ(manifest.error(), ParseFirmwareDescriptionError::MissingModelId);
}

TEST(ParseFirmwareDescription, IgnoresElementsAndAttributesItDoesNotKnow) {
    Manifest manifest;
    manifest.manufacturer = R"(<ManufacturerId Name="n" Value="QV" Other="o"/>)";
    manifest.rest = R"(<Signature xmlns="http://www.w3.org/2000/09/xmldsig#"><x/></Signature>)";
    EXPECT_EQ(manifest.error(), std::error_code());
}

}  // namespace
