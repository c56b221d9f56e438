// An Ethernet hardware address.
//
// A plain value; distinct objects may be used from any thread. Parsing reports failure by an empty
// optional and never throws for bad text. The text form is that of `fmt::formatter<MacAddress>`:
//
//   fmt::format("{}", mac)    00:1a:2b:3c:4d:5e
//   fmt::format("{:h}", mac)  the same
//   fmt::format("{:c}", mac)  001a2b3c4d5e
//
// Any other format specification throws `fmt::format_error`.

#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

struct NORV_EXPORT MacAddress {
    // In transmission order.
    std::array<std::uint8_t, 6> bytes{};

    // Reads six hexadecimal octets, either joined by ":" ("0:1a:2B:3c:4d:5e") or, in a text of
    // exactly 12 characters without ":", as pairs ("001a2b3c4d5e"). Blanks or a "+" before an octet
    // are accepted. If the second character of a pair is no hexadecimal digit, only the first
    // counts; the separated form allows nothing after the sixth octet.
    static std::optional<MacAddress> parse(std::string_view text);

    friend bool operator==(const MacAddress& a, const MacAddress& b) noexcept {
        return a.bytes == b.bytes;
    }
    friend bool operator!=(const MacAddress& a, const MacAddress& b) noexcept { return !(a == b); }
};

}  // namespace Norv::Ombrel::Project

namespace fmt {

template <>
struct formatter<Norv::Ombrel::Project::MacAddress> {
    // Accepts "", "h" and "c".
    constexpr auto parse(format_parse_context& context) {
        auto at = context.begin();
        const auto atEnd = [&] { return at == context.end() || *at == '}'; };
        if (atEnd()) {
            return at;
        }
        const char presentation = *at++;
        if ((presentation != 'h' && presentation != 'c') || !atEnd()) {
            throw fmt::format_error("invalid format");
        }
        separator_ = presentation == 'c' ? "" : ":";
        return at;
    }

    template <typename FormatContext>
    auto format(const Norv::Ombrel::Project::MacAddress& mac, FormatContext& context) const {
        // By hand: formatting the octets would pull fmt's whole machinery into every user's code.
        constexpr const char* digits = "0123456789abcdef";
        auto out = context.out();
        std::string_view separator;
        for (const std::uint8_t octet : mac.bytes) {
            out = std::copy(separator.begin(), separator.end(), out);
            *out++ = digits[octet >> 4];
            *out++ = digits[octet & 0xf];
            separator = separator_;
        }
        return out;
    }

private:
    std::string_view separator_ = ":";
};

}  // namespace fmt
