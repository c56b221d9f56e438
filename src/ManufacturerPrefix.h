// The manufacturer's two letters, which the firmware index puts in front of model codes.

#pragma once

#include <string>
#include <string_view>

namespace Norv::Corvane::Common {

inline constexpr std::string_view manufacturerPrefix = "QV";

// Leaves a text alone that has the prefix already.
inline std::string withManufacturerPrefix(std::string_view code) {
    std::string text;
    if (code.substr(0, manufacturerPrefix.size()) != manufacturerPrefix) {
        text = manufacturerPrefix;
    }
    return text.append(code);
}

}  // namespace Norv::Corvane::Common
