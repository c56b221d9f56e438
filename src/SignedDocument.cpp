#include "SignedDocument.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <xmlsec/strings.h>
#include <xmlsec/xmlsec.h>
#include <xmlsec/xmltree.h>

#include <algorithm>
#include <string_view>

namespace Norv::Corvane::Common {
namespace {

struct ParserDeleter {
    void operator()(xmlParserCtxt* parser) const noexcept { xmlFreeParserCtxt(parser); }
};

// Called when the name of the document type was read and nothing of its declarations yet.
void refuseDocumentType(void* context, const xmlChar* /*name*/, const xmlChar* /*externalId*/,
                        const xmlChar* /*systemId*/) {
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    *static_cast<bool*>(parser->_private) = true;
    xmlStopParser(parser);
}

// Calls `visit` with each element below `top`, `top` included, in document order.
template <typename Visitor>
void forEachElement(xmlNode* top, Visitor visit) {
    xmlNode* node = top;
    while (node != nullptr) {
        if (node->type == XML_ELEMENT_NODE) {
            visit(node);
        }
        if (node->children != nullptr && node->type == XML_ELEMENT_NODE) {
            node = node->children;
            continue;
        }
        while (node != top && node->next == nullptr) {
            node = node->parent;
        }
        node = node == top ? nullptr : node->next;
    }
}

std::string_view textOf(const xmlChar* text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

unsigned long countWords(std::string_view text) {
    constexpr const char* blanks = " \t\r\n";
    unsigned long words = 0;
    std::size_t at = 0;
    while ((at = text.find_first_not_of(blanks, at)) != std::string_view::npos) {
        ++words;
        at = std::min(text.find_first_of(blanks, at), text.size());
    }
    return words;
}

}  // namespace

SignedDocument::SignedDocument(boost::string_view text) {
    const std::unique_ptr<xmlParserCtxt, ParserDeleter> parser(xmlNewParserCtxt());
    if (!parser) {
        return;
    }
    bool hasDocumentType = false;
    parser->_private = &hasDocumentType;
    parser->sax->internalSubset = refuseDocumentType;
    // The declared encoding is not acted upon: the other parser does not know it either.
    document_.reset(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()),
                                      nullptr, nullptr, XML_PARSE_NONET | XML_PARSE_IGNORE_ENC));
    if (hasDocumentType) {
        document_.reset();
    }
}

_xmlNode* SignedDocument::signature() const {
    xmlNode* const root = xmlDocGetRootElement(document_.get());
    if (root == nullptr) {
        return nullptr;
    }
    xmlNode* const signature = xmlSecFindNode(root, xmlSecNodeSignature, xmlSecDSigNs);
    return signature != nullptr && signature->parent == root ? signature : nullptr;
}

unsigned long SignedDocument::passes(_xmlNode* signature) {
    // One for the signed part of the signature itself, which is a selection from the document.
    unsigned long passes = 1;
    forEachElement(signature, [&](xmlNode* element) {
        if (xmlSecCheckNodeName(element, xmlSecNodeReference, xmlSecDSigNs) == 1 ||
            xmlSecCheckNodeName(element, xmlSecNodeTransform, xmlSecDSigNs) == 1) {
            ++passes;
        }
    });
    return passes;
}

unsigned long SignedDocument::listedPrefixes(_xmlNode* signature) {
    unsigned long prefixes = 0;
    forEachElement(signature, [&](xmlNode* element) {
        for (const xmlAttr* attribute = element->properties; attribute != nullptr;
             attribute = attribute->next) {
            if (textOf(attribute->name) == "PrefixList" && attribute->children != nullptr) {
                prefixes += countWords(textOf(attribute->children->content));
            }
        }
    });
    return prefixes;
}

void SignedDocument::Deleter::operator()(_xmlDoc* document) const noexcept {
    xmlFreeDoc(document);
}

}  // namespace Norv::Corvane::Common
