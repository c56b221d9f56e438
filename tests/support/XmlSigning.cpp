#include "XmlSigning.h"

#include <libxml/parser.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmltree.h>

#include <memory>
#include <stdexcept>

#include "LibraryHandles.h"

namespace Norv::Corvane::Test {
namespace {

std::string contentOf(xmlNode* element) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> text(xmlNodeGetContent(element), xmlFree);
    return text ? reinterpret_cast<const char*>(text.get()) : "";
}

// Values of all elements of this name below `node`, in document order.
void collect(xmlNode* node, const xmlChar* name, std::vector<std::string>& values) {
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, name) != 0) {
            values.push_back(contentOf(node));
        }
        collect(node->children, name, values);
    }
}

// Puts the value into the first empty element of this name, whatever its prefix is.
std::size_t fill(std::string& text, std::size_t from, const std::string& name,
                 const std::string& value) {
    for (std::size_t at = from; (at = text.find(name + "></", at)) != std::string::npos; ++at) {
        const std::size_t open = at + name.size() + 1;
        const std::size_t close = text.find('>', open);
        if (text.compare(close - name.size(), name.size(), name) == 0) {
            text.insert(open, value);
            return open + value.size();
        }
    }
    throw std::runtime_error("no empty " + name);
}

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// Takes the key over.
std::string fill(const std::string& xml, xmlSecKey* key) {
    const SignatureContextPtr context(xmlSecDSigCtxCreate(nullptr));
    context->signKey = key;
    const DocumentPtr document(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr,
                                             nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR));
    xmlNode* const signature = document ? xmlSecFindNode(xmlDocGetRootElement(document.get()),
                                                         xmlSecNodeSignature, xmlSecDSigNs)
                                        : nullptr;
    if (signature == nullptr) {
        throw std::runtime_error("nothing to sign");
    }
    if (key == nullptr || xmlSecDSigCtxSign(context.get(), signature) < 0) {
        throw std::runtime_error("signing failed");
    }
    std::vector<std::string> digests;
    std::vector<std::string> signatures;
    collect(signature->children, xmlSecNodeDigestValue, digests);
    collect(signature->children, xmlSecNodeSignatureValue, signatures);
    std::string signedXml = xml;
    std::size_t at = 0;
    for (const std::string& digest : digests) {
        at = fill(signedXml, at, "DigestValue", digest);
    }
    fill(signedXml, at, "SignatureValue", signatures.at(0));
    return signedXml;
}

}  // namespace

std::string SignatureForm::text() const {
    const std::string p = prefix.empty() ? "" : prefix + ":";
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + prefix;
    std::string signature = "<@Signature " + declaration +
                            "=\"http://www.w3.org/2000/09/xmldsig#\"><@SignedInfo>"
                            "<@CanonicalizationMethod Algorithm=\"" +
                            canonicalisation + "\"/><@SignatureMethod Algorithm=\"" + method +
                            "\"/>";
    for (const ReferenceForm& reference : references) {
        signature += "<@Reference" + reference.uri + ">";
        if (!reference.transforms.empty()) {
            signature += "<@Transforms>";
            for (const std::string& transform : reference.transforms) {
                signature += transform.find('>') == std::string::npos
                                 ? "<@Transform Algorithm=\"" + transform + "\"/>"
                                 : "<@Transform " + transform + "</@Transform>";
            }
            signature += "</@Transforms>";
        }
        signature += "<@DigestMethod Algorithm=\"" + reference.digest +
                     "\"/><@DigestValue></@DigestValue></@Reference>";
    }
    signature +=
        "</@SignedInfo><@SignatureValue></@SignatureValue>" + keyInfo + objects + "</@Signature>";
    return replaceAll(replaceAll(signature, "<@", "<" + p), "</@", "</" + p);
}

std::string fillSignature(const std::string& xml, const TestKey& key) {
    return fill(
        xml, xmlSecOpenSSLAppKeyLoadMemory(reinterpret_cast<const xmlSecByte*>(key.keyPem.data()),
                                           static_cast<xmlSecSize>(key.keyPem.size()),
                                           xmlSecKeyDataFormatPem, nullptr, nullptr, nullptr));
}

std::string fillSignature(const std::string& xml, const std::string& secret) {
    return fill(xml, xmlSecKeyReadMemory(xmlSecOpenSSLKeyDataHmacId,
                                         reinterpret_cast<const xmlSecByte*>(secret.data()),
                                         static_cast<xmlSecSize>(secret.size())));
}

std::string signAs(const std::string& xml, const SignatureForm& form, const TestKey& key) {
    std::string text = xml;
    text.insert(text.rfind("</"), form.text());
    return fillSignature(text, key);
}

std::string meaninglessSignature(const SignatureForm& form) {
    const std::string p = form.prefix.empty() ? "" : form.prefix + ":";
    std::string text = replaceAll(form.text(), "DigestValue></" + p + "DigestValue>",
                                  "DigestValue>AAAA</" + p + "DigestValue>");
    return replaceAll(text, "SignatureValue></", "SignatureValue>AAAA</");
}

}  // namespace Norv::Corvane::Test
