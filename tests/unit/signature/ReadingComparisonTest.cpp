#include "ReadingComparison.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Norv::Corvane::Common {
namespace {

// With the signature behind this many elements.
bool agree(const std::string& manifest, std::string signedBytes, std::size_t before = 0) {
    return ReadingComparison(manifest, before).agreesWith(signedBytes.data(), signedBytes.size());
}

const std::string signature = "<Signature><Object>unsigned</Object></Signature>";

// The same content on both sides, the manifest with a signature in front of it.
bool sameContent(const std::string& manifest, const std::string& signedBytes) {
    return agree("<R>" + signature + manifest + "</R>", "<R>" + signedBytes + "</R>");
}

TEST(ReadingComparison, FindsWhatCanonicalFormsChangeTheSame) {
    EXPECT_TRUE(sameContent("", ""));
    EXPECT_TRUE(sameContent("<a/>", "<a></a>"));
    EXPECT_TRUE(sameContent("<a b='1' a=\"2\"/>", "<a a=\"2\" b=\"1\"></a>"));
    EXPECT_TRUE(sameContent("<a b='&#x3E;&#10;\"'\n/>", "<a b=\">&#xA;&quot;\"></a>"));
    EXPECT_TRUE(sameContent("<a b='x\ny\tz'/>", "<a b=\"x y z\"></a>"));
    EXPECT_TRUE(sameContent("x<![CDATA[<y>]]>z", "x&lt;y&gt;z"));
    EXPECT_TRUE(sameContent("x<!-- c -->y<?i ?>z", "xyz"));
    EXPECT_TRUE(sameContent("x<!--c--> <!--d-->y", "x y"));
    EXPECT_TRUE(sameContent("x\r\ny", "x\ny"));
    EXPECT_TRUE(sameContent("<a xmlns:p='u:u' xml:base=''/>", "<a></a>"));
    EXPECT_TRUE(sameContent("<a/>", "<a xmlns=\"u:u\" xmlns:p=\"u:v\"></a>"));
    EXPECT_TRUE(agree("<?xml version='1.0'?>\n<!--c--><R>" + signature + "</R>\n", "<R></R>"));
    EXPECT_TRUE(agree("\xEF\xBB\xBF<R>" + signature + "</R>", "<R></R>"));
}

TEST(ReadingComparison, FindsEachDifference) {
    EXPECT_FALSE(sameContent("<a/>", ""));
    EXPECT_FALSE(sameContent("", "<a/>"));
    EXPECT_FALSE(sameContent("<a/>", "<b/>"));
    EXPECT_FALSE(sameContent("<p:a/>", "<a/>"));
    EXPECT_FALSE(sameContent("<a/><b/>", "<b/><a/>"));
    EXPECT_FALSE(sameContent("<a><b/></a>", "<a/><b/>"));
    EXPECT_FALSE(sameContent("<a><b/></a>", "<a><b/><b/></a>"));
    EXPECT_FALSE(sameContent("<a b='1'/>", "<a/>"));
    EXPECT_FALSE(sameContent("<a/>", "<a b='1'/>"));
    EXPECT_FALSE(sameContent("<a b='1'/>", "<a b='2'/>"));
    EXPECT_FALSE(sameContent("<a b='1'/>", "<a c='1'/>"));
    EXPECT_FALSE(sameContent("<a p:b='1'/>", "<a b='1'/>"));
    EXPECT_FALSE(sameContent("<a xmlnsb='1'/>", "<a/>"));
    EXPECT_FALSE(sameContent("<a b='1' b='2'/>", "<a b='1'/>"));
    EXPECT_FALSE(sameContent("<a b='1' b='2'/>", "<a b='2' b='1'/>"));
    EXPECT_FALSE(sameContent("x", "y"));
    EXPECT_FALSE(sameContent("x", "xy"));
    EXPECT_FALSE(sameContent("xy", "x"));
    EXPECT_FALSE(sameContent("", " "));
    EXPECT_FALSE(sameContent("x<a/>", "<a/>x"));
    EXPECT_FALSE(sameContent("<a>x</a>", "<a/>x"));
}

TEST(ReadingComparison, LeavesOutTheSignatureInItsPlaceOnly) {
    EXPECT_TRUE(agree("<R><a/>x" + signature + "y</R>", "<R><a/>xy</R>", 1));
    EXPECT_TRUE(agree("<R><!--c-->x<p:Signature/></R>", "<R>x</R>"));
    // A maker's own element of that name is content.
    EXPECT_TRUE(
        agree("<R><Signature a='1'/>" + signature + "</R>", "<R><Signature a='1'/></R>", 1));
    EXPECT_FALSE(agree("<R><Signature/>" + signature + "</R>", "<R></R>", 1));
    EXPECT_FALSE(agree("<R>" + signature + "</R>", "<R></R>", 1));
    EXPECT_FALSE(agree("<R><Files/></R>", "<R></R>"));
    EXPECT_FALSE(agree("<R><Signature:Files/></R>", "<R></R>"));
    EXPECT_FALSE(agree("<R><a>" + signature + "</a></R>", "<R><a/></R>"));
}

TEST(ReadingComparison, IsFalseForWhatCannotBeRead) {
    const std::string manifest = "<R>" + signature + "</R>";
    ASSERT_TRUE(agree(manifest, "<R/>"));
    EXPECT_FALSE(agree(manifest, ""));
    EXPECT_FALSE(ReadingComparison(manifest, 0).agreesWith(nullptr, 0));
    for (const std::string text : {" ", "<R", "<R>", "R", "<R/><R/>", "<R></S>"}) {
        EXPECT_FALSE(agree(manifest, text)) << text;
    }
    for (const std::string& text :
         std::vector<std::string>{"", "<R>" + signature, manifest + "<R/>", manifest + manifest,
                                  "<R/>" + manifest, manifest + "<"}) {
        EXPECT_FALSE(agree(text, "<R/>")) << text;
    }
}

TEST(ReadingComparison, GoesDownWithoutRecursion) {
    const std::size_t depth = 1000000;
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += "<a>";
    }
    for (std::size_t i = 0; i < depth; ++i) {
        text += "</a>";
    }
    EXPECT_TRUE(sameContent(text, text));
    EXPECT_FALSE(sameContent(text, text + "<b/>"));
}

TEST(ReadingComparison, AnswersForEachReference) {
    const ReadingComparison reading("<R>" + signature + "<a/></R>", 0);
    for (int i = 0; i < 3; ++i) {
        std::string same = "<R><a/></R>";
        std::string other = "<R><b/></R>";
        EXPECT_TRUE(reading.agreesWith(same.data(), same.size()));
        EXPECT_FALSE(reading.agreesWith(other.data(), other.size()));
    }
}

}  // namespace
}  // namespace Norv::Corvane::Common
