#include "WorkBudget.h"

#include <gtest/gtest.h>

#include <string>

namespace Norv::Corvane::Common {
namespace {

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

std::string attributes(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += " a" + std::to_string(i) + "=\"\"";
    }
    return text;
}

std::string declarations(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += " xmlns:a" + std::to_string(i) + "=\"u:u\"";
    }
    return text;
}

bool allowsParsing(const std::string& text) {
    return WorkBudget(text).allowsParsing();
}

// What an ordinary signature demands.
bool allowsVerification(const std::string& text) {
    return WorkBudget(text).allowsVerification({1, 4, 0, 0});
}

const std::string file =
    R"(<File xsi:type="FirmwareFileType" LocalFilePath="some/name" RemoteFilePath="some/name")"
    R"( HashValue="LXEWQrcmsEQBYnyp+6wy9chTD7GQPMTbAiWHF5IaSIE=" HashAlgorithm="sha256" Length="1"/>)";

TEST(WorkBudget, AllowsTextsOfAnyUsualShapeAndSize) {
    EXPECT_TRUE(allowsVerification(""));
    EXPECT_TRUE(allowsVerification("<a/>"));
    EXPECT_TRUE(allowsVerification("<R" + declarations(5) + ">" + repeated(file, 50000) + "</R>"));
    EXPECT_TRUE(allowsVerification("<R>" + repeated("<HwRev Value=\"1\"/>\n", 100000) + "</R>"));
    EXPECT_TRUE(allowsVerification("<R a=\"" + repeated("x", 5000000) + "\"/>"));
}

TEST(WorkBudget, AllowsEightTimesWhatIsUsualInPasses) {
    const std::string text = "<R>" + repeated(file, 5000) + "</R>";
    EXPECT_TRUE(WorkBudget(text).allowsVerification({1, 32, 0, 0}));
    EXPECT_FALSE(WorkBudget(text).allowsVerification({1, 1000, 0, 0}));
}

TEST(WorkBudget, RefusesManyAttributesOnOneElement) {
    EXPECT_TRUE(allowsParsing("<R" + attributes(10000) + "/>"));
    EXPECT_FALSE(allowsParsing("<R" + attributes(100000) + "/>"));
}

TEST(WorkBudget, RefusesManyNamespacesInScope) {
    EXPECT_TRUE(allowsParsing("<R" + declarations(20) + ">" + repeated("<a/>", 10000) + "</R>"));
    EXPECT_FALSE(allowsParsing("<R" + declarations(200) + ">" + repeated("<a/>", 10000) + "</R>"));
}

TEST(WorkBudget, CountsDeclarationsWrittenInAnyWay) {
    const std::string body = ">" + repeated("<a/>", 10000) + "</R>";
    std::string odd = declarations(200);
    for (std::size_t at = 0; (at = odd.find(" xmlns", at)) != std::string::npos; at += 2) {
        odd.replace(at, 1, "\n\t");
    }
    EXPECT_FALSE(allowsParsing("<R" + odd + body));
    for (std::size_t at = 0; (at = odd.find("=\"u:u\"", at)) != std::string::npos; at += 8) {
        odd.replace(at, 6, " = 'u:u'");
    }
    EXPECT_FALSE(allowsParsing("<R" + odd + body));
}

TEST(WorkBudget, ForgetsDeclarationsAtTheEndOfTheirElement) {
    const std::string element = "<a" + declarations(20) + "><b/></a>";
    EXPECT_TRUE(allowsParsing("<R>" + repeated(element, 1000) + "</R>"));
    EXPECT_FALSE(allowsParsing("<R>" + repeated("<a" + declarations(20) + ">", 1000)));
}

TEST(WorkBudget, RefusesMuchFarFromTheRoot) {
    const std::string deep = repeated("<a>", 250);
    for (const std::string node : {"<a/>", "<!---->", "<?a?>", "<![CDATA[]]>"}) {
        EXPECT_TRUE(allowsVerification(deep + repeated(node, 1000))) << node;
    }
    for (const std::string node : {"<a/>", "<!---->x", "<?a?>x"}) {
        EXPECT_FALSE(allowsVerification(deep + repeated(node, (1 << 20) / node.size()))) << node;
    }
}

// What looks like markup there would be too much of it.
TEST(WorkBudget, TakesTheContentOfCommentsInstructionsAndCharacterDataForNone) {
    const std::string markup = "<a" + attributes(100000) + ">";
    EXPECT_FALSE(allowsParsing("<R>" + markup + "</a></R>"));
    EXPECT_TRUE(allowsParsing("<R><![CDATA[" + markup + "]]></R>"));
    EXPECT_TRUE(allowsParsing("<R><![CDATA[>" + markup + "]]></R>"));
    EXPECT_TRUE(allowsParsing("<R><!--" + markup + "--></R>"));
    // That comment has not ended yet.
    EXPECT_TRUE(allowsParsing("<R><!-->" + markup + "--></R>"));
    EXPECT_TRUE(allowsParsing("<R><!--->" + markup + "--></R>"));
    EXPECT_TRUE(allowsParsing("<R><?p " + markup + "?></R>"));
    // Each of these has.
    EXPECT_FALSE(allowsParsing("<R><![CDATA[]]>" + markup + "]]></R>"));
    EXPECT_FALSE(allowsParsing("<R><!---->" + markup + "--></R>"));
    EXPECT_FALSE(allowsParsing("<R><?p?>" + markup + "?></R>"));
}

