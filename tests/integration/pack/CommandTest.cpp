// The commands of firmware-pack on their usual roads.

#include <boost/json/parse.hpp>

#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "PackFixture.h"
#include "PackageBuilder.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

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

TEST_F(PackCommand, BuildTakesARelease) {
    const ProcessResult result = build();
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(result.status, 0);
    EXPECT_THAT(result.out, MatchesRegex("package\\.zip: version 2\\.1\\.0\\.17, 5 files, "
                                         "[0-9.]+ KiB, SHA-256 [0-9a-f]+\n"));
    EXPECT_THAT(targetsIn("package.zip"),
                ElementsAre("bin/app", "srv/a", "srv/b", "srv/sub/c", "setup/GoScript.run"));
    const std::string digest = runHere({"sha256sum", "package.zip"}).out.substr(0, 64);
    EXPECT_THAT(result.out, HasSubstr("SHA-256 " + digest + "\n"));
}

TEST_F(PackCommand, BuildLetsArgumentsOverrideTheFile) {
    ASSERT_EQ(build({"--version=9.9.9.9", "--hw-rev", "Z", "--pattern", "www/*", "html",
                     "--firmware", "app", "x", "y/app", "--folder", "www", "z"})
                  .status,
              0);
    EXPECT_THAT(targetsIn("package.zip"),
                ElementsAre("html/a", "html/b", "y/app", "z/a", "z/b", "z/sub/c"));
    const auto object = inspect("package.zip");
    EXPECT_EQ(object.at("version").as_string(), "9.9.9.9");
    EXPECT_EQ(object.at("hardwareRevisions").as_array().size(), 1U);
    EXPECT_EQ(object.at("systemVersion").as_string(), "2.1.0.4");
}

TEST_F(PackCommand, BuildTakesEverythingFromTheFileWhereverItIsCalled) {
    folder.write("all.toml",
                 "key = \"rsa.key.pem\"\ncertificate = \"rsa.cert.pem\"\n"
                 "output = \"all.zip\"\ncompress = false\n" +
                     release());
    const ProcessResult result =
        run({FIRMWARE_PACK, "build", "--release", (folder / "all.toml").string()});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(targetsIn("all.zip").size(), 5U);
    EXPECT_THAT(here("all.zip"), HasSubstr("page c\n"));
}

TEST_F(PackCommand, PatternsKeepThePathBelowTheirLastPlainFolder) {
    folder.write("out/x/fw.bin", "x");
    folder.write("out/y/fw.bin", "y");
    folder.write("out/y/.hidden.bin", "y");
    ASSERT_EQ(build({"--pattern", "out/*/*.bin", ""}).status, 0);
    EXPECT_THAT(targetsIn("package.zip"), ElementsAre("x/fw.bin", "y/fw.bin"));
}

TEST_F(PackCommand, QuietPrintsNothing) {
    const ProcessResult result = build({"--quiet"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
}

TEST_F(PackCommand, PrepareAndAttachGiveTheBytesOfBuildForRsa) {
    ASSERT_EQ(build().status, 0);
    const ProcessResult result = shell(
        "\"$firmware_pack\" prepare --release release.toml --certificate rsa.cert.pem "
        "--to-sign to-sign --output unsigned.zip; sha256sum --check --quiet to-sign.sha256; "
        "openssl dgst -sha256 -sign rsa.key.pem -out signature to-sign; "
        "\"$firmware_pack\" attach unsigned.zip --signature signature "
        "--certificate rsa.cert.pem --output attached.zip");
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(result.status, 0);
    EXPECT_TRUE(here("attached.zip") == here("package.zip"));
    EXPECT_THAT(result.out,
                HasSubstr("to sign: to-sign, " + std::to_string(here("to-sign").size()) +
                          " bytes, SHA-256 " + here("to-sign.sha256").substr(0, 64) + "\n"));
    EXPECT_FALSE(inspect("unsigned.zip").at("signature").at("hasValue").as_bool());
}

TEST_F(PackCommand, AttachTakesBothFormsOfEcdsa) {
    const ProcessResult result = shell(
        "\"$firmware_pack\" prepare --release release.toml --certificate ec.cert.pem "
        "--to-sign to-sign --output unsigned.zip --include-certificate; "
        "openssl dgst -sha256 -sign ec.key.pem -out der to-sign; "
        "python3 -c \"d = open('der', 'rb').read(); r = d[4:4 + d[3]]; s = d[6 + d[3]:]; "
        "open('raw', 'wb').write(b''.join(n[-32:].rjust(32, b'\\0') for n in (r, s)))\"; "
        "for form in der raw; do \"$firmware_pack\" attach unsigned.zip --signature $form "
        "--certificate ec.cert.pem --output $form.zip; "
        "\"$firmware_pack\" verify --certificate ec.cert.pem $form.zip; done");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(here("der.zip") == here("raw.zip"));
}

TEST_F(PackCommand, ResignReplacesTheSignatureAndNothingElse) {
    ASSERT_EQ(build().status, 0);
    ASSERT_EQ(pack({"resign", "package.zip", "--key", "ec.key.pem", "--certificate", "ec.cert.pem",
                    "--output", "other.zip"})
                  .err,
              "");
    EXPECT_EQ(pack({"verify", "--certificate", "ec.cert.pem", "other.zip"}).status, 0);
    EXPECT_EQ(pack({"verify", "--certificate", "rsa.cert.pem", "other.zip"}).status, 1);
    // In place, and back to what it was.
    ASSERT_EQ(pack({"resign", "other.zip", "--key", "rsa.key.pem", "--certificate", "rsa.cert.pem",
                    "--output", "other.zip"})
                  .status,
              0);
    EXPECT_TRUE(here("other.zip") == here("package.zip"));
}

TEST_F(PackCommand, ResignKeepsEveryByteOfAForeignManifest) {
    const auto path =
        PackageBuilder()
            .firmware("app", "program")
            .editXml([](std::string& xml) {
                xml.insert(xml.find("<Files"), "<!-- <Signature> ' -->\n\t<X y='>'/>");
            })
            .signedBy(strangerKey())
            .build(folder, "foreign.zip");
    ASSERT_EQ(pack({"resign", "foreign.zip", "--key", "rsa.key.pem", "--certificate",
                    "rsa.cert.pem", "--output", "ours.zip"})
                  .err,
              "");
    EXPECT_THAT(targetsIn("ours.zip"), ElementsAre("app"));
    const auto text = [&](const char* zip) {
        std::string xml = runHere({"unzip", "-p", zip, "FirmwareDescription.xml"}).out;
        const std::size_t begin = xml.rfind("<SignatureValue>");
        return xml.erase(begin, xml.find("</SignatureValue>") - begin);
    };
    EXPECT_EQ(text("ours.zip"), text("foreign.zip"));
}

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

TEST_F(PackCommand, SameReleaseSamePackage) {
    ASSERT_EQ(build().status, 0);
    const std::string first = here("package.zip");
    const ProcessResult result = shell(
        "mkdir copy; for f in www/sub/c www/b www/a; do install -D -m 700 $f copy/$f; done; "
        "install -m 400 app go.sh release.toml *.pem copy; "
        "find copy -exec touch -d 2001-02-03 {} +; cd copy; umask 077; "
        "LC_ALL=de_DE.UTF-8 TZ=Asia/Tokyo \"$firmware_pack\" build --release release.toml "
        "--key rsa.key.pem --certificate rsa.cert.pem --output ../second.zip");
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(here("second.zip") == first);
}

}  // namespace
