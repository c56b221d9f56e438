// Signing keys in all their forms, and where passphrases come from.

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>

#include "PackFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::HasSubstr;
using testing::Not;

class PackKey : public PackFixture {
protected:
    void SetUp() override {
        PackFixture::SetUp();
        folder.write("phrase", "secret\n");
        folder.write("wrong", "other\n");
    }

    // Makes a key file from another one.
    void make(const std::string& command) {
        const ProcessResult result = shell(command);
        ASSERT_EQ(result.status, 0) << result.err;
    }
};

TEST_F(PackKey, MayHaveAnyFormThatHoldsThePrivateKey) {
    make(
        "for key in rsa ec; do "
        "openssl pkey -in $key.key.pem -outform DER -out $key.der; "
        "openssl pkcs8 -topk8 -nocrypt -in $key.key.pem -outform DER -out $key.p8; "
        "openssl pkcs8 -topk8 -in $key.key.pem -passout pass:secret -out $key.enc.pem; "
        "openssl pkcs8 -topk8 -in $key.key.pem -passout pass:secret -outform DER -out "
        "$key.enc.der; "
        "openssl pkcs12 -export -inkey $key.key.pem -in $key.cert.pem -passout pass:secret -out "
        "$key.p12; "
        "done; openssl rsa -in rsa.key.pem -traditional -out rsa.traditional.pem; "
        "openssl rsa -in rsa.key.pem -traditional -aes128 -passout pass:secret -out "
        "rsa.old.enc.pem");
    ASSERT_EQ(build().status, 0);
    for (const char* key : {"rsa.der", "rsa.p8", "rsa.traditional.pem"}) {
        const ProcessResult result = build({"--key", key, "--output", "other.zip"});
        EXPECT_EQ(result.status, 0) << key << result.err;
        EXPECT_TRUE(here("other.zip") == here("package.zip")) << key;
    }
    for (const char* key : {"rsa.enc.pem", "rsa.enc.der", "rsa.p12", "rsa.old.enc.pem"}) {
        const ProcessResult result =
            build({"--key", key, "--passphrase-file", "phrase", "--output", "other.zip"});
        EXPECT_EQ(result.status, 0) << key << result.err;
        EXPECT_TRUE(here("other.zip") == here("package.zip")) << key;
    }
    for (const char* key : {"ec.der", "ec.p8", "ec.enc.pem", "ec.enc.der", "ec.p12"}) {
        EXPECT_EQ(build({"--key", key, "--passphrase-file", "phrase"}, "ec").err, "") << key;
    }
}

TEST_F(PackKey, ComesThroughAPipe) {
    EXPECT_EQ(shell("cat rsa.key.pem | \"$firmware_pack\" build --release release.toml "
                    "--key /dev/stdin --certificate rsa.cert.pem --output package.zip")
                  .err,
              "");
    EXPECT_TRUE(exists("package.zip"));
}

TEST_F(PackKey, PassphrasesComeFromAFileADescriptorOrAVariable) {
    make("openssl pkcs8 -topk8 -in rsa.key.pem -passout pass:secret -out enc.pem");
    const std::string build =
        "\"$firmware_pack\" build --quiet --release release.toml --key enc.pem "
        "--certificate rsa.cert.pem --output package.zip ";
    for (const char* source : {"--passphrase-file phrase", "--passphrase-fd 3 3< phrase",
                               "--passphrase-fd=0 < phrase"}) {
        const ProcessResult result = shell(build + source);
        EXPECT_EQ(result.status, 0) << source << result.err;
    }
    EXPECT_EQ(shell("export PHRASE=secret; " + build + "--passphrase-env PHRASE").err, "");
}

TEST_F(PackKey, SaysWhatIsWrongWithAPassphrase) {
    make(
        "openssl pkcs8 -topk8 -in rsa.key.pem -passout pass:secret -out enc.pem; "
        "openssl pkcs12 -export -inkey rsa.key.pem -in rsa.cert.pem -passout pass:secret -out "
        "k.p12");
    const auto failure = [this](const Words& more) {
        const ProcessResult result = build(more);
        EXPECT_EQ(result.status, 1);
        EXPECT_FALSE(exists("package.zip"));
        return result.err;
    };
    for (const std::string key : {"enc.pem", "k.p12"}) {
        EXPECT_EQ(failure({"--key", key}), "firmware-pack: error: the key in " + key +
                                               " is encrypted, and no passphrase is given\n");
        EXPECT_EQ(failure({"--key", key, "--passphrase-file", "wrong"}),
                  "firmware-pack: error: the passphrase for the key in " + key + " is wrong\n");
    }
    EXPECT_EQ(failure({"--key", "app", "--passphrase-file", "phrase"}),
              "firmware-pack: error: app holds no private key\n");
    EXPECT_EQ(failure({"--key", "rsa.cert.pem"}),
              "firmware-pack: error: rsa.cert.pem holds no private key\n");
}

// Whether the terminal no longer echoes what is typed, within a minute.
bool waitUntilSilent(int terminal) {
    termios mode{};
    for (int i = 0; i < 6000; ++i) {
        if (::tcgetattr(terminal, &mode) == 0 && (mode.c_lflag & tcflag_t{ECHO}) == 0) {
            return true;
        }
        ::usleep(10000);
    }
    return false;
}

// What a person at a terminal sees and types.
TEST_F(PackKey, PassphrasesAreAskedForOnTheTerminalWithoutAnEcho) {
    if (!emulator().empty()) {
        GTEST_SKIP() << "the emulator makes no pseudo terminals";
    }
    make("openssl pkcs8 -topk8 -in rsa.key.pem -passout pass:secret -out enc.pem");
    const Words words =
        withEmulator({"sh", "-c", "cd \"$0\" && exec \"$@\"", folder.path().string(), FIRMWARE_PACK,
                      "build", "--release", "release.toml", "--key", "enc.pem", "--certificate",
                      "rsa.cert.pem", "--output", "package.zip"});
    std::vector<char*> argv;
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    int terminal = -1;
    const pid_t id = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (id == 0) {
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    std::string output;
    bool typed = false;
    for (;;) {
        pollfd readable = {terminal, POLLIN, 0};
        std::array<char, 1024> chunk{};
        if (::poll(&readable, 1, 60000) <= 0) {
            break;
        }
        const ssize_t count = ::read(terminal, chunk.data(), chunk.size());
        if (count <= 0) {
            break;
        }
        output.append(chunk.data(), static_cast<std::size_t>(count));
        if (!typed && output.find("Passphrase for enc.pem: ") != std::string::npos) {
            typed = true;
            // The prompt comes before the echo is off, and nobody types that fast.
            EXPECT_TRUE(waitUntilSilent(terminal));
            EXPECT_EQ(::write(terminal, "secret\n", 7), 7);
        }
    }
    ::close(terminal);
    int status = 0;
    ::waitpid(id, &status, 0);
    EXPECT_EQ(status, 0) << output;
    EXPECT_TRUE(typed) << output;
    EXPECT_THAT(output, Not(HasSubstr("secret")));
    EXPECT_TRUE(exists("package.zip"));
}

}  // namespace
