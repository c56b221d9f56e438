// The XML document that a manifest's signature is checked on.
//
// Owns libxml2's tree. Parsing opens no file and no socket, and acts on no document type
// declaration. Used on one thread, under a `LibraryStateGuard`.

#pragma once

#include <boost/utility/string_view.hpp>
#include <cstddef>
#include <memory>

struct _xmlDoc;
struct _xmlNode;

namespace Norv::Corvane::Common {

class LibraryComplaints;

class SignedDocument {
public:
    // At most INT_MAX bytes. The document is empty if the text is not well-formed, uses namespaces
    // wrongly, has a document type declaration, or if the parser ran out of memory or into one of
    // its limits. Parsing stops as soon as that shows.
    SignedDocument(boost::string_view text, const LibraryComplaints& complaints);

    explicit operator bool() const noexcept { return document_ != nullptr; }

    // The first signature element of the document, if it is a child of the root element. The
    // signature does not cover itself: anywhere else it could pass for content. Null otherwise.
    _xmlNode* signature() const;

    // How many elements stand in front of a child of the root element.
    static std::size_t elementsBefore(const _xmlNode* child);

private:
    struct Deleter {
        void operator()(_xmlDoc* document) const noexcept;
    };
    std::unique_ptr<_xmlDoc, Deleter> document_;
};

}  // namespace Norv::Corvane::Common
