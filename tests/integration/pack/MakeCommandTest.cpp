// The commands that make packages: build, prepare, attach, resign.

#include "PackCommand.h"
#include "PackageBuilder.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

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
