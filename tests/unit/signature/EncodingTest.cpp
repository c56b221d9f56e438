#include "ManifestText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Norv::Corvane::Common {
namespace {

using ManifestText::readsAlike;

std::string labelled(const std::string& encoding) {
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?><R/>";
}

// The first and the last of each length, and of what surrogates divide.
TEST(ManifestText, ReadsAlikeInAllOfUtf8) {
    for (const std::string character :
         {"\x01", "\x7F", "\xC2\x80", "\xC3\xBF", "\xDF\xBF", "\xE0\xA0\x80", "\xE0\xBF\xBF",
          "\xE1\x80\xBF", "\xE2\xBF\x80", "\xEC\xBF\xBF", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF0\xBF\xBF\xBF", "\xF1\x80\x80\xBF",
          "\xF3\xBF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(readsAlike(character)) << testing::PrintToString(character);
        EXPECT_TRUE(readsAlike("<R>" + character + "</R>")) << testing::PrintToString(character);
    }
}

TEST(ManifestText, DoesNotReadAlikeBesideUtf8) {
    for (const std::string bytes : {"\x80",
                                    "\xBF",
                                    "\xC0\x80",
                                    "\xC1\xBF",
                                    "\xC2\x7F",
                                    "\xC2\xC0",
                                    "\xC2",
                                    "\xE0\x9F\xBF",
                                    "\xE0\x80\x80",
                                    "\xE1\x7F\x80",
                                    "\xE1\x80\x7F",
                                    "\xE1\x80\xC0",
                                    "\xE1\x80",
                                    "\xED\xA0\x80",
                                    "\xED\xBF\xBF",
                                    "\xF0\x8F\xBF\xBF",
                                    "\xF0\x90\x80",
                                    "\xF1\x80\x80",
                                    "\xF1\x80\x80\xC0",
                                    "\xF4\x90\x80\x80",
                                    "\xF5\x80\x80",
                                    "\xF8\x88\x80",
                                    "\xFE",
                                    "\xFF"}) {
        EXPECT_FALSE(readsAlike(bytes)) << testing::PrintToString(bytes);
        EXPECT_FALSE(readsAlike("<R>" + bytes + "</R>")) << testing::PrintToString(bytes);
    }
    EXPECT_FALSE(readsAlike(std::string("<R>\0</R>", 8)));
}

// All that the text's bytes say on the matter is ASCII.
TEST(ManifestText, ReadsAlikeUnderEachNameOfAnEncodingThatExtendsAscii) {
    std::vector<std::string> names = {"UTF-8",     "utf8",   "US-ASCII",     "ascii",  "latin1",
                                      "ISO646-US", "GB2312", "GBK",          "Big5",   "GB18030",
                                      "KOI8-R",    "KOI8-U", "KOI8-RU",      "KOI8-T", "EUC-CN",
                                      "EUC-JP",    "EUC-KR", "EUC-JISX0213", "EUC-TW", "EUC-JP-MS"};
    for (const std::string family : {"ISO-8859-", "ISO8859-", "ISO_8859-"}) {
        for (const std::string member : {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11",
                                         "13", "14", "15", "16", "6-E", "6-I", "8-E", "8-I"}) {
            names.push_back(family + member);
        }
    }
    for (int page = 1250; page <= 1258; ++page) {
        names.push_back("windows-" + std::to_string(page));
        names.push_back("CP" + std::to_string(page));
    }
    for (const std::string& name : names) {
        EXPECT_TRUE(readsAlike(labelled(name))) << name;
        EXPECT_FALSE(readsAlike(labelled(name + "x"))) << name;
        EXPECT_FALSE(readsAlike(labelled(name + " "))) << name;
        const bool utf8 = name == "UTF-8" || name == "utf8";
        EXPECT_EQ(readsAlike(labelled(name) + "<!--\xC3\xA4-->"), utf8) << name;
    }
}

TEST(ManifestText, DoesNotReadAlikeUnderOtherNames) {
    for (const std::string name : {"UTF-7",
                                   "UTF-16",
                                   "UTF-16LE",
                                   "UTF-32",
                                   "ISO-8859-0",
                                   "ISO-8859-12",
                                   "ISO-8859-17",
                                   "windows-1249",
                                   "windows-1259",
                                   "CP437",
                                   "KOI8",
                                   "KOI8-",
                                   "EUC-",
                                   "EUC-XX",
                                   "HZ",
                                   "ISO-2022-JP",
                                   "Shift_JIS",
                                   "ISO-8859-1 2",
                                   "1 2",
                                   " ",
                                   "R"}) {
        EXPECT_FALSE(readsAlike(labelled(name))) << name;
    }
}

// Not well-formed: the parser refuses them. What matters is that nothing is read beside the text.
TEST(ManifestText, EndsOnDeclarationsWithoutQuotes) {
    for (const std::string text :
         {"<?xml version=1.0 encoding", "<?xml encoding=UTF-7?><R/>", "<?xml encoding=?><R a='b'/>",
          "<?xml encoding='", "<?xml encoding=\"UTF-7?>", "<?xml version='1.0' encoding?>"}) {
        static_cast<void>(readsAlike(std::string(text)));
    }
    EXPECT_TRUE(readsAlike("<?xml encoding=UTF-7?><R/>"));
    EXPECT_TRUE(readsAlike("<?xml version='1.0'?><R encoding='UTF-7'/>"));
}

}  // namespace
}  // namespace Norv::Corvane::Common
