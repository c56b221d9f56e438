#include "SignedInfo.h"

#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <limits>
#include <memory>
#include <optional>

#include "Digest.h"
#include "Error.h"
#include "OpenSsl.h"
#include "XmlText.h"

namespace Norv::Corvane::Pack {

namespace {

void freeXmlText(xmlChar* text) {
    xmlFree(text);
}

using DocumentPtr = std::unique_ptr<xmlDoc, Deleter<xmlFreeDoc>>;
using XmlTextPtr = std::unique_ptr<xmlChar, Deleter<freeXmlText>>;
using OutputPtr = std::unique_ptr<xmlOutputBuffer, Deleter<xmlOutputBufferClose>>;

constexpr char exclusiveC14n[] = "http://www.w3.org/2001/10/xml-exc-c14n#";

// Long values are broken into lines, as XML signatures usually are.
std::string base64Lines(const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t width = 64;
    const std::string text = toBase64(bytes);
    std::string lines;
    for (std::size_t at = 0; at < text.size(); at += width) {
        lines += (at == 0 ? "" : "\n") + text.substr(at, width);
    }
    return lines;
}

DocumentPtr parse(std::string_view xml) {
    if (xml.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw PackError("the manifest is too long");
    }
    DocumentPtr document(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                                       XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (!document || xmlDocGetRootElement(document.get()) == nullptr) {
        throw PackError(
            "the manifest is not well-formed XML (a control character, or text that is not UTF-8)");
    }
    if (document->intSubset != nullptr) {
        throw PackError("the manifest has a document type declaration");
    }
    return document;
}

bool isNamed(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE && node->ns != nullptr &&
           xmlStrEqual(node->name, BAD_CAST name) != 0 &&
           xmlStrEqual(node->ns->href, BAD_CAST signatureNamespace) != 0;
}

xmlNode* childNamed(xmlNode* parent, const char* name) {
    for (xmlNode* child = parent->children; child != nullptr; child = child->next) {
        if (isNamed(child, name)) {
            return child;
        }
    }
    return nullptr;
}

struct FoundSignature {
    xmlNode* element;
    // Among the element children of the root.
    std::size_t index;
};

std::optional<FoundSignature> findSignature(xmlDoc* document) {
    std::size_t index = 0;
    xmlNode* child = xmlDocGetRootElement(document)->children;
    for (; child != nullptr; child = child->next) {
        if (isNamed(child, "Signature")) {
            return FoundSignature{child, index};
        }
        index += child->type == XML_ELEMENT_NODE ? 1 : 0;
    }
    return std::nullopt;
}

std::vector<std::uint8_t> digestOf(xmlDoc* document) {
    xmlChar* text = nullptr;
    const int size =
        xmlC14NDocDumpMemory(document, nullptr, XML_C14N_EXCLUSIVE_1_0, nullptr, 0, &text);
    const XmlTextPtr owned(text);
    if (size < 0 || !owned) {
        throw PackError("the manifest cannot be canonicalised");
    }
    return digestBytes({reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)})
        .sha256;
}

// Called for each node of the document; namespaces come with the element that they are written on.
int isPartOf(void* element, xmlNodePtr node, xmlNodePtr parent) {
    const xmlNode* at = node->type == XML_NAMESPACE_DECL ? parent : node;
    while (at != nullptr && at != element) {
        at = at->parent;
    }
    return at != nullptr ? 1 : 0;
}

std::string canonicalElement(xmlDoc* document, xmlNode* element) {
    const OutputPtr output(xmlAllocOutputBuffer(nullptr));
    if (!output || xmlC14NExecute(document, isPartOf, element, XML_C14N_EXCLUSIVE_1_0, nullptr, 0,
                                  output.get()) < 0) {
        throw PackError("the signature cannot be canonicalised");
    }
    xmlOutputBufferFlush(output.get());
    return {reinterpret_cast<const char*>(xmlOutputBufferGetContent(output.get())),
            xmlOutputBufferGetSize(output.get())};
}

std::string signatureText(const SignatureForm& form, const std::vector<std::uint8_t>& digest) {
    const std::string c14n = std::string("\"") + exclusiveC14n + "\"/>\n";
    std::string text =
        std::string("<Signature xmlns=\"") + signatureNamespace +
        "\">\n<SignedInfo>\n<CanonicalizationMethod Algorithm=" + c14n +
        "<SignatureMethod Algorithm=\"" + methodUri(form.method) +
        "\"/>\n<Reference URI=\"\">\n<Transforms>\n<Transform Algorithm=\"" + signatureNamespace +
        "enveloped-signature\"/>\n<Transform Algorithm=" + c14n +
        "</Transforms>\n<DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>\n"
        "<DigestValue>" +
        toBase64(digest) + "</DigestValue>\n</Reference>\n</SignedInfo>\n<SignatureValue/>\n";
    if (!form.certificate.empty()) {
        text += "<KeyInfo>\n<X509Data>\n<X509Certificate>" + base64Lines(form.certificate) +
                "</X509Certificate>\n</X509Data>\n</KeyInfo>\n";
    }
    return text + "</Signature>";
}

std::string appendSignature(xmlDoc* document, const SignatureForm& form) {
    const DocumentPtr signature = parse(signatureText(form, digestOf(document)));
    xmlNode* const copy = xmlDocCopyNode(xmlDocGetRootElement(signature.get()), document, 1);
    if (copy == nullptr || xmlAddChild(xmlDocGetRootElement(document), copy) == nullptr) {
        throw PackError("the manifest cannot take a signature");
    }
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(document, &text, &size, "UTF-8");
    const XmlTextPtr owned(text);
    if (!owned) {
        throw PackError("the signed manifest cannot be written");
    }
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

TextRange signatureRange(std::string_view xml, std::size_t index) {
    const auto range = rootChildRange(xml, index);
    if (!range) {
        throw PackError("the manifest's signature cannot be found in its text");
    }
    return *range;
}

}  // namespace

const char* methodUri(SignatureMethod method) {
    return method == SignatureMethod::RsaSha256
               ? "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"
               : "http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256";
}

std::string withEmptySignature(std::string_view xml, const SignatureForm& form) {
    const DocumentPtr document = parse(xml);
    const auto signature = findSignature(document.get());
    if (!signature) {
        return appendSignature(document.get(), form);
    }
    const TextRange range = signatureRange(xml, signature->index);
    const std::string before(xml.substr(0, range.begin));
    const std::string after(xml.substr(range.end));
    const DocumentPtr rest = parse(before + after);
    return before + signatureText(form, digestOf(rest.get())) + after;
}

std::string bytesToSign(std::string_view xml) {
    const DocumentPtr document = parse(xml);
    const auto signature = findSignature(document.get());
    xmlNode* const info = signature ? childNamed(signature->element, "SignedInfo") : nullptr;
    xmlNode* const reference = info != nullptr ? childNamed(info, "Reference") : nullptr;
    xmlNode* const value = reference != nullptr ? childNamed(reference, "DigestValue") : nullptr;
    if (value == nullptr) {
        throw PackError("the manifest has no signature that lacks its value");
    }
    std::string bytes = canonicalElement(document.get(), info);
    const XmlTextPtr stated(xmlNodeGetContent(value));
    const std::string digest = stated ? reinterpret_cast<const char*>(stated.get()) : "";
    xmlUnlinkNode(signature->element);
    xmlFreeNode(signature->element);
    if (toBase64(digestOf(document.get())) != digest) {
        throw PackError("the manifest was changed after its signature was prepared");
    }
    return bytes;
}

std::string withSignatureValue(std::string_view xml, const std::vector<std::uint8_t>& value) {
    const DocumentPtr document = parse(xml);
    const auto signature = findSignature(document.get());
    if (!signature) {
        throw PackError("the manifest has no signature that lacks its value");
    }
    constexpr std::string_view empty = "<SignatureValue/>";
    const TextRange range = signatureRange(xml, signature->index);
    const std::size_t at = xml.substr(0, range.end).find(empty, range.begin);
    if (at == std::string_view::npos) {
        throw PackError("the manifest is signed already");
    }
    return std::string(xml.substr(0, at)) + "<SignatureValue>" + base64Lines(value) +
           "</SignatureValue>" + std::string(xml.substr(at + empty.size()));
}

}  // namespace Norv::Corvane::Pack
