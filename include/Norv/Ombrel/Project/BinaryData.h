// Bytes that nothing in this library interprets.
//
// A value that owns its bytes; any byte may occur, zero included. Nothing here fails; distinct
// objects may be used from any thread.

#pragma once

#include <string>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

class NORV_EXPORT BinaryData {
public:
    explicit BinaryData(std::string data) noexcept;

    // Refers to the bytes in this object.
    const std::string& GetData() const noexcept;

    friend bool operator==(const BinaryData& a, const BinaryData& b) noexcept {
        return a.data_ == b.data_;
    }
    friend bool operator!=(const BinaryData& a, const BinaryData& b) noexcept { return !(a == b); }

private:
    std::string data_;
};

}  // namespace Norv::Ombrel::Project
