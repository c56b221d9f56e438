// The number of an object in a device project.
//
// A plain value; nothing here fails unless memory runs out. Distinct objects may be used from any
// thread.

#pragma once

#include <cstdint>
#include <string>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

class NORV_EXPORT ObjectId {
public:
    explicit constexpr ObjectId(std::uint32_t value) noexcept : value_(value) {}

    constexpr std::uint32_t GetValue() const noexcept { return value_; }

    friend constexpr bool operator==(ObjectId a, ObjectId b) noexcept {
        return a.value_ == b.value_;
    }
    friend constexpr bool operator!=(ObjectId a, ObjectId b) noexcept { return !(a == b); }

private:
    std::uint32_t value_;
};

// For logs: "OID: " and the number in decimal.
NORV_EXPORT std::string to_string(const ObjectId& id);

}  // namespace Norv::Ombrel::Project