TEST(WorkBudget, RefusesManyInstructionsBesideTheRoot) {
    EXPECT_TRUE(allowsParsing(repeated("<?a?>", 10) + "<R/>"));
    EXPECT_FALSE(allowsParsing(repeated("<?a?>", 50000) + "<R/>"));
    EXPECT_FALSE(allowsParsing("<R/>" + repeated("<?a?>", 50000)));
}

TEST(WorkBudget, RefusesLongNamesAndNamespacesThatAreRepeated) {
    const std::string space = " xmlns:p=\"u:" + std::string(50000, 'u') + "\"";
    EXPECT_TRUE(allowsParsing("<R" + space + "><p:a/></R>"));
    EXPECT_FALSE(allowsParsing("<R" + space + ">" + repeated("<p:a/>", 50000) + "</R>"));
    const std::string name = " xmlns:" + std::string(50000, 'n') + "=\"u:u\"";
    EXPECT_FALSE(allowsParsing("<R" + name + ">" + repeated("<a/>", 50000) + "</R>"));
}

TEST(WorkBudget, RefusesManyLongNamesThatBeginAlike) {
    const auto declaring = [](std::size_t nameSize) {
        std::string tag = "<R";
        for (int i = 100; i < 215; ++i) {
            tag += " xmlns:" + std::string(nameSize, 'a') + std::to_string(i) + "=\"n:u\"";
        }
        return tag + "><!--" + std::string(800000, 'z') + "-->" + repeated("<b></b>", 34) + "</R>";
    };
    EXPECT_TRUE(WorkBudget(declaring(10)).allowsVerification({6, 7, 0, 0}));
    EXPECT_FALSE(WorkBudget(declaring(2000)).allowsVerification({6, 7, 0, 0}));
}

TEST(WorkBudget, RefusesLongListsOfPrefixes) {
    const std::string text = "<R>" + repeated(file, 3000) + "</R>";
    EXPECT_TRUE(WorkBudget(text).allowsVerification({1, 4, 0, 10}));
    EXPECT_FALSE(WorkBudget(text).allowsVerification({1, 4, 0, 1000}));
}

TEST(WorkBudget, RefusesDocumentsLargerThanThatOfAnyUsualManifest) {
    EXPECT_TRUE(allowsParsing("<R>" + repeated(file, 100000) + "</R>"));
    EXPECT_FALSE(allowsParsing("<R>" + repeated("<a/>x", 2 << 20) + "</R>"));
}

TEST(WorkBudget, RefusesManyRebuiltTrees) {
    const std::string tiny = "<R>" + repeated("<a/>x", 200000) + "</R>";
    EXPECT_TRUE(WorkBudget(tiny).allowsVerification({1, 4, 0, 0}));
    EXPECT_FALSE(WorkBudget(tiny).allowsVerification({1, 5, 1, 0}));
    // Together with the first one, which is most of what the text may take.
    const std::string half = "<R>" + repeated("<a/>x", 150000) + "</R>";
    EXPECT_TRUE(WorkBudget(half).allowsVerification({1, 4, 0, 0}));
    EXPECT_FALSE(WorkBudget(half).allowsVerification({1, 5, 1, 0}));
    const std::string usual = "<R>" + repeated(file, 5000) + "</R>";
    EXPECT_TRUE(WorkBudget(usual).allowsVerification({1, 5, 1, 0}));
    EXPECT_FALSE(WorkBudget(usual).allowsVerification({1, 14, 10, 0}));
}

// More than 64 bits of steps, and a round number of them: 2^20 instructions, 2^15 elements in one
// another, a name of 2^21 bytes.
TEST(WorkBudget, DoesNotOverflow) {
    EXPECT_FALSE(allowsParsing(repeated("<?a?>", (1 << 20) - 1) + repeated("<a>", 1 << 15) + "<b " +
                               std::string((1 << 21) - 64, 'n') + "=\"\"/>"));
    EXPECT_FALSE(WorkBudget("<a/>").allowsVerification({1, 1UL << 31, 1UL << 31, 1UL << 31}));
}

TEST(WorkBudget, EndsOnTextsThatBreakOff) {
    for (const std::string text : {"<", "<a", "<a b", "<a b=\"", "<a b=\"c\"", "<!--", "<![CDATA[",
                                   "<?", "</", "</a", "a>b</c></d>", "<a/", "<>", "<\">"}) {
        EXPECT_TRUE(allowsParsing(text)) << text;
    }
}

}  // namespace
}  // namespace Norv::Corvane::Common
