// Wrong uses of firmware-pack: keys, passphrases, signatures and packages that do not fit.

#include <zip.h>

#include "PackageBuilder.h"
#include "WrongUse.h"

namespace {

using namespace Norv::Corvane::Test;

// A newer libzip tells half of an archive from what never was one.
#ifdef ZIP_ER_TRUNCATED_ZIP
constexpr const char* halfAnArchive = "Possibly truncated or corrupted zip archive";
#else
constexpr const char* halfAnArchive = "Not a zip archive";
#endif

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
        {{"inspect", "half.zip"}, 1, {std::string("cannot open half.zip: ") + halfAnArchive}},
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
