#include "SignedDocument.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <xmlsec/xmlsec.h>

#include <xmlsec/strings.h>
#include <xmlsec/xmltree.h>

#include <algorithm>
#include <cstring>

#include "LibraryComplaints.h"

namespace Norv::Corvane::Common {
namespace {

// For the different names in a text; tens of thousands fit. The parser's own limit is 10 MB, and
// libxml2 before 2.12 takes seconds to fill that.
constexpr std::size_t dictionaryLimit = std::size_t{256} << 10;

struct ParserDeleter {
    void operator()(xmlParserCtxt* parser) const noexcept { xmlFreeParserCtxt(parser); }
};

// Called when the parser has read the name of the document type, but none of its declarations. It
// checks whether it was stopped as soon as this returns.
void refuseDocumentType(void* context, const xmlChar* /*name*/, const xmlChar* /*externalId*/,
                        const xmlChar* /*systemId*/) {
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    *static_cast<bool*>(parser->_private) = true;
    xmlStopParser(parser);
}

// Hands a text to the parser in portions, and stops once there can be no document: the parser would
// go on looking for further errors, and whoever sent the text would waste our time.
class Portions {
public:
    Portions(boost::string_view text, const LibraryComplaints& complaints)
        : rest_(text), complaints_(complaints) {}

    static int read(void* portions, char* buffer, int length) {
        return static_cast<Portions*>(portions)->next(buffer, static_cast<std::size_t>(length));
    }

private:
    int next(char* buffer, std::size_t length) noexcept {
        if (complaints_.ruleOutDocument() || rest_.empty()) {
            return 0;
        }
        const std::size_t size = std::min(length, rest_.size());
        std::memcpy(buffer, rest_.data(), size);
        rest_.remove_prefix(size);
        return static_cast<int>(size);
    }

    boost::string_view rest_;
    const LibraryComplaints& complaints_;
};

bool isElement(const xmlNode* node) {
    return node->type == XML_ELEMENT_NODE;
}

}  // namespace

SignedDocument::SignedDocument(boost::string_view text, const LibraryComplaints& complaints) {
    const std::unique_ptr<xmlParserCtxt, ParserDeleter> parser(xmlNewParserCtxt());
    if (!parser) {
        return;
    }
    bool hasDocumentType = false;
    parser->_private = &hasDocumentType;
    parser->sax->internalSubset = refuseDocumentType;
    xmlDictSetLimit(parser->dict, dictionaryLimit);
    Portions portions(text, complaints);
    // The declared encoding is ignored, because the other parser ignores it, too.
    document_.reset(xmlCtxtReadIO(parser.get(), Portions::read, nullptr, &portions, nullptr,
                                  nullptr,
                                  XML_PARSE_NONET | XML_PARSE_IGNORE_ENC | XML_PARSE_COMPACT));
    if (hasDocumentType || complaints.ruleOutDocument()) {
        document_.reset();
    }
}

_xmlNode* SignedDocument::signature() const {
    xmlNode* const root = xmlDocGetRootElement(document_.get());
    xmlNode* const signature = xmlSecFindNode(root, xmlSecNodeSignature, xmlSecDSigNs);
    return signature != nullptr && signature->parent == root ? signature : nullptr;
}

std::size_t SignedDocument::elementsBefore(const _xmlNode* child) {
    std::size_t count = 0;
    for (const xmlNode* before = child->prev; before != nullptr; before = before->prev) {
        count += isElement(before) ? 1U : 0U;
    }
    return count;
}

void SignedDocument::Deleter::operator()(_xmlDoc* document) const noexcept {
    xmlFreeDoc(document);
}

}  // namespace Norv::Corvane::Common
