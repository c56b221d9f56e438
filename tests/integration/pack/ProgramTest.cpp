// The firmware-pack program: what it prints, how it ends, and what it leaves behind.

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <thread>

#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "Process.h"
#include "ValidatorFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Words = std::vector<std::string>;

// Largest resident set of the process in KiB, observed until it ends. What the system reports after
// the end would count this process as well, from which it was forked.
long followPeakMemory(pid_t id) {
    const std::string path = "/proc/" + std::to_string(id) + "/status";
    const std::string field = "VmHWM:";
    long peak = 0;
    for (;;) {
        std::ifstream status(path);
        const std::string text{std::istreambuf_iterator<char>(status), {}};
        const std::string::size_type at = text.find(field);
        if (at == std::string::npos) {
            return peak;
        }
        // Until it has started the program, the process is a copy of this one.
        if (text.find("Name:\tfirmware-pack\n") != std::string::npos) {
            peak = std::stol(text.substr(at + field.size()));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

class PackProgram : public ValidatorFixture {
protected:
    TemporaryDirectory sources;
    TemporaryDirectory outputs;
    const std::string app = sources.write("app.bin", std::string(400000, 'a')).string();
    const std::string script = sources.write("install.sh", "exit 0\n").string();
    const std::string output = (outputs / "package.zip").string();

    // A complete command line; options named in `left` are left out with their value.
    Words command(const Words& left = {}) const {
        const std::vector<Words> options = {{"--key", keys.key.string()},
                                            {"--certificate", keys.certificate.string()},
                                            {"--manufacturer", "QV"},
                                            {"--model", "WOLMZB04"},
                                            {"--version", "1.2.3.4"},
                                            {"--system-version", "5.6.7.8"},
                                            {"--application-version", "9.10.11.12"},
                                            {"--output", output}};
        Words words = {FIRMWARE_PACK};
        for (const Words& option : options) {
            if (std::find(left.begin(), left.end(), option[0]) == left.end()) {
                words.insert(words.end(), option.begin(), option.end());
            }
        }
        return words;
    }

    Words command(const Words& left, const Words& more) const {
        Words words = command(left);
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    Words payload() const { return {"--firmware", app, "app", "bin/app"}; }
};

TEST_F(PackProgram, MakesAPackageThatTheLibraryAccepts) {
    const ProcessResult result =
        run(command({}, {"--hw-rev", "A", "--firmware", app, "app", "bin/app", "--hw-rev", "B & C",
                         "--script", script, "s", "setup/Script.run"}));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "");
    ASSERT_EQ(result.status, 0);
    EXPECT_THAT(outputs.files(), ElementsAre("package.zip"));

    const auto zip = Common::FirmwareZipValidator(validator).ValidateFirmwareZipFile(output);
    ASSERT_TRUE(zip);
    const Common::FirmwareDescription& description = zip->description;
    EXPECT_EQ(description.deviceType.type, Norv::Ombrel::Project::DeviceType::Type::WOLMZB04);
    EXPECT_EQ(to_string(description.version), "1.2.3.4");
    EXPECT_EQ(to_string(description.systemVersion), "5.6.7.8");
    EXPECT_EQ(to_string(description.applicationVersion), "9.10.11.12");
    EXPECT_THAT(description.supportedHwRevs, ElementsAre("A", "B & C"));
    ASSERT_EQ(description.files.size(), 2U);
    EXPECT_EQ(description.files[0].kind, Common::FileKind::Firmware);
    EXPECT_EQ(*description.files[0].remoteFilePath, "bin/app");
    EXPECT_TRUE(zip->package.validate(description.files[0]));
    EXPECT_EQ(description.files[1].kind, Common::FileKind::Script);
    EXPECT_EQ(description.files[1].localFilePath, "s");
    EXPECT_TRUE(zip->package.validate(description.files[1]));
}

TEST_F(PackProgram, StoresPayloadOnRequest) {
    ASSERT_EQ(run(command({}, payload())).status, 0);
    EXPECT_LT(readFile(output).size(), 10000U);
    Words words = command({}, payload());
    words.push_back("--store");
    ASSERT_EQ(run(words).status, 0);
    EXPECT_GT(readFile(output).size(), 400000U);
}

TEST_F(PackProgram, HelpNeedsNothingElse) {
    const ProcessResult result = run({FIRMWARE_PACK, "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, StartsWith("Usage: firmware-pack COMMAND [OPTION...]\n"));
    EXPECT_EQ(result.err, "");
}

TEST_F(PackProgram, HelpNamesEveryOption) {
    const std::string help = run({FIRMWARE_PACK, "build", "--help"}).out;
    for (const char* option :
         {"--key", "--certificate", "--include-certificate", "--manufacturer", "--model",
          "--version", "--system-version", "--application-version", "--hw-rev", "--firmware",
          "--script", "--store", "--output", "--help"}) {
        EXPECT_THAT(help, HasSubstr(" " + std::string(option) + " ")) << option;
    }
}

TEST_F(PackProgram, NamesTheOptionThatIsMissing) {
    for (const char* option : {"--key", "--certificate", "--manufacturer", "--model", "--version",
                               "--system-version", "--application-version", "--output"}) {
        const ProcessResult result = run(command({option}, payload()));
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err, "firmware-pack: error: " + std::string(option) +
                                  " is missing\nTry firmware-pack --help.\n");
    }
    EXPECT_THAT(outputs.files(), IsEmpty());
}

TEST_F(PackProgram, NamesTheOptionThatIsWrong) {
    const auto complaint = [this](const Words& more) {
        const ProcessResult result = run(command({}, more));
        EXPECT_EQ(result.status, 2);
        return result.err.substr(0, result.err.find('\n'));
    };
    EXPECT_EQ(complaint({"--colour"}), "firmware-pack: error: unknown option --colour");
    EXPECT_EQ(complaint({"extra"}), "firmware-pack: error: unknown option extra");
    EXPECT_EQ(complaint({"--key", "k"}), "firmware-pack: error: --key is given twice");
    EXPECT_EQ(complaint({"--hw-rev"}), "firmware-pack: error: --hw-rev lacks a value");
    EXPECT_EQ(complaint({"--script", "a", "b"}), "firmware-pack: error: --script lacks a value");
    EXPECT_THAT(outputs.files(), IsEmpty());
}

TEST_F(PackProgram, RefusesEmptyValues) {
    Words words = command({"--model"}, payload());
    words.insert(words.end(), {"--model", ""});
    const ProcessResult result = run(words);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, StartsWith("firmware-pack: error: --model has an empty value\n"));
}

TEST_F(PackProgram, ReportsEveryMistakeOnALineOfItsOwn) {
    const ProcessResult result =
        run(command({"--version"}, {"--version", "1", "--firmware", app, "", "a"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-pack: error: version \"1\" is not of the form 1.2.3.4\n"
              "firmware-pack: error: the local path of \"a\" is empty\n");
    EXPECT_THAT(outputs.files(), IsEmpty());
}

TEST_F(PackProgram, WarnsAndStillMakesThePackage) {
    const ProcessResult result = run(command({}, {"--script", script, "s", "install.sh"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err,
              "firmware-pack: warning: the script \"install.sh\" is installed but not run: its "
              "remote path does not end in Script.run\n");
    EXPECT_THAT(outputs.files(), ElementsAre("package.zip"));
}

TEST_F(PackProgram, RefusesAKeyThatDoesNotBelongToTheCertificate) {
    const KeyFiles stranger = writeKey(ecKey(), directory, "stranger");
    Words words = command({"--key"}, payload());
    words.insert(words.end(), {"--key", stranger.key.string()});
    const ProcessResult result = run(words);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-pack: error: the key in " + stranger.key.string() +
                              " does not belong to the certificate in " +
                              keys.certificate.string() + "\n");
    EXPECT_THAT(outputs.files(), IsEmpty());
}

TEST_F(PackProgram, LeavesTheEarlierPackageAloneWhenItFails) {
    outputs.write("package.zip", "earlier");
    const ProcessResult result = run(command({}, {"--firmware", "/absent", "a", "a"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-pack: error: cannot read /absent: No such file or directory\n");
    EXPECT_EQ(readFile(output), "earlier");
    EXPECT_THAT(outputs.files(), ElementsAre("package.zip"));
}

TEST_F(PackProgram, RefusesToWriteOverItsInput) {
    for (const std::string& input : {keys.key.string(), keys.certificate.string(), app}) {
        const std::string before = readFile(input);
        Words words = command({"--output"}, payload());
        words.insert(words.end(), {"--output", input});
        const ProcessResult result = run(words);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err,
                  "firmware-pack: error: the output " + input + " is the input " + input + "\n");
        EXPECT_EQ(readFile(input), before);
    }
}

TEST_F(PackProgram, LeavesNothingBehindWhenTheDiskIsFull) {
    // A limit on file sizes stands in for the full disk: the write fails half-way.
    Words words = {"sh", "-c", "ulimit -f 100; exec \"$@\"", "sh"};
    const Words packing = command({}, {"--firmware", app, "app", "app", "--store"});
    words.insert(words.end(), packing.begin(), packing.end());
    const ProcessResult result = run(words);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-pack: error: cannot write " + output + ": Write error: File too large\n");
    EXPECT_THAT(outputs.files(), IsEmpty());
}

TEST_F(PackProgram, LeavesNothingBehindWhenItIsInterrupted) {
    const std::string large = (sources / "large").string();
    ASSERT_EQ(run({"truncate", "-s", "100M", large}).status, 0);
    outputs.write("package.zip", "earlier");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Process packing(command({}, {"--firmware", large, "large", "large"}));
        for (int i = 0; i < 12000 && outputs.files().size() < 2; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ASSERT_GT(outputs.files().size(), 1U);
        ::kill(packing.id(), signal);
        EXPECT_EQ(packing.wait().status, 128 + signal);
        EXPECT_THAT(outputs.files(), ElementsAre("package.zip"));
        EXPECT_TRUE(readFile(output) == "earlier");
    }
}

TEST_F(PackProgram, SaysWhyTheOutputCannotBeWritten) {
    Words words = command({"--output"}, payload());
    words.insert(words.end(), {"--output", "/nonexistent/package.zip"});
    const ProcessResult result = run(words);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-pack: error: cannot write /nonexistent/package.zip: No such file or "
              "directory\n");
}

TEST_F(PackProgram, NeedsNoMemoryForThePayload) {
    if (!emulator().empty()) {
        GTEST_SKIP() << "the system knows the memory of the emulator, not that of the program";
    }
    const std::string large = (sources / "large").string();
    ASSERT_EQ(run({"truncate", "-s", "300M", large}).status, 0);
    Process packing(command({}, {"--firmware", large, "large", "large"}));
    const long peak = followPeakMemory(packing.id());
    const ProcessResult result = packing.wait();
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_GT(peak, 0);
    EXPECT_LT(peak, 200 * 1024);
}

}  // namespace
