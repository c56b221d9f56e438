// firmware-host on a terminal of its own.

#include <algorithm>

#include "HostFixture.h"
#include "TerminalProcess.h"

namespace {

using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class HostTerminal : public HostFixture {
protected:
    void SetUp() override {
        if (!emulator().empty()) {
            GTEST_SKIP()
                << "nothing comes through a pseudo-terminal that was opened under qemu-arm";
        }
        HostFixture::SetUp();
    }
};

constexpr char eraseLine[] = "\r\x1b[K";

TEST_F(HostTerminal, DrawsABarOverItself) {
    const auto package = PackageBuilder()
                             .firmware("a", std::string(3 << 20, 'a'))
                             .firmware("b", std::string(1 << 20, 'b'))
                             .build(directory);
    TerminalProcess host(command(package));
    EXPECT_EQ(host.wait(), 0);
    const std::string start =
        package.string() + ": QA01RTVN, version 1.2.3.4, 2 files, 4.0 MiB\r\n";
    const std::string erase = eraseLine;
    EXPECT_EQ(host.output(),
              start + erase + "[" + std::string(31, '-') + "] 0 %, 0 B of 4.0 MiB" + erase + "[" +
                  std::string(23, '#') + std::string(8, '-') + "] 75 %, 3.0 MiB of 4.0 MiB" +
                  erase + "[" + std::string(31, '#') + "] 100 %, 4.0 MiB of 4.0 MiB" + erase +
                  "installed 2 files, 4.0 MiB in " + target.path().string() + "\r\n");
}

TEST_F(HostTerminal, PutsLogLinesInPlaceOfTheBar) {
    const auto package = PackageBuilder().firmware("a", "a").flipBit("a").build(directory);
    TerminalProcess host(command(package, {"--no-check"}));
    EXPECT_EQ(host.wait(), 1);
    EXPECT_THAT(host.output(), HasSubstr(std::string(eraseLine) +
                                         "firmware-host: error: Failed to process: a\r\n"));
    EXPECT_THAT(host.output(), HasSubstr(std::string(eraseLine) +
                                         "firmware-host: installation failed; what was installed "
                                         "before stays\r\n"));
}

TEST_F(HostTerminal, ControlCLetsTheScriptUnderWayFinish) {
    const auto package = PackageBuilder()
                             .script("Script.run",
                                     "cd \"${0%/*}\"\n"
                                     "echo script runs\n"
                                     "until [ -e proceed ]; do sleep 0.01; done\n"
                                     "echo script ends\n")
                             .firmware("later", "data")
                             .build(directory);
    TerminalProcess host(command(package));
    ASSERT_TRUE(host.readUntil("script runs"));
    host.type('\x03');
    ASSERT_TRUE(host.readUntil("cancellation requested, the file under way is finished first"));
    EXPECT_THAT(host.output(), Not(HasSubstr("script ends")));
    target.write("proceed", "");
    EXPECT_EQ(host.wait(), 3);
    EXPECT_THAT(host.output(), HasSubstr("script ends"));
    EXPECT_THAT(host.output(),
                HasSubstr("firmware-host: installation ended after a request for cancellation; "
                          "what was installed by then stays\r\n"));
    EXPECT_THAT(target.files(), ElementsAre("Script.run", "proceed"));
}

// The bars and their texts, in the order in which they were drawn.
std::vector<std::string> drawnLines(const std::string& output) {
    std::vector<std::string> lines;
    const std::string erase = eraseLine;
    for (std::size_t at = output.find(erase); at != std::string::npos;) {
        const std::size_t start = at + erase.size();
        at = output.find(erase, start);
        const std::string line = output.substr(start, at - start);
        if (line.find('%') != std::string::npos) {
            lines.push_back(line);
        }
    }
    return lines;
}

TEST_F(HostTerminal, FitsAnyWidth) {
    const auto package = PackageBuilder()
                             .firmware("a", std::string(3 << 20, 'a'))
                             .firmware("b", std::string(1 << 20, 'b'))
                             .build(directory);
    for (const int columns : {1, 6, 20, 26, 38, 39, 40, 41, 79, 80, 200}) {
        TerminalProcess host(command(package), static_cast<unsigned short>(columns));
        EXPECT_EQ(host.wait(), 0);
        const std::vector<std::string> lines = drawnLines(host.output());
        ASSERT_EQ(lines.size(), columns == 1 ? 0 : 3) << columns;
        for (const std::string& line : lines) {
            EXPECT_LT(line.size(), columns) << line;
            EXPECT_EQ(line.find('[') != std::string::npos, columns >= 39) << columns;
            EXPECT_EQ(line.find("MiB") != std::string::npos, columns >= 26) << columns;
        }
        EXPECT_LE(lines.empty() ? 0 : lines.back().size(), 52 + 25 + 1) << columns;
    }
}

TEST_F(HostTerminal, DrawsTheBarAnewWhenTheTerminalIsResized) {
    const std::string script =
        "echo script runs\n"
        "until [ -e \"${0%/*}/proceed\" ]; do sleep 0.01; done\n";
    const std::string bytes = std::to_string(script.size()) + " B";
    const auto package = PackageBuilder().script("Script.run", script).build(directory);
    TerminalProcess host(command(package), 100);
    ASSERT_TRUE(host.readUntil("script runs"));
    host.resize(33);
    ASSERT_TRUE(host.readUntil("\x1b[K[----------] 0 %, 0 B of " + bytes));
    host.resize(20);
    ASSERT_TRUE(host.readUntil("\x1b[K0 %, 0 B of " + bytes));
    target.write("proceed", "");
    EXPECT_EQ(host.wait(), 0);
}

TEST_F(HostTerminal, PutsWhatScriptsPrintInPlaceOfTheBar) {
    const auto package =
        PackageBuilder()
            .firmware("a", std::string(1 << 20, 'a'))
            .script("Script.run",
                    "printf '\\346\\227\\245\\346\\234\\254\\350\\252\\236 done\\n'\n")
            .build(directory);
    TerminalProcess host(command(package), 40);
    EXPECT_EQ(host.wait(), 0);
    const std::string erase = eraseLine;
    EXPECT_THAT(host.output(),
                HasSubstr(erase + "Script.run: \xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E done\r\n" +
                          erase + "[####"));
}

}  // namespace
