#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>
#include <cstdint>
#include <locale>
#include <string>
#include <vector>

#include "FileEntry.h"
#include "Norv/Corvane/Common/FirmwareDescription.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;

TEST(ParseFileKind, KnowsTwoKindsByTheirExactNames) {
    EXPECT_TRUE(parseFileKind("ScriptFileType") == FileKind::Script);
    EXPECT_TRUE(parseFileKind("FirmwareFileType") == FileKind::Firmware);
}

TEST(ParseFileKind, RefusesAnyOtherText) {
    for (const char* text : {"", "scriptfiletype", "ScriptFileType ", " ScriptFileType", "Script",
                             "ScriptFileTypes", "FirmwareFileTyp", "FIRMWAREFILETYPE"}) {
        EXPECT_FALSE(parseFileKind(text)) << text;
    }
}

TEST(ParseFileKind, LooksNoFurtherThanItsView) {
    EXPECT_TRUE(parseFileKind(boost::string_view("ScriptFileTypeX", 14)) == FileKind::Script);
    EXPECT_FALSE(parseFileKind(boost::string_view("ScriptFileType\0", 15)));
}

TEST(ParseHashAlgorithm, KnowsSha256InLowerCaseOnly) {
    EXPECT_TRUE(parseHashAlgorithm("sha256") == HashAlgorithm::SHA256);
    for (const char* text : {"", "SHA256", "Sha256", "sha-256", "sha256 ", "sha25", "sha512"}) {
        EXPECT_FALSE(parseHashAlgorithm(text)) << text;
    }
}

TEST(ParseFile, ReadsEveryAttribute) {
    const auto file = FileEntry().parse();
    ASSERT_TRUE(file);
    EXPECT_EQ(file->kind, FileKind::Firmware);
    EXPECT_EQ(file->hashAlgorithm, HashAlgorithm::SHA256);
    EXPECT_EQ(file->localFilePath, "bin/app");
    EXPECT_EQ(file->remoteFilePath, std::string("usr/bin/app"));
    EXPECT_EQ(file->hashValue, (std::vector<std::uint8_t>{0x00, 0x01, 0x02, 0xff}));
    EXPECT_EQ(file->length, 42U);
}

TEST(ParseFile, ReadsScripts) {
    FileEntry entry;
    entry.type = R"(xsi:type="ScriptFileType")";
    const auto file = entry.parse();
    ASSERT_TRUE(file);
    EXPECT_EQ(file->kind, FileKind::Script);
}

TEST(ParseFile, RefusesAnUnknownOrMissingKind) {
    for (const char* type : {"", R"(xsi:type="")", R"(xsi:type="DataFileType")",
                             R"(xsi:type="firmwareFileType")", R"(type="FirmwareFileType")"}) {
        FileEntry entry;
        entry.type = type;
        EXPECT_FALSE(entry.parse()) << type;
    }
}

TEST(ParseFile, RefusesAnEmptyOrMissingLocalPath) {
    for (const char* local : {"", R"(LocalFilePath="")"}) {
        FileEntry entry;
        entry.local = local;
        EXPECT_FALSE(entry.parse()) << local;
    }
}

TEST(ParseFile, RefusesAnyHashAlgorithmButSha256InLowerCase) {
    for (const char* algorithm :
         {"", R"(HashAlgorithm="")", R"(HashAlgorithm="SHA256")", R"(HashAlgorithm="md5")"}) {
        FileEntry entry;
        entry.algorithm = algorithm;
        EXPECT_FALSE(entry.parse()) << algorithm;
    }
}

TEST(ParseFile, HasNoRemotePathWhenItEqualsTheLocalOne) {
    FileEntry entry;
    entry.remote = R"(RemoteFilePath="bin/app")";
    const auto file = entry.parse();
    ASSERT_TRUE(file);
    EXPECT_EQ(file->remoteFilePath, boost::none);
}

TEST(ParseFile, TakesPathsVerbatim) {
    FileEntry entry;
    entry.local = R"(LocalFilePath=" bin/../App ")";
    entry.remote = R"(RemoteFilePath="/bin/app")";
    const auto file = entry.parse();
    ASSERT_TRUE(file);
    EXPECT_EQ(file->localFilePath, " bin/../App ");
    EXPECT_EQ(file->remoteFilePath, std::string("/bin/app"));
}

TEST(ParseFile, HasAnEmptyRemotePathWhenTheManifestStatesNone) {
    FileEntry entry;
    entry.remote = "";
    const auto file = entry.parse();
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->remoteFilePath);
    EXPECT_EQ(*file->remoteFilePath, "");
}

TEST(ParseFile, AcceptsAnyDigestTextAndAnyDigestLength) {
    FileEntry entry;
    for (const char* hash : {"", R"(HashValue="")", R"(HashValue="***not base64***")"}) {
        entry.hash = hash;
        EXPECT_TRUE(entry.parse()) << hash;
    }
    entry.hash = R"(HashValue="/w==")";
    EXPECT_EQ(entry.parse()->hashValue, std::vector<std::uint8_t>{0xff});
    entry.hash = "";
    EXPECT_TRUE(entry.parse()->hashValue.empty());
}

TEST(ParseFile, ReadsDecimalLengthsWithLeadingZerosAndSigns) {
    EXPECT_EQ(ofLength("0").parse()->length, 0U);
    EXPECT_EQ(ofLength("007").parse()->length, 7U);
    EXPECT_EQ(ofLength("+5").parse()->length, 5U);
    EXPECT_EQ(ofLength("4294967295").parse()->length, 4294967295U);
}

TEST(ParseFile, TakesANegativeLengthModuloTwoToThe32) {
    EXPECT_EQ(ofLength("-1").parse()->length, 4294967295U);
    EXPECT_EQ(ofLength("-4294967295").parse()->length, 1U);
}

TEST(ParseFile, RefusesLengthsThatAreNotA32BitNumber) {
    for (const char* length : {"", "+", "-", "4294967296", "99999999999999999999", " 5", "5 ",
                               "5 5", "+ 5", "--5", "0x10", "1e3", "1.0", "1,000", "five"}) {
        EXPECT_FALSE(ofLength(length).parse()) << '"' << length << '"';
    }
    FileEntry entry;
    entry.length = "";
    EXPECT_FALSE(entry.parse()) << "no length at all";
}

struct Thousands : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

// A quirk of the conversion; the library itself never changes the locale.
TEST(ParseFile, AcceptsTheGroupingOfTheHostsGlobalLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Thousands));
    const auto grouped = ofLength("1,000").parse();
    const auto plain = ofLength("1000").parse();
    const auto misplaced = ofLength("10,00").parse();
    std::locale::global(before);
    ASSERT_TRUE(grouped && plain);
    EXPECT_EQ(grouped->length, 1000U);
    EXPECT_EQ(plain->length, 1000U);
    EXPECT_FALSE(misplaced);
}

TEST(ParseFile, RefusesAnEmptyNode) {
    EXPECT_FALSE(parseFile(pugi::xml_node()));
}

}  // namespace
