// The commands that look into packages: verify, inspect, extract.

#include "PackCommand.h"
#include "PackageBuilder.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::HasSubstr;
using testing::Not;

TEST_F(PackCommand, VerifyFindsWhatADeviceWouldFindDuringInstallation) {
    const auto check = [this](const PackageBuilder& builder) {
        builder.build(folder, "p.zip");
        const ProcessResult result = pack({"verify", "--certificate", "rsa.cert.pem", "p.zip"});
        return std::to_string(result.status) + " " + result.err;
    };
    const auto builder = [] { return PackageBuilder().firmware("app", "program").stored(); };
    EXPECT_EQ(check(builder()), "0 ");
    EXPECT_EQ(check(builder().omit("app")),
              "1 firmware-pack: error: app cannot be read: No such file\n");
    EXPECT_EQ(check(builder().flipBit("app")),
              "1 firmware-pack: error: app has another digest than the manifest says\n");
    EXPECT_EQ(check(builder().editManifest([](Pack::Manifest& m) { m.files[0].length = 8; })),
              "1 firmware-pack: error: app has 7 bytes, the manifest says 8\n");
    EXPECT_EQ(check(builder().signedBy(strangerKey())),
              "1 firmware-pack: error: a device refuses the package: Invalid firmwareDescription: "
              "invalid signature\n");
}

TEST_F(PackCommand, InspectShowsATable) {
    ASSERT_EQ(build({"--include-certificate"}).status, 0);
    const ProcessResult result = pack({"inspect", "package.zip", "--certificate", "rsa.cert.pem"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    for (const char* line :
         {"\nDevice                QV QA01RTVN\n", "\nVersion               2.1.0.17\n",
          "\nSystem version        2.1.0.4\n", "\nApplication version   2.0.9.17\n",
          "\nHardware revisions    A, B\n", "\nSignature             rsa-sha256, digest sha256\n",
          "\nVerdict               genuine\n", "\nKey hint              certificate of CN=",
          "matches    bin/app -> bin/app\n", "\nscript "}) {
        EXPECT_THAT(result.out, HasSubstr(line));
    }
}

TEST_F(PackCommand, InspectTellsWhatDoesNotFitTogether) {
    PackageBuilder()
        .firmware("gone", "x")
        .firmware("flipped", "content")
        .firmware("unknown", "y")
        .stored()
        .omit("gone")
        .flipBit("flipped")
        .editXml([](std::string& xml) {
            const std::size_t at = xml.rfind("sha256");
            xml.replace(at, 6, "SHA256");
        })
        .build(folder, "odd.zip");
    const auto object = inspect("odd.zip", {"--certificate", "ec.cert.pem"});
    const auto& files = object.at("files").as_array();
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].at("matches").as_string(), "missing");
    EXPECT_TRUE(files[0].at("size").is_null());
    EXPECT_EQ(files[1].at("matches").as_string(), "no");
    EXPECT_EQ(files[1].at("size").to_number<int>(), 7);
    EXPECT_EQ(object.at("ignoredFiles").as_array().at(0).as_string(), "unknown");
    EXPECT_EQ(object.at("unlistedEntries").as_array().at(0).at("name").as_string(), "unknown");
    EXPECT_FALSE(object.at("verdict").at("genuine").as_bool());
}

TEST_F(PackCommand, InspectPrintsNoControlCharacterOfAPackage) {
    PackageBuilder()
        .firmware("\u00e4\u202e\u009b[2J", "x")
        .editXml([](std::string& xml) {
            xml.insert(xml.find("<Files"), "<X/>");
            xml.replace(xml.find("\"A\""), 3, "\"&#x1b;]0;x&#x7;&#x7f;&#x2066;\xef\xbb\xbf\"");
        })
        .withoutSignature()
        .build(folder, "hostile.zip");
    for (const char* form : {"--json", "--quiet"}) {
        const ProcessResult result = pack({"inspect", form, "hostile.zip"});
        EXPECT_EQ(result.status, 0) << result.err;
        for (const char* harm : {"\x1b", "\x07", "\x7f", "\u202e", "\u009b", "\u2066", "\ufeff"}) {
            EXPECT_THAT(result.out, Not(HasSubstr(harm))) << form;
        }
    }
}

TEST_F(PackCommand, ExtractWritesThePayload) {
    ASSERT_EQ(build({"--firmware", "app", "in/archive", "on/device"}).status, 0);
    const ProcessResult result = pack({"extract", "package.zip", "out"});
    EXPECT_EQ(result.out, "1 file below out\n");
    EXPECT_EQ(here("out/in/archive"), "the program\n");
    EXPECT_EQ(
        pack({"extract", "--installed", "package.zip", "out", "--certificate", "rsa.cert.pem"})
            .status,
        0);
    EXPECT_EQ(here("out/on/device"), "the program\n");
}

TEST_F(PackCommand, ExtractStaysBelowItsFolder) {
    const auto extract = [this](const std::string& path) {
        PackageBuilder()
            .file(Pack::PayloadKind::Firmware, path, "x", "data")
            .build(folder, "p.zip");
        const ProcessResult result = pack({"extract", "p.zip", "out"});
        EXPECT_EQ(result.status, 1) << path;
        return result.err;
    };
    folder.write("elsewhere/file", "mine");
    boost::filesystem::create_directory(folder / "out");
    boost::filesystem::create_symlink(folder / "elsewhere", folder / "out/link");
    boost::filesystem::create_symlink(folder / "elsewhere/file", folder / "out/filelink");
    folder.write("out/there", "mine");
    const std::string prefix = "firmware-pack: error: cannot extract ";
    EXPECT_EQ(extract("../x"), prefix + "../x: it leads out of the folder\n");
    EXPECT_EQ(extract("a/../../x"), prefix + "a/../../x: it leads out of the folder\n");
    EXPECT_EQ(extract("link/x"), prefix + "link/x: link is a link or a file\n");
    EXPECT_EQ(extract("filelink"), prefix + "filelink: File exists\n");
    EXPECT_EQ(extract("there"), prefix + "there: File exists\n");
    EXPECT_EQ(extract("there/x"), prefix + "there/x: there is a link or a file\n");
    EXPECT_EQ(here("elsewhere/file") + here("out/there"), "minemine");
    EXPECT_FALSE(exists("x"));
    EXPECT_FALSE(exists("elsewhere/x"));
}

TEST_F(PackCommand, ExtractLeavesNoDamagedFileBehind) {
    PackageBuilder()
        .firmware("good", "x")
        .firmware("bad", "data")
        .stored()
        .flipBit("bad")
        .build(folder, "p.zip");
    EXPECT_EQ(pack({"extract", "p.zip", "out"}).err,
              "firmware-pack: error: cannot extract bad: it has another digest than the manifest "
              "says\n");
    EXPECT_TRUE(exists("out/good"));
    EXPECT_FALSE(exists("out/bad"));
}

}  // namespace
