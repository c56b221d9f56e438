// The name that people gave a device or an object, such as "Living Room".
//
// A value that owns its text, which is taken as it is. Comparison is exact. Nothing here fails
// unless memory runs out; distinct objects may be used from any thread.

#pragma once

#include <string>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

class NORV_EXPORT LogicalName {
public:
    explicit LogicalName(std::string text) noexcept;

    const std::string& GetText() const& noexcept;
    // Moves the text out.
    std::string GetText() && noexcept;

    friend bool operator==(const LogicalName& a, const LogicalName& b) noexcept {
        return a.text_ == b.text_;
    }
    friend bool operator!=(const LogicalName& a, const LogicalName& b) noexcept {
        return !(a == b);
    }

private:
    std::string text_;
};

// For logs: "Name: " and the text.
NORV_EXPORT std::string to_string(const LogicalName& name);

}  // namespace Norv::Ombrel::Project
