// Compares how a manifest is read for use with what was signed.
//
// One XML parser checks the signature, and another one reads the manifest for use. Here that other
// parser reads both the manifest and the very bytes that were signed. If it reads the same in both,
// what is used is what was signed, whatever the first parser made of the text, whatever either of
// them gets wrong, and for whatever reason.
//
// Elements, attributes and text are compared, and names with their prefixes. Left out are namespace
// declarations, which canonical forms move and drop; `xml:base`, which canonical XML 1.1 may drop
// or rewrite; and what the parser skips, comments and instructions. Nothing reads those.

#pragma once

#include <boost/utility/string_view.hpp>
#include <cstddef>
#include <pugixml.hpp>

namespace Norv::Corvane::Common {

class ReadingComparison {
public:
    // `elementsBeforeSignature` says how many child elements of the root stand before the
    // signature. The comparison leaves the signature out.
    ReadingComparison(boost::string_view manifest, std::size_t elementsBeforeSignature);

    // Whether the parser reads the same in these bytes, which it changes. Also false for no bytes
    // at all, and if either text cannot be read.
    bool agreesWith(char* bytes, std::size_t size) const;

private:
    pugi::xml_document manifest_;
    // Null if the manifest cannot be read or has no such signature.
    pugi::xml_node signature_;
};

}  // namespace Norv::Corvane::Common
