// The domain that hosts are in, such as "site.local".
//
// A value that owns its text. The constructor cleans the text instead of rejecting it: blanks and
// punctuation other than "-" and "." are removed, as the C locale in force classifies them.
// Comparison ignores letter case as the global C++ locale defines it. Nothing here fails unless
// memory runs out; distinct objects may be used from any thread while no thread sets a locale.

#pragma once

#include <string>
#include <string_view>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

class NORV_EXPORT Domain {
public:
    // Refers to domain text owned elsewhere, which must outlive the view unchanged. The text is
    // taken as it is, without cleaning.
    class NORV_EXPORT View {
    public:
        explicit constexpr View(std::string_view text) noexcept : text_(text) {}

        constexpr std::string_view GetText() const noexcept { return text_; }

        bool operator==(View other) const;
        bool operator!=(View other) const { return !(*this == other); }

    private:
        std::string_view text_;
    };

    // An empty text, also one that is empty after cleaning, is a value like any other.
    explicit Domain(std::string text);

    const std::string& GetText() const noexcept { return text_; }

    // The view refers to this object's text.
    operator View() const noexcept { return View(text_); }

    bool operator==(const Domain& other) const;
    bool operator!=(const Domain& other) const { return !(*this == other); }

private:
    std::string text_;
};

}  // namespace Norv::Ombrel::Project
