#include "Text.h"

#include <gtest/gtest.h>

namespace {

using namespace Norv::Corvane::Pack;

TEST(PackText, LeavesWhatCanBePrinted) {
    for (const char* text : {"", "plain", "\u00e4\u00f6\u4e2d\U0001f511", "C:\\x", "a\u00a0b"}) {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(PackText, ShowsControlCharactersByTheirNumbers) {
    EXPECT_EQ(printable("\x1b[2J\r\n\t\x7f"), "\\x1b[2J\\x0d\\x0a\\x09\\x7f");
    EXPECT_EQ(printable("\u009b"), "\\u{9b}");
    EXPECT_EQ(printable(std::string(1, '\0')), "\\x00");
}

TEST(PackText, ShowsMarksThatNobodySees) {
    for (const char* mark : {"\u202e", "\u2066", "\u200f", "\u061c", "\u200b", "\u2028", "\ufeff",
                             "\u00ad", "\U000e0041"}) {
        EXPECT_EQ(printable(mark).substr(0, 3), "\\u{") << mark;
    }
    EXPECT_EQ(printable("a\u202eb"), "a\\u{202e}b");
}

TEST(PackText, ShowsBytesThatAreNotUtf8) {
    EXPECT_EQ(printable("\xff"), "\\xff");
    EXPECT_EQ(printable("\xc3"), "\\xc3");
    EXPECT_EQ(printable("\xc0\x80"), "\\xc0\\x80");                    // longer than need be
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");           // half of a pair
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last
    EXPECT_EQ(printable("\xe2\x82z"), "\\xe2\\x82z");
}

TEST(PackText, ChangesNothingASecondTime) {
    const std::string once = printable("\x1b\\\u202e\xff");
    EXPECT_EQ(printable(once), once);
}

TEST(PackText, CountsAndSizes) {
    EXPECT_EQ(counted(1, "file"), "1 file");
    EXPECT_EQ(counted(0, "file"), "0 files");
    EXPECT_EQ(humanSize(1), "1 byte");
    EXPECT_EQ(humanSize(1023), "1023 bytes");
    EXPECT_EQ(humanSize(1536), "1.5 KiB");
    EXPECT_EQ(humanSize(std::uint64_t{5} << 40U), "5.0 TiB");
    EXPECT_EQ(enumeration({"a"}), "a");
    EXPECT_EQ(enumeration({"a", "b", "c"}), "a, b and c");
}

}  // namespace
