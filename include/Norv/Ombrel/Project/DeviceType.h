// The hardware model that a firmware is meant for.
//
// A plain value; distinct objects may be used from any thread. Parsing reports failure by an empty
// optional and never throws for bad text.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

class NORV_EXPORT DeviceType {
public:
    enum class Type : std::uint8_t {
        None = 0,
        QA01RTVN = 1,
        WOLMZB04 = 2,
        PD02JNSH = 3,
        PD03JNSH = 4,
        RTVNUY01 = 5,
    };

    DeviceType(Type type, std::optional<std::string> qualifier);
    // Not explicit: a bare model is a device type without a qualifier.
    DeviceType(Type type);

    // `code` is one of the eight-character model codes, optionally behind the manufacturer prefix
    // "QV"; letter case matters. Empty for any other text.
    static std::optional<DeviceType> parse(std::string_view code,
                                           std::optional<std::string> qualifier);

    // As above, but empty as well unless `manufacturer` is exactly "QV".
    static std::optional<DeviceType> parse(std::string_view manufacturer, std::string_view model,
                                           std::optional<std::string> qualifier);

    Type type;
    // Carried along; nothing in this library interprets it.
    std::optional<std::string> qualifier;

    friend bool operator==(const DeviceType& a, const DeviceType& b) noexcept {
        return a.type == b.type && a.qualifier == b.qualifier;
    }
    friend bool operator!=(const DeviceType& a, const DeviceType& b) noexcept { return !(a == b); }
};

// The model code, a view of static text. For `None` and values without a name: a view with no data
// pointer and length 0.
NORV_EXPORT std::string_view to_string(DeviceType::Type type);

}  // namespace Norv::Ombrel::Project
