// Compares what is read of a manifest with what was signed.
//
// The signature is checked with one XML parser, the manifest is used as another one reads it. Here
// that other parser reads both the manifest and the very bytes that were signed, and only if it
// reads the same of both is the reading that is used the one that was signed: whatever the first
// parser made of the text, whatever either of them gets wrong, and for whatever reason.
//
// What is compared: elements, attributes and text, names with their prefixes. Left out are
// namespace declarations, which canonical forms move and drop; `xml:base`, which canonical XML 1.1
// may drop or rewrite; and what the parser skips, comments and instructions. Nothing reads those.

#pragma once

#include <boost/utility/string_view.hpp>
#include <cstddef>
#include <pugixml.hpp>

namespace Norv::Corvane::Common {

class ReadingComparison {
public:
    // The manifest, and how many of the root's children stand before its signature element: what is
    // compared is without that element.
    ReadingComparison(boost::string_view manifest, std::size_t elementsBeforeSignature);

    // Whether the same is read of these bytes. Changes them. False, too, for no bytes at all and if
    // either text cannot be read.
    bool agreesWith(char* bytes, std::size_t size) const;

private:
    pugi::xml_document manifest_;
    // Null if the manifest cannot be read or has no such element.
    pugi::xml_node signature_;
};

}  // namespace Norv::Corvane::Common
