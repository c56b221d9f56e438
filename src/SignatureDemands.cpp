#include "SignatureDemands.h"

#include <libxml/tree.h>
#include <xmlsec/xmlsec.h>

#include <xmlsec/strings.h>

#include <algorithm>
#include <string_view>

namespace Norv::Corvane::Common {
namespace {

std::string_view textOf(const xmlChar* text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

bool isNamed(const xmlNode* node, const xmlChar* name) {
    return node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, name) != 0;
}

// In a list of prefixes as xmlsec takes it apart: each blank ends a prefix, if only an empty one.
unsigned long countPrefixes(std::string_view list) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    const auto blanks = std::count_if(list.begin(), list.end(), isBlank);
    return list.empty() ? 0 : static_cast<unsigned long>(blanks) + 1;
}

std::string_view attributeOf(const xmlNode* element, const xmlChar* name) {
    for (const xmlAttr* attribute = element->properties; attribute != nullptr;
         attribute = attribute->next) {
        // Regardless of the namespace, as xmlsec looks attributes up.
        if (xmlStrEqual(attribute->name, name) != 0 && attribute->children != nullptr) {
            return textOf(attribute->children->content);
        }
    }
    return {};
}

// For one element and all below it. Depth is bounded by the parser.
unsigned long countPrefixes(const xmlNode* element) {
    unsigned long prefixes = countPrefixes(attributeOf(element, xmlSecAttrPrefixList));
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        prefixes += child->type == XML_ELEMENT_NODE ? countPrefixes(child) : 0;
    }
    return prefixes;
}

void addReference(const xmlNode* reference, SignatureDemands& demands) {
    unsigned long transforms = 0;
    unsigned long rebuiltTrees = 0;
    bool canonicalised = false;
    for (const xmlNode* list = reference->children; list != nullptr; list = list->next) {
        for (const xmlNode* transform = list->children;
             isNamed(list, xmlSecNodeTransforms) && transform != nullptr;
             transform = transform->next) {
            if (transform->type != XML_ELEMENT_NODE) {
                continue;
            }
            ++transforms;
            // Whatever follows a canonicalisation works on a document made from its output, even if
            // it then refuses to; only the digest takes the output itself.
            rebuiltTrees += canonicalised ? 1 : 0;
            canonicalised |=
                attributeOf(transform, xmlSecAttrAlgorithm) != textOf(xmlSecHrefEnveloped);
        }
    }
    ++demands.references;
    // The usual two transforms, which remove the signature and make the canonical form, are one
    // pass.
    demands.passes += (transforms > 2 ? transforms - 1 : 1) + rebuiltTrees;
    demands.rebuiltTrees += rebuiltTrees;
}

}  // namespace

SignatureDemands demandsOf(_xmlNode* signature) {
    SignatureDemands demands;
    // The signed information itself is canonicalised as a selection from the document.
    demands.passes = 1;
    for (const xmlNode* child = signature->children; child != nullptr; child = child->next) {
        if (!isNamed(child, xmlSecNodeSignedInfo)) {
            continue;
        }
        demands.listedPrefixes += countPrefixes(child);
        for (const xmlNode* part = child->children; part != nullptr; part = part->next) {
            if (isNamed(part, xmlSecNodeReference)) {
                addReference(part, demands);
            }
        }
    }
    return demands;
}

}  // namespace Norv::Corvane::Common
