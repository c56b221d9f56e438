// Wrong uses of firmware-pack, each with its exact message and exit status.

#include <boost/filesystem/operations.hpp>

#include "PackFixture.h"
#include "PackageBuilder.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;

struct Use {
    Words arguments;
    int status;
    // Lines without "firmware-pack: error: ".
    std::vector<std::string> lines;
};

class PackWrongUse : public PackFixture {
protected:
    void expect(const std::vector<Use>& uses) {
        const std::vector<std::string> before = folder.files();
        for (const Use& use : uses) {
            std::string expected;
            for (const std::string& line : use.lines) {
                expected += "firmware-pack: error: " + line + "\n";
            }
            expected += use.status == 2 ? "Try firmware-pack --help.\n" : "";
            const ProcessResult result = pack(use.arguments);
            const std::string what = testing::PrintToString(use.arguments);
            EXPECT_EQ(result.err, expected) << what;
            EXPECT_EQ(result.status, use.status) << what;
            EXPECT_EQ(result.out, "") << what;
            EXPECT_EQ(folder.files(), before) << what;
        }
    }

    // `build` with the release, a key, a certificate and an output, and more.
    static Words building(const Words& more) {
        Words words = {"build",         "--release",    "release.toml", "--key",  "rsa.key.pem",
                       "--certificate", "rsa.cert.pem", "--output",     "out.zip"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    // The same with another release.
    Use release(const std::string& text, const std::string& reason) const {
        static int number = 0;
        const std::string name = "r" + std::to_string(++number) + ".toml";
        folder.write(name, text);
        return {{"build", "--release", name, "--key", "rsa.key.pem", "--certificate",
                 "rsa.cert.pem", "--output", "out.zip"},
                1,
                {reason.empty() || reason[0] != ':' ? reason : name + reason}};
    }
};

TEST_F(PackWrongUse, OfTheCommandLine) {
    expect({
        {{}, 2, {"a command is missing"}},
        {{""}, 2, {"unknown command "}},
        {{"pack"}, 2, {"unknown command pack"}},
        {{"\x1b[2J"}, 2, {"unknown command \\x1b[2J"}},
        {{"--nonsense"}, 2, {"unknown option --nonsense"}},
        {{"-x"}, 2, {"unknown option -x"}},
        {{"build", "--nonsense"}, 2, {"unknown option --nonsense"}},
        {{"build", "extra"}, 2, {"unknown option extra"}},
        {{"build", "--relea", "x"}, 2, {"unknown option --relea"}},
        {{"verify", "--certificate", "c", "a", "b"}, 2, {"unknown option b"}},
        {{"build", "--key"}, 2, {"--key lacks a value"}},
        {{"build", "--firmware", "a", "b"}, 2, {"--firmware lacks a value"}},
        {{"build", "--folder", "a"}, 2, {"--folder lacks a value"}},
        {{"build", "--key="}, 2, {"--key has an empty value"}},
        {{"build", "--output", ""}, 2, {"--output has an empty value"}},
        {{"inspect", ""}, 2, {"PACKAGE has an empty value"}},
        {building({"--key", "k"}), 2, {"--key is given twice"}},
        {building({"--release", "k"}), 2, {"--release is given twice"}},
        {{"inspect", "--certificate", "a", "--certificate", "b", "p"},
         2,
         {"--certificate is given twice"}},
        {building({"--strict", "--no-strict"}), 2, {"--strict and --no-strict exclude each other"}},
        {building({"--passphrase-fd", "x"}), 2, {"--passphrase-fd \"x\" is no number"}},
        {building({"--passphrase-fd", "1", "--passphrase-env", "E"}),
         2,
         {"--passphrase-file, --passphrase-fd and --passphrase-env exclude each other"}},
        {building({"--passphrase", "secret"}), 2, {"unknown option --passphrase"}},
    });
}

TEST_F(PackWrongUse, OfOptionsThatAreMissing) {
    expect({
        {{"build"},
         2,
         {"--key, --certificate, --manufacturer, --model, --version, --system-version, "
          "--application-version and --output are missing"}},
        {{"build", "--release", "release.toml"},
         2,
         {"--key, --certificate and --output are missing"}},
        {{"prepare", "--release", "release.toml"},
         2,
         {"--certificate, --to-sign and --output are missing"}},
        {{"attach"}, 2, {"UNSIGNED, --signature, --certificate and --output are missing"}},
        {{"attach", "u", "--signature", "s", "--certificate", "c"}, 2, {"--output is missing"}},
        {{"inspect"}, 2, {"PACKAGE is missing"}},
        {{"verify"}, 2, {"PACKAGE and --certificate are missing"}},
        {{"verify", "p"}, 2, {"--certificate is missing"}},
        {{"resign", "p"}, 2, {"--key, --certificate and --output are missing"}},
        {{"extract", "p"}, 2, {"FOLDER is missing"}},
    });
}

TEST_F(PackWrongUse, OfReleaseFiles) {
    const std::string table = "[[payload]]\n";
    expect({
        {{"build", "--release", "absent"}, 1, {"cannot open absent: No such file or directory"}},
        {{"build", "--release", "www"}, 1, {"cannot read www: Is a directory"}},
    });
    const std::vector<Use> uses = {
        release("modle = \"x\"\n", ":1: unknown key \"modle\""),
        release("\n\n\"\\u001b\" = 1\n", ":3: unknown key \"\\x1b\""),
        release("model = 3\n", ":1: \"model\" is not a text"),
        release("\nmodel = \"\"\n", ":2: \"model\" is empty"),
        release("model = \"a\\u0000b\"\n", ":1: \"model\" holds a zero byte"),
        release("compress = \"yes\"\n", ":1: \"compress\" is neither true nor false"),
        release("hardware-revisions = \"A\"\n",
                ":1: \"hardware-revisions\" is not an array of texts"),
        release("hardware-revisions = [\"A\",\n 1]\n", ":2: \"hardware-revisions\" is not a text"),
        release("payload = 1\n", ":1: \"payload\" is not an array of tables"),
        release(table + "target = \"x\"\n",
                ":1: payload needs one of file, script, folder and pattern"),
        release("\n" + table + "file = \"x\"\nscript = \"y\"\ntarget = \"x\"\n",
                ":2: payload needs one of file, script, folder and pattern"),
        release(table + "file = \"x\"\n", ":1: payload needs a target"),
        release(table + "file = \"x\"\ntaget = \"x\"\n", ":3: unknown key \"taget\""),
    };
    expect(uses);
    folder.write("syntax.toml", "model = \n");
    const ProcessResult result = pack({"build", "--release", "syntax.toml"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.substr(0, 38), "firmware-pack: error: syntax.toml:1: E");
}

TEST_F(PackWrongUse, OfPayload) {
    boost::filesystem::create_directory(folder / "empty");
    boost::filesystem::create_symlink("www", folder / "linked");
    boost::filesystem::create_directory(folder / "odd");
    boost::filesystem::create_symlink("../www", folder / "odd/link");
    boost::filesystem::create_directory(folder / "dead");
    boost::filesystem::create_symlink("nothing", folder / "dead/link");
    ASSERT_EQ(run({"mkfifo", (folder / "pipe").string()}).status, 0);
    ASSERT_EQ(run({"truncate", "-s", "4G", (folder / "huge").string()}).status, 0);
    expect({
        {building({"--firmware", "absent", "a", "a"}),
         1,
         {"cannot read absent: No such file or directory"}},
        {building({"--firmware", "www", "a", "a"}), 1, {"cannot read www: not a regular file"}},
        {building({"--firmware", "pipe", "a", "a"}), 1, {"cannot read pipe: not a regular file"}},
        {building({"--folder", "absent", "a"}),
         1,
         {"cannot read absent: No such file or directory"}},
        {building({"--folder", "app", "a"}), 1, {"cannot read app: not a folder"}},
        {building({"--folder", "empty", "a"}), 1, {"the folder empty holds no file"}},
        {building({"--folder", "odd", "a"}), 1, {"cannot read odd/link: a link to a folder"}},
        {building({"--folder", "dead", "a"}), 1, {"cannot read dead/link: a link to nothing"}},
        {building({"--pattern", "*.bin", "a"}), 1, {"no file matches *.bin"}},
        {building({"--firmware", "huge", "a", "a"}),
         1,
         {"\"a\" is longer than 4 GiB", "the payload as a whole is longer than 4 GiB"}},
        {building({"--firmware", "app", "", "a"}), 1, {"the local path of \"a\" is empty"}},
        {building({"--firmware", "app", "../a", "a"}),
         1,
         {"the local path \"../a\" is not a plain relative file name"}},
        {building({"--firmware", "app", "a", ""}), 1, {"the remote path of \"a\" is empty"}},
        {building({"--firmware", "app", "a", "a/../../b"}),
         1,
         {"the remote path \"a/../../b\" leads out of the target directory"}},
        {building({"--firmware", "app", "a", "x", "--firmware", "app", "b", "./x"}),
         1,
         {"the remote path \"./x\" is used twice"}},
        {building({"--script", "go.sh", "s", "go.sh"}),
         1,
         {"the script \"go.sh\" is installed but not run: its remote path does not end in "
          "Script.run"}},
        {building({"--script", "go.sh", "s", "a b/Script.run"}),
         1,
         {"the script \"a b/Script.run\" cannot be run: its remote path holds a blank or a quote"}},
        {building({"--script", "go.sh", "s", "\"Script.run"}),
         1,
         {"the script \"\"Script.run\" cannot be run: its remote path holds a blank or a quote"}},
        {building({"--firmware", "app", "a\nb", "../x"}),
         1,
         {"the remote path \"../x\" leads out of the target directory"}},
    });
}

TEST_F(PackWrongUse, OfTheDescription) {
    expect({
        {building({"--hw-rev", "A", "--hw-rev", "A"}),
         1,
         {"the hardware revision \"A\" is given twice"}},
        {building({"--hw-rev", ""}), 1, {"a hardware revision is empty"}},
        {building({"--version", "1.2.3"}), 1, {"version \"1.2.3\" is not of the form 1.2.3.4"}},
        {building({"--version", "1", "--system-version", "\x1b", "--model", "X"}),
         1,
         {"manufacturer \"QV\", model \"X\" is no known device",
          "version \"1\" is not of the form 1.2.3.4",
          "system version \"\\x1b\" is not of the form 1.2.3.4"}},
        {building({"--hw-rev", "\x01"}),
         1,
         {"the manifest is not well-formed XML (a control character, or text that is not UTF-8)"}},
    });
    folder.write("none.toml", PackFixture::release().substr(0, PackFixture::release().find("[[")));
    expect({{{"build", "--strict", "--release", "none.toml", "--key", "rsa.key.pem",
              "--certificate", "rsa.cert.pem", "--output", "out.zip"},
             1,
             {"the package holds no payload file"}}});
}

TEST_F(PackWrongUse, OfKeysAndCertificates) {
    const ProcessResult made = shell(
        "openssl req -x509 -newkey rsa:1024 -nodes -subj /CN=w -keyout weak.key -out weak.crt; "
        "openssl req -x509 -newkey ed25519 -nodes -subj /CN=e -keyout ed.key -out ed.crt; "
        "openssl req -x509 -newkey rsa-pss -nodes -subj /CN=p -keyout pss.key -out pss.crt");
    ASSERT_EQ(made.status, 0) << made.err;
    const auto with = [](const std::string& key, const std::string& certificate,
                         const Words& more = {}) {
        Words words = {"build",         "--release", "release.toml", "--key",  key,
                       "--certificate", certificate, "--output",     "out.zip"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    };
    expect({
        {with("absent", "rsa.cert.pem"), 1, {"cannot open absent: No such file or directory"}},
        {with("www", "rsa.cert.pem"), 1, {"cannot read www: Is a directory"}},
        {with("rsa.key.pem", "absent"), 1, {"cannot open absent: No such file or directory"}},
        {with("rsa.key.pem", "rsa.key.pem"), 1, {"rsa.key.pem holds no PEM certificate"}},
        {with("rsa.cert.pem", "rsa.cert.pem"), 1, {"rsa.cert.pem holds no private key"}},
        {with("ec.key.pem", "rsa.cert.pem"),
         1,
         {"the key in ec.key.pem does not belong to the certificate in rsa.cert.pem"}},
        {with("weak.key", "weak.crt"),
         1,
         {"the key of weak.crt has 1024 bits, which is weak; use 2048 or more, or "
          "--allow-weak-key"}},
        {with("ed.key", "ed.crt"),
         1,
         {"only RSA and EC keys can sign a package: devices do not take Ed25519"}},
        {with("pss.key", "pss.crt"),
         1,
         {"only RSA and EC keys can sign a package: devices do not take RSA-PSS"}},
        {building({"--passphrase-env", "UNSET_VARIABLE", "--key=x"}), 2, {"--key is given twice"}},
    });
    EXPECT_EQ(pack(with("weak.key", "weak.crt", {"--allow-weak-key"})).err, "");
    EXPECT_TRUE(exists("out.zip"));
}

TEST_F(PackWrongUse, OfPassphraseSources) {
    ASSERT_EQ(shell("openssl pkcs8 -topk8 -in rsa.key.pem -passout pass:secret -out enc.pem; "
                    "printf '\\nsecret\\n' > blank; head -c 3000 /dev/zero | tr '\\0' x > long")
                  .status,
              0);
    const auto with = [](const Words& more) {
        Words words = {"build",         "--release",    "release.toml", "--key",  "enc.pem",
                       "--certificate", "rsa.cert.pem", "--output",     "out.zip"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    };
    expect({
        {with({}), 1, {"the key in enc.pem is encrypted, and no passphrase is given"}},
        {with({"--passphrase-file", "app"}), 1, {"the passphrase for the key in enc.pem is wrong"}},
        {with({"--passphrase-file", "absent"}),
         1,
         {"cannot read the passphrase from absent: No such file or directory"}},
        {with({"--passphrase-file", "blank"}), 1, {"the passphrase in blank is empty"}},
        {with({"--passphrase-file", "long"}), 1, {"the passphrase in long is too long"}},
        {with({"--passphrase-fd", "77"}),
         1,
         {"cannot read the passphrase from descriptor 77: Bad file descriptor"}},
        {with({"--passphrase-env", "UNSET_VARIABLE"}),
         1,
         {"the environment variable UNSET_VARIABLE for the passphrase is not set"}},
    });
}

TEST_F(PackWrongUse, OfSignaturesMadeElsewhere) {
    ASSERT_EQ(shell("\"$firmware_pack\" prepare --quiet --release release.toml "
                    "--certificate rsa.cert.pem --to-sign to-sign --output unsigned.zip; "
                    "openssl dgst -sha256 -sign rsa.key.pem -out right to-sign; "
                    "openssl dgst -sha256 -sign rsa.key.pem -out other app; "
                    "openssl dgst -sha256 -sign ec.key.pem -out ec to-sign; : > nothing; "
                    "\"$firmware_pack\" attach --quiet unsigned.zip --signature right "
                    "--certificate rsa.cert.pem --output signed.zip; "
                    "\"$firmware_pack\" prepare --quiet --release release.toml "
                    "--certificate ec.cert.pem --to-sign to-sign --output unsigned-ec.zip; "
                    "head -c 64 /dev/zero > zeros")
                  .err,
              "");
    PackageBuilder()
        .tamper([](std::string& xml) {
            const std::size_t at = xml.find("<SignatureValue>");
            xml.replace(at, xml.find("</SignatureValue>") + 17 - at, "<SignatureValue/>");
            xml.replace(xml.find("1.2.3.4"), 7, "1.2.3.5");
        })
        .build(folder, "changed.zip");
    PackageBuilder().withoutSignature().build(folder, "plain.zip");
    const auto attach = [](const std::string& package, const std::string& signature,
                           const std::string& certificate = "rsa.cert.pem") {
        return Words{"attach",        package,     "--signature", signature,
                     "--certificate", certificate, "--output",    "out.zip"};
    };
    expect({
        {attach("absent", "right"), 1, {"cannot open absent: No such file"}},
        {attach("app", "right"), 1, {"cannot open app: Not a zip archive"}},
        {attach("unsigned.zip", "absent"), 1, {"cannot open absent: No such file or directory"}},
        {attach("unsigned.zip", "nothing"), 1, {"the signature is empty"}},
        {attach("unsigned.zip", "app"),
         1,
         {"the signature has 12 bytes, those of this key have 256"}},
        {attach("unsigned.zip", "other"),
         1,
         {"the signature is not one by the key of rsa.cert.pem over this package"}},
        {attach("unsigned.zip", "ec", "ec.cert.pem"),
         1,
         {"the package was prepared for another kind of key than that of ec.cert.pem"}},
        {attach("unsigned-ec.zip", "app", "ec.cert.pem"),
         1,
         {"the signature is neither a DER structure nor the 64 bytes of this key"}},
        {attach("unsigned-ec.zip", "zeros", "ec.cert.pem"),
         1,
         {"the signature is not one by the key of ec.cert.pem over this package"}},
        {attach("signed.zip", "right"), 1, {"the manifest is signed already"}},
        {attach("changed.zip", "right"),
         1,
         {"the manifest was changed after its signature was prepared"}},
        {attach("plain.zip", "right"), 1, {"the manifest has no signature that lacks its value"}},
    });
}

TEST_F(PackWrongUse, OfPackagesAndPlaces) {
    ASSERT_EQ(build({"--output", "good.zip"}).status, 0);
    folder.write("half.zip", here("good.zip").substr(0, 900));
    PackageBuilder().firmware("app", "x").manifestEntry({}).build(folder, "bare.zip");
    expect({
        {{"inspect", "absent"}, 1, {"cannot read absent: No such file or directory"}},
        {{"inspect", "www"}, 1, {"cannot read www: not a regular file"}},
        {{"inspect", "app"}, 1, {"cannot open app: Not a zip archive"}},
        {{"inspect", "half.zip"}, 1, {"cannot open half.zip: Not a zip archive"}},
        {{"verify", "absent", "--certificate", "rsa.cert.pem"},
         1,
         {"a device refuses the package: Faild to open absent (No such file)"}},
        {{"verify", "bare.zip", "--certificate", "rsa.cert.pem"},
         1,
         {"a device refuses the package: Invalid firmwareDescription: missing file "
          "'FirmwareDescription.xml'"}},
        {{"verify", "good.zip", "--certificate", "app"},
         1,
         {"a device cannot load the certificate app: xmlSecCryptoAppKeyLoad failed"}},
        {{"extract", "bare.zip", "out"},
         1,
         {"the manifest cannot be read: missing file 'FirmwareDescription.xml'"}},
        {{"extract", "good.zip", "app"}, 1, {"cannot extract app: Not a directory"}},
        {{"extract", "good.zip", "absent/out"},
         1,
         {"cannot extract absent/out: No such file or directory"}},
        {{"resign", "absent", "--key", "rsa.key.pem", "--certificate", "rsa.cert.pem", "--output",
          "out.zip"},
         1,
         {"cannot open absent: No such file"}},
        {{"resign", "bare.zip", "--key", "rsa.key.pem", "--certificate", "rsa.cert.pem", "--output",
          "out.zip"},
         1,
         {"cannot read FirmwareDescription.xml in bare.zip: No such file"}},
        {{"build", "--release", "release.toml", "--key", "rsa.key.pem", "--certificate",
          "rsa.cert.pem", "--output", "rsa.key.pem"},
         1,
         {"the output rsa.key.pem is the input rsa.key.pem"}},
        {{"build", "--release", "release.toml", "--key", "rsa.key.pem", "--certificate",
          "rsa.cert.pem", "--output", "release.toml"},
         1,
         {"the output release.toml is the input release.toml"}},
        {{"prepare", "--release", "release.toml", "--certificate", "rsa.cert.pem", "--output", "u",
          "--to-sign", "www/a"},
         1,
         {"the output www/a is the input www/a"}},
        {{"prepare", "--release", "release.toml", "--certificate", "rsa.cert.pem", "--output", "u",
          "--to-sign", "u"},
         2,
         {"--to-sign and --output name the same file"}},
        {{"build", "--release", "release.toml", "--key", "rsa.key.pem", "--certificate",
          "rsa.cert.pem", "--output", "absent/out.zip"},
         1,
         {"cannot write absent/out.zip: No such file or directory"}},
        {{"build", "--release", "release.toml", "--key", "rsa.key.pem", "--certificate",
          "rsa.cert.pem", "--output", "/dev/null"},
         1,
         {"cannot write /dev/null: it exists and is not a regular file"}},
    });
}

}  // namespace
