// Edits of XML text that keep most of it intact: on pieces such as names, values, blanks and
// markup, with pieces that matter to signatures thrown in.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Norv::Corvane::Fuzz {

// Number of bytes that make one edit: what to do, where, and with what.
constexpr std::size_t editSize = 4;

// Edits that begin with one of these bytes change several places at once.
constexpr unsigned firstCompoundEdit = 252;
constexpr unsigned compoundEdits = 4;

// Applies the edits one after the other; a last incomplete one is left out. Any bytes are edits.
std::string edited(std::string text, std::string_view edits);

}  // namespace Norv::Corvane::Fuzz
