#include "ManifestText.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/predicate.hpp>
#include <cstdint>
#include <cstring>
#include <locale>
#include <string>
#include <string_view>

namespace Norv::Corvane::Common::ManifestText {
namespace {

// Length of the well-formed UTF-8 sequence at the start of `text`, 0 if there is none. Overlong
// forms, surrogates and values above U+10FFFF are not well-formed; nor is U+0000 in XML.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return first == 0 ? 0 : 1;
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    // Only the second byte's range depends on the first byte.
    const unsigned char low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < low || byte(1) > high) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if (byte(i) < 0x80 || byte(i) > 0xBF) {
            return 0;
        }
    }
    return length;
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Length of the ASCII text without zero bytes at the start of `text`, possibly without its last few
// bytes. Reads eight bytes at a time, because nearly every manifest is all ASCII.
std::size_t plainLength(std::string_view text) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    constexpr std::uint64_t topBits = ones << 7;
    std::uint64_t word = 0;
    std::size_t length = 0;
    while (text.size() - length >= sizeof word) {
        std::memcpy(&word, text.data() + length, sizeof word);
        // The subtraction sets the top bit of a zero byte, and only there does it borrow.
        if (((word | (word - ones)) & topBits) != 0) {
            break;
        }
        length += sizeof word;
    }
    return length;
}

bool isUtf8(std::string_view text) {
    for (;;) {
        text.remove_prefix(plainLength(text));
        if (text.empty()) {
            return true;
        }
        const std::size_t length = sequenceLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
}

// The encoding that the XML declaration names, empty when it names none. A declaration that is not
// well-formed may come out either way: the parser refuses it.
std::string_view declaredEncoding(std::string_view text) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF") {
        text.remove_prefix(3);
    }
    // A longer name, such as that of a style sheet's instruction, does not begin the declaration.
    if (text.substr(0, 5) != "<?xml" || text.find_first_of(" \t\r\n") != 5) {
        return {};
    }
    const std::string_view declaration = text.substr(0, text.find("?>"));
    const std::size_t name = declaration.find("encoding");
    const std::size_t open = declaration.find_first_of("\"'", name);
    if (name == std::string_view::npos || open == std::string_view::npos) {
        return {};
    }
    const std::size_t close = declaration.find(declaration[open], open + 1);
    return declaration.substr(open + 1, close - open - 1);
}

struct Family {
    std::string_view prefix;
    // What may follow the prefix, each between blanks.
    std::string_view members;
};

bool isMember(const Family& family, std::string_view encoding, const std::locale& c) {
    if (!boost::istarts_with(encoding, family.prefix, c)) {
        return false;
    }
    const std::string member = " " + std::string(encoding.substr(family.prefix.size())) + " ";
    return boost::icontains(family.members, member, c);
}

// Whether ASCII bytes have their ASCII meaning in this encoding. Only whole names count: what
// merely begins like one of them is another encoding, or none.
bool extendsAscii(std::string_view encoding) {
    static constexpr std::string_view iso8859 =
        " 1 2 3 4 5 6 7 8 9 10 11 13 14 15 16 6-E 6-I 8-E 8-I ";
    static constexpr std::string_view codePages = " 1250 1251 1252 1253 1254 1255 1256 1257 1258 ";
    static constexpr std::array<Family, 8> families = {
        {{"ISO-8859-", iso8859},
         {"ISO8859-", iso8859},
         {"ISO_8859-", iso8859},
         {"windows-", codePages},
         {"CP", codePages},
         {"KOI8-", " R U RU T "},
         {"EUC-", " CN JP JP-MS JISX0213 KR TW "},
         {"", " US-ASCII ASCII ISO646-US latin1 GB2312 GBK GB18030 Big5 "}}};
    const std::locale& c = std::locale::classic();
    // With a blank, a name could match several members at once.
    return encoding.find(' ') == std::string_view::npos &&
           std::any_of(families.begin(), families.end(),
                       [&](const Family& family) { return isMember(family, encoding, c); });
}

}  // namespace

bool readsAlike(boost::string_view text) {
    const std::string_view bytes(text.data(), text.size());
    if (!isUtf8(bytes)) {
        return false;
    }
    const std::string_view encoding = declaredEncoding(bytes);
    const std::locale& c = std::locale::classic();
    return encoding.empty() || boost::iequals(encoding, "UTF-8", c) ||
           boost::iequals(encoding, "UTF8", c) || (isAscii(bytes) && extendsAscii(encoding));
}

}  // namespace Norv::Corvane::Common::ManifestText
