// The manual pages and the completion, as they are installed.

#include <sstream>

#include "PackFixture.h"

namespace {

using namespace Norv::Corvane::Test;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class PackManual : public PackFixture {
protected:
    static std::string page(const std::string& name) {
        return readFile(boost::filesystem::path(MANUALS) / name);
    }

    // What bash offers after these words.
    std::string complete(const std::string& words, int last) {
        const std::string script =
            "source \"$1\"; compopt() { :; }; COMP_WORDS=($2); COMP_CWORD=$3; "
            "_firmware_pack; echo \"${COMPREPLY[@]}\"";
        return runHere({"bash", "-c", script, "bash", std::string(MANUALS) + "/firmware-pack",
                        words, std::to_string(last)})
            .out;
    }
};

TEST_F(PackManual, NamesEveryOptionOfEveryCommand) {
    std::string manual = page("firmware-pack.1");
    for (std::size_t at = 0; (at = manual.find("\\-", at)) != std::string::npos;) {
        manual.replace(at, 2, "-");
    }
    for (const char* command :
         {"build", "prepare", "attach", "inspect", "verify", "resign", "extract"}) {
        EXPECT_THAT(manual, HasSubstr("\n.SS " + std::string(command) + "\n"));
        std::istringstream help(pack({command, "--help"}).out);
        std::size_t options = 0;
        for (std::string line; std::getline(help, line);) {
            const std::size_t begin = line.find("--");
            if (line.compare(0, 3, "  -") == 0 && begin != std::string::npos) {
                const std::size_t end = line.find_first_of(" ,", begin);
                EXPECT_THAT(manual, HasSubstr("\\fB" + line.substr(begin, end - begin) + "\\fR"));
                ++options;
            }
        }
        EXPECT_GE(options, 3U) << command;
    }
}

TEST_F(PackManual, LeavesNoPlaceUnfilled) {
    for (const char* name :
         {"firmware-pack.1", "firmware-release.5", "firmware-package.5", "firmware-pack"}) {
        EXPECT_THAT(page(name), Not(ContainsRegex("@[A-Z_]+@"))) << name;
    }
    EXPECT_THAT(page("firmware-release.5"), HasSubstr("\\fBhardware\\-revisions\\fR"));
}

TEST_F(PackManual, CompletesCommandsAndOptions) {
    EXPECT_EQ(complete("firmware-pack in", 1), "inspect\n");
    EXPECT_EQ(complete("firmware-pack verify --c", 2), "--certificate\n");
    EXPECT_EQ(complete("firmware-pack build --pass", 2),
              "--passphrase-file --passphrase-fd --passphrase-env\n");
    EXPECT_EQ(complete("firmware-pack build --model --", 3), "\n");
    EXPECT_EQ(complete("firmware-pack build rel", 2), "\n");  // left to the names of files
}

}  // namespace
