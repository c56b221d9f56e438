#include "Norv/Ombrel/Project/MacAddress.h"

#include <scn/scn.h>

namespace Norv::Ombrel::Project {
namespace {

std::optional<MacAddress> parseCompact(std::string_view text) {
    MacAddress mac;
    for (std::uint8_t& octet : mac.bytes) {
        // What a scan leaves unread of its pair does not matter.
        if (!scn::scan(text.substr(0, 2), "{:B16}", octet)) {
            return std::nullopt;
        }
        text.remove_prefix(2);
    }
    return mac;
}

std::optional<MacAddress> parseSeparated(std::string_view text) {
    MacAddress mac;
    auto& [a, b, c, d, e, f] = mac.bytes;
    const auto result =
        scn::scan(text, "{:B16}:{:B16}:{:B16}:{:B16}:{:B16}:{:B16}", a, b, c, d, e, f);
    if (!result || !result.empty()) {
        return std::nullopt;
    }
    return mac;
}

}  // namespace

std::optional<MacAddress> MacAddress::parse(std::string_view text) {
    const bool compact = text.size() == 12 && text.find(':') == std::string_view::npos;
    return compact ? parseCompact(text) : parseSeparated(text);
}

}  // namespace Norv::Ombrel::Project
