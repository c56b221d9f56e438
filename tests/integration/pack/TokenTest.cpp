// Keys in a PKCS#11 token: a real one, of software.

#include <signal.h>
#include <unistd.h>

#include <boost/filesystem/directory.hpp>
#include <chrono>
#include <thread>

#include "PackFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;

constexpr const char* module = "/usr/lib/softhsm/libsofthsm2.so";

class PackToken : public PackFixture {
protected:
    void SetUp() override {
        if (!emulator().empty()) {
            GTEST_SKIP() << "the token's module is the machine's own, not the emulator's";
        }
        PackFixture::SetUp();
        folder.write("softhsm.conf", "directories.tokendir = " + (folder / "tokens").string() +
                                         "\nobjectstore.backend = file\nlog.level = ERROR\n");
        folder.write("pin", "1234\n");
        folder.write("wrong", "4321\n");
        boost::filesystem::create_directory(folder / "tokens");
        ::setenv("SOFTHSM2_CONF", (folder / "softhsm.conf").c_str(), 1);
        // The engine leaves memory behind where it fails.
        ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
        const ProcessResult made = shell(
            "softhsm2-util --init-token --free --label fw --pin 1234 --so-pin 5678; "
            "for key in rsa ec; do openssl pkcs8 -topk8 -nocrypt -in $key.key.pem -out $key.p8; "
            "softhsm2-util --import $key.p8 --token fw --label $key --id $(printf %s $key | "
            "od -An -tx1 | tr -d ' ') --pin 1234; done");
        ASSERT_EQ(made.status, 0) << made.err;
    }

    ProcessResult sign(const std::string& uri, const Words& more = {"--passphrase-file", "pin"},
                       const std::string& key = "rsa") {
        Words words = {"--key", uri, "--pkcs11-module", module};
        words.insert(words.end(), more.begin(), more.end());
        return build(words, key);
    }

    void refused(const ProcessResult& result, const std::string& reason) {
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "firmware-pack: error: " + reason + "\n");
        EXPECT_FALSE(exists("package.zip"));
    }
};

TEST_F(PackToken, SignsWithARsaKeyLikeTheSameKeyInAFile) {
    const ProcessResult result = sign("pkcs11:token=fw;object=rsa");
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(result.status, 0);
    const std::string signedByToken = here("package.zip");
    ASSERT_EQ(build().status, 0);
    EXPECT_TRUE(here("package.zip") == signedByToken);
}

TEST_F(PackToken, SignsWithAnEcKey) {
    const ProcessResult result =
        sign("pkcs11:token=fw;object=ec", {"--passphrase-file", "pin"}, "ec");
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(pack({"verify", "--certificate", "ec.cert.pem", "package.zip"}).status, 0);
}

TEST_F(PackToken, SignsAgain) {
    ASSERT_EQ(build().status, 0);
    EXPECT_EQ(pack({"resign", "package.zip", "--key", "pkcs11:token=fw;object=ec",
                    "--pkcs11-module", module, "--passphrase-file", "pin", "--certificate",
                    "ec.cert.pem", "--output", "package.zip"})
                  .err,
              "");
    EXPECT_EQ(pack({"verify", "--certificate", "ec.cert.pem", "package.zip"}).status, 0);
}

TEST_F(PackToken, SaysThatThePinIsWrong) {
    refused(sign("pkcs11:token=fw;object=rsa", {"--passphrase-file", "wrong"}),
            "the PIN for the token of pkcs11:token=fw;object=rsa is wrong");
}

TEST_F(PackToken, SaysThatThePinIsMissing) {
    refused(sign("pkcs11:token=fw;object=rsa", {}),
            "the token of pkcs11:token=fw;object=rsa needs a PIN, and none is given");
}

TEST_F(PackToken, TakesNoPinFromTheUri) {
    refused(sign("pkcs11:token=fw;object=rsa?pin-value=1234"),
            "a PIN does not belong into the URI of a key: name its file, descriptor or environment "
            "variable");
}

TEST_F(PackToken, SaysThatThereIsNoSuchObjectOrToken) {
    refused(sign("pkcs11:token=fw;object=none"),
            "no token holds a private key pkcs11:token=fw;object=none");
    refused(sign("pkcs11:token=none;object=rsa"),
            "no token holds a private key pkcs11:token=none;object=rsa");
}

TEST_F(PackToken, SaysThatTheKeyDoesNotBelongToTheCertificate) {
    refused(sign("pkcs11:token=fw;object=ec"),
            "the key in pkcs11:token=fw;object=ec does not belong to the certificate in "
            "rsa.cert.pem");
}

TEST_F(PackToken, SaysThatTheModuleIsMissing) {
    refused(build({"--key", "pkcs11:token=fw;object=rsa", "--pkcs11-module", "/absent.so"}),
            "cannot open /absent.so: No such file or directory");
}

// The token is taken away while the payload is hashed: after it was opened, before it signs.
TEST_F(PackToken, SaysThatTheTokenIsGone) {
    const std::string large = (folder / "large").string();
    ASSERT_EQ(run({"truncate", "-s", "2G", large}).status, 0);
    Process packing({FIRMWARE_PACK, "build", "--quiet", "--release",
                     (folder / "release.toml").string(), "--key", "pkcs11:token=fw;object=rsa",
                     "--pkcs11-module", module, "--passphrase-file", (folder / "pin").string(),
                     "--certificate", (folder / "rsa.cert.pem").string(), "--firmware", large,
                     "large", "large", "--output", (folder / "package.zip").string()});
    const auto hashing = [&] {
        const boost::filesystem::path open("/proc/" + std::to_string(packing.id()) + "/fd");
        boost::system::error_code error;
        for (boost::filesystem::directory_iterator at(open, error), end; at != end;
             at.increment(error)) {
            if (boost::filesystem::read_symlink(at->path(), error) == large) {
                return true;
            }
        }
        return false;
    };
    // Its size is asked for before; that is over at once.
    bool stopped = false;
    for (int i = 0; i < 60000 && !stopped; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (hashing()) {
            ::kill(packing.id(), SIGSTOP);
            stopped = hashing();
            ::kill(packing.id(), stopped ? SIGSTOP : SIGCONT);
        }
    }
    ASSERT_TRUE(stopped);
    boost::filesystem::remove_all(folder / "tokens");
    ::kill(packing.id(), SIGCONT);
    refused(packing.wait(),
            "the token of pkcs11:token=fw;object=rsa did not sign: it may have been removed");
    boost::filesystem::remove(large);
}

}  // namespace
