#include "Text.h"

#include <fmt/format.h>

#include <array>

namespace Norv::Corvane::Pack {

namespace {

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// Code points that print nothing visible: control and format characters, separators of lines, tags,
// variation selectors, private and unassigned places at the ends of planes.
constexpr std::array<Range, 21> invisible = {{
    {0x00, 0x1f},     {0x7f, 0x9f},     {0xad, 0xad},     {0x34f, 0x34f},     {0x600, 0x605},
    {0x61c, 0x61c},   {0x6dd, 0x6dd},   {0x70f, 0x70f},   {0x115f, 0x1160},   {0x17b4, 0x17b5},
    {0x180b, 0x180e}, {0x200b, 0x200f}, {0x2028, 0x202e}, {0x2060, 0x206f},   {0x3164, 0x3164},
    {0xfe00, 0xfe0f}, {0xfeff, 0xfeff}, {0xfff0, 0xfffb}, {0x1d173, 0x1d17a}, {0xe0000, 0xe0fff},
    {0xfffe, 0xffff},
}};

bool isInvisible(std::uint32_t codePoint) {
    for (const Range& range : invisible) {
        if (codePoint >= range.first && codePoint <= range.last) {
            return true;
        }
    }
    return false;
}

// Length and lowest value of the sequence that the byte begins; length 0 for none.
struct Lead {
    std::size_t length;
    std::uint32_t bits;
    std::uint32_t lowest;
};

Lead leadOf(unsigned char byte) {
    if (byte < 0x80) {
        return {1, byte, 0};
    }
    if (byte >= 0xc2 && byte <= 0xdf) {
        return {2, byte & 0x1fU, 0x80};
    }
    if (byte >= 0xe0 && byte <= 0xef) {
        return {3, byte & 0x0fU, 0x800};
    }
    if (byte >= 0xf0 && byte <= 0xf4) {
        return {4, byte & 0x07U, 0x10000};
    }
    return {0, 0, 0};
}

}  // namespace

CodePoint firstCodePoint(std::string_view text) {
    const Lead lead = leadOf(static_cast<unsigned char>(text[0]));
    std::uint32_t value = lead.bits;
    if (lead.length == 0 || text.size() < lead.length) {
        return {};
    }
    for (std::size_t i = 1; i < lead.length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xc0U) != 0x80U) {
            return {};
        }
        value = (value << 6U) | (byte & 0x3fU);
    }
    const bool surrogate = value >= 0xd800 && value <= 0xdfff;
    if (value < lead.lowest || value > 0x10ffff || surrogate) {
        return {};
    }
    return {value, lead.length, true};
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const CodePoint next = firstCodePoint(text);
        if (!next.valid || (next.length == 1 && isInvisible(next.value))) {
            result += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[0]));
        } else if (isInvisible(next.value)) {
            result += fmt::format("\\u{{{:x}}}", next.value);
        } else {
            result += text.substr(0, next.length);
        }
        text.remove_prefix(next.length);
    }
    return result;
}

std::string inQuotes(std::string_view text) {
    return "\"" + printable(text) + "\"";
}

std::string enumeration(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool last = i + 1 == words.size();
        text += (i == 0 ? "" : last ? " and " : ", ") + words[i];
    }
    return text;
}

std::string toHex(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += fmt::format("{:02x}", byte);
    }
    return text;
}

std::string counted(std::size_t count, const std::string& noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string humanSize(std::uint64_t bytes) {
    constexpr std::array<const char*, 4> units = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024) {
        return counted(static_cast<std::size_t>(bytes), "byte");
    }
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (size >= 1024 && unit + 1 < units.size()) {
        size /= 1024;
        ++unit;
    }
    return fmt::format("{:.1f} {}", size, units[unit]);
}

std::string baseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace Norv::Corvane::Pack
