// The XML document that a manifest's signature is checked on.
//
// Owns libxml2's tree. Parsing opens no file and no socket, and acts on no document type
// declaration. Used on one thread, under a `LibraryStateGuard`.

#pragma once

#include <boost/utility/string_view.hpp>
#include <memory>

struct _xmlDoc;
struct _xmlNode;

namespace Norv::Corvane::Common {

// What a signature asks a verification to do. Nothing of it is known to be signed at that time.
struct SignatureDemands {
    // How many times the verification goes over the whole document at most.
    unsigned long passes = 0;
    // How many further documents it builds from canonical output.
    unsigned long rebuiltTrees = 0;
    // How many namespace prefixes are to be treated specially, for each element of each pass.
    unsigned long listedPrefixes = 0;
};

SignatureDemands demandsOf(_xmlNode* signature);

class SignedDocument {
public:
    // At most INT_MAX bytes. The document is empty if the text is not well-formed or has a document
    // type declaration.
    explicit SignedDocument(boost::string_view text);

    explicit operator bool() const noexcept { return document_ != nullptr; }

    // The first signature element of the document, if it is a child of the root element. The
    // signature does not cover itself: anywhere else it could pass for content. Null otherwise.
    _xmlNode* signature() const;

private:
    struct Deleter {
        void operator()(_xmlDoc* document) const noexcept;
    };
    std::unique_ptr<_xmlDoc, Deleter> document_;
};

}  // namespace Norv::Corvane::Common
