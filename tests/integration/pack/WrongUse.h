// Tables of wrong uses of firmware-pack, each with its exact message and exit status.

#pragma once

#include <string>
#include <vector>

#include "PackFixture.h"

namespace Norv::Corvane::Test {

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

}  // namespace Norv::Corvane::Test
