#include "Printable.h"

#include <cstddef>
#include <cstdint>

namespace {

struct Character {
    // 0 when the text does not begin with a UTF-8 character.
    std::size_t length;
    std::uint32_t code;
};

constexpr Character none = {0, 0};

Character firstOf(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::uint32_t lead = byte(0);
    if (lead < 0x80) {
        return {1, lead};
    }
    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || text.size() < length) {
        return none;
    }
    std::uint32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return none;
        }
        code = code << 6 | (byte(i) & 0x3FU);
    }
    // An overlong form, half of a surrogate pair, or beyond the last code point.
    constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < least[length] || surrogate || code > 0x10FFFF ? none : Character{length, code};
}

bool acts(std::uint32_t code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) ||  // C0, DEL, C1
           (code >= 0x202A && code <= 0x202E) ||             // embeddings and overrides
           (code >= 0x2066 && code <= 0x2069) ||             // isolates
           code == 0x200E || code == 0x200F || code == 0x061C || code == 0x2028 ||
           code == 0x2029;  // separators of lines and paragraphs
}

}  // namespace

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const Character character = firstOf(text);
        if (character.length == 0 || acts(character.code)) {
            shown += '?';
        } else {
            shown += text.substr(0, character.length);
        }
        text.remove_prefix(character.length == 0 ? 1 : character.length);
    }
    return shown;
}
