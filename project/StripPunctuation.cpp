#include "StripPunctuation.h"

#include <algorithm>
#include <cctype>

namespace Norv::Ombrel::Project {

void StripPunctuation(std::string& text, std::string_view keep) {
    const auto unwanted = [keep](char c) {
        const auto value = static_cast<unsigned char>(c);
        return (std::isspace(value) || std::ispunct(value)) &&
               keep.find(c) == std::string_view::npos;
    };
    text.erase(std::remove_if(text.begin(), text.end(), unwanted), text.end());
}

}  // namespace Norv::Ombrel::Project
