// What the bytes of a manifest tell before an XML parser acts on them.
//
// The signature is checked on what one XML parser reads and the manifest is used as another one
// reads it. Both functions here exist so that this cannot be turned against us: the first refuses
// text that the two could read differently, the second bounds the time either may take.

#pragma once

#include <boost/utility/string_view.hpp>
#include <cstdint>

namespace Norv::Corvane::Common::ManifestText {

// Whether the text is UTF-8 without zero bytes, and declares no encoding that would give those
// bytes another meaning.
bool readsAlike(boost::string_view text);

// Work that a parser or a canonicaliser spends on each pass over the text, in elementary steps, as
// far as it is not simply proportional to the length.
struct Cost {
    // Attributes are compared with each other, within one element.
    std::uint64_t attributes = 0;
    // Namespace prefixes are looked up among all declarations in scope.
    std::uint64_t namespaces = 0;
};

Cost costOf(boost::string_view text);

}  // namespace Norv::Corvane::Common::ManifestText
