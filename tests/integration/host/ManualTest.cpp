// The manual page and the completion know the options that firmware-host takes.

#include <set>
#include <sstream>

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane::Test;
using testing::HasSubstr;

// The names that the lines of `--help` begin with.
std::set<std::string> namesInHelp() {
    std::set<std::string> names;
    std::istringstream help(run({FIRMWARE_HOST, "--help"}).out);
    for (std::string line; std::getline(help, line);) {
        if (line.rfind("  --", 0) == 0) {
            names.insert(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    return names;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
    return text;
}

TEST(HostManual, HasEveryOptionAndTextOfHelp) {
    const std::string page = replaced(readFile(FIRMWARE_HOST_MANUAL), "\\-", "-");
    std::istringstream help(run({FIRMWARE_HOST, "--help"}).out);
    int found = 0;
    for (std::string line; std::getline(help, line);) {
        if (line.rfind("  --", 0) == 0) {
            EXPECT_THAT(page, HasSubstr("\\fB" + line.substr(2, line.find(' ', 2) - 2) + "\\fR"));
            EXPECT_THAT(page, HasSubstr("\n" + line.substr(32) + "\n"));
            ++found;
        }
    }
    EXPECT_EQ(found, 14);
    EXPECT_THAT(page, HasSubstr("CERTIFICATE, checks its payload"));
    EXPECT_THAT(page, HasSubstr("0 when everything was installed"));
    EXPECT_EQ(page.find('@'), std::string::npos);
}

TEST(HostManual, HasNoFaultThatManFinds) {
    const ProcessResult result =
        run({"sh", "-c",
             "command -v man > /dev/null || exit 77\nLC_ALL=C man --warnings -l \"$0\" | cat",
             FIRMWARE_HOST_MANUAL});
    if (result.status == 77) {
        GTEST_SKIP() << "no man";
    }
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("EXIT STATUS"));
}

TEST(HostCompletion, OffersEveryOptionAndFilesForTheirValues) {
    const auto offered = [](const std::string& words) {
        std::set<std::string> names;
        const ProcessResult result =
            run({"bash", "-c",
                 "source \"$0\"; COMP_WORDS=(" + words +
                     "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _firmware_host; "
                     "printf '%s\\n' \"${COMPREPLY[@]}\"",
                 FIRMWARE_HOST_COMPLETION});
        EXPECT_EQ(result.err, "");
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);) {
            names.insert(line);
        }
        return names;
    };
    EXPECT_EQ(offered("firmware-host --"), namesInHelp());
    EXPECT_EQ(offered("firmware-host --dr"), std::set<std::string>{"--dry-run"});
    // A value is no option, whatever it begins with.
    EXPECT_EQ(offered("firmware-host --model --dr"), std::set<std::string>{""});
    const std::string page = FIRMWARE_HOST_MANUAL;
    const std::string beginning = page.substr(0, page.size() - 1);
    EXPECT_EQ(offered("firmware-host " + beginning), std::set<std::string>{page});
    EXPECT_EQ(offered("firmware-host --device-file " + beginning), std::set<std::string>{page});
}

}  // namespace
