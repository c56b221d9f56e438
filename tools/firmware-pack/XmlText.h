// Places in the text of an XML document.

#pragma once

#include <optional>
#include <string_view>

namespace Norv::Corvane::Pack {

struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// The place of child element number `index` of the root element, tags included. None when there is
// no such child. The text must be a well-formed document in UTF-8.
std::optional<TextRange> rootChildRange(std::string_view xml, std::size_t index);

}  // namespace Norv::Corvane::Pack
