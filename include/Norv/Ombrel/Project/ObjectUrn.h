// The URN of an object in a device project.
//
// A value that owns its text, which is taken as it is. Comparison is exact. Nothing here fails
// unless memory runs out; distinct objects may be used from any thread.

#pragma once

#include <string>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

class NORV_EXPORT ObjectUrn {
public:
    explicit ObjectUrn(std::string text) noexcept;

    const std::string& GetText() const& noexcept;
    // Moves the text out.
    std::string GetText() && noexcept;

    friend bool operator==(const ObjectUrn& a, const ObjectUrn& b) noexcept {
        return a.text_ == b.text_;
    }
    friend bool operator!=(const ObjectUrn& a, const ObjectUrn& b) noexcept { return !(a == b); }

private:
    std::string text_;
};

// For logs: "URN: " and the text.
NORV_EXPORT std::string to_string(const ObjectUrn& urn);

}  // namespace Norv::Ombrel::Project
