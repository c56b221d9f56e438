// How names are cleaned.

#pragma once

#include <string>
#include <string_view>

namespace Norv::Ombrel::Project {

// Removes the blanks and the punctuation of the C locale in force, except for characters in `keep`.
// In the "C" locale, bytes from 0x80 upward and control characters stay.
void StripPunctuation(std::string& text, std::string_view keep);

}  // namespace Norv::Ombrel::Project
