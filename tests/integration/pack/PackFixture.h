// A folder to make releases in, and the firmware-pack program run there.

#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>

#include "Process.h"
#include "ValidatorFixture.h"

namespace Norv::Corvane::Test {

using Words = std::vector<std::string>;

class PackFixture : public ValidatorFixture {
protected:
    TemporaryDirectory folder;

    void SetUp() override {
        ValidatorFixture::SetUp();
        writeKey(rsaKey(), folder, "rsa");
        writeKey(ecKey(), folder, "ec");
        folder.write("app", "the program\n");
        folder.write("www/b", "page b\n");
        folder.write("www/a", "page a\n");
        folder.write("www/sub/c", "page c\n");
        folder.write("go.sh", "exit 0\n");
        folder.write("release.toml", release());
    }

    static std::string release() {
        return "manufacturer = \"QV\"\n"
               "model = \"QA01RTVN\"\n"
               "version = \"2.1.0.17\"\n"
               "system-version = \"2.1.0.4\"\n"
               "application-version = \"2.0.9.17\"\n"
               "hardware-revisions = [\"A\", \"B\"]\n"
               "[[payload]]\n"
               "file = \"app\"\n"
               "target = \"bin/app\"\n"
               "[[payload]]\n"
               "folder = \"www\"\n"
               "target = \"srv\"\n"
               "[[payload]]\n"
               "script = \"go.sh\"\n"
               "target = \"setup/GoScript.run\"\n";
    }

    // Runs a program in the folder, without a terminal that could be asked.
    ProcessResult runHere(const Words& command) const {
        Words words = {
            "setsid", "--wait", "sh", "-c", "cd \"$0\" && exec \"$@\"", folder.path().string()};
        words.insert(words.end(), command.begin(), command.end());
        return run(words);
    }

    ProcessResult pack(const Words& arguments) const {
        Words words = {FIRMWARE_PACK};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return runHere(words);
    }

    // Makes one program of several words: those that start an emulator, and the one it is to run.
    static constexpr const char* programOfAnEmulator =
        "if [ $# -gt 1 ]; then { printf '#!/bin/sh\\nexec'; printf \" '%s'\" \"$@\"; "
        "printf ' \"$@\"\\n'; } > .program; chmod +x .program; set -- \"$PWD/.program\"; fi; ";

    // A shell's command line; "firmware-pack" is the program.
    ProcessResult shell(const std::string& line) const {
        return runHere({"sh", "-c",
                        std::string(programOfAnEmulator) + "firmware_pack=$1; set -e; " + line,
                        "sh", FIRMWARE_PACK});
    }

    ProcessResult build(const Words& more = {}, const std::string& key = "rsa") const {
        Words words = {"build", "--release", "release.toml"};
        words.insert(words.end(), more.begin(), more.end());
        const auto given = [&](const char* option) {
            return std::find(more.begin(), more.end(), option) != more.end();
        };
        const auto add = [&](const char* option, const std::string& value) {
            if (!given(option)) {
                words.insert(words.end(), {option, value});
            }
        };
        add("--key", key + ".key.pem");
        add("--certificate", key + ".cert.pem");
        add("--output", "package.zip");
        return pack(words);
    }

    std::string here(const std::string& file) const { return readFile(folder / file); }
    bool exists(const std::string& file) const { return boost::filesystem::exists(folder / file); }
};

}  // namespace Norv::Corvane::Test
