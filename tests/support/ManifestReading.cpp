#include "ManifestReading.h"

#include <libxml/parser.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmltree.h>

#include <memory>
#include <pugixml.hpp>
#include <sstream>

#include "LibraryHandles.h"
#include "Norv/Corvane/Common/FirmwareDescription.h"

namespace Norv::Corvane::Test {
namespace {

using Common::FirmwareDescription;

struct Writer {
    std::string operator()(const std::error_code& error) const { return error.message() + '\n'; }

    std::string operator()(const FirmwareDescription& description) const {
        std::ostringstream out;
        out << "device " << static_cast<int>(description.deviceType.type) << ' '
            << description.deviceType.qualifier.value_or("-") << '\n'
            << to_string(description.version) << '\n'
            << to_string(description.systemVersion) << '\n'
            << to_string(description.applicationVersion) << '\n';
        for (const std::string& revision : description.supportedHwRevs) {
            out << "revision " << revision << '\n';
        }
        for (const FirmwareDescription::File& file : description.files) {
            out << "file " << static_cast<int>(file.kind) << ' ' << file.localFilePath << " as "
                << file.remoteFilePath.value_or("itself") << ' ' << file.length;
            for (const unsigned byte : file.hashValue) {
                out << ' ' << byte;
            }
            out << '\n';
        }
        out << "total " << description.totalLength << '\n';
        return out.str();
    }
};

std::string readingOf(const pugi::xml_document& document) {
    const pugi::xml_node description = document.child("FirmwareDescription");
    if (!description) {
        return "no description\n";
    }
    return boost::apply_visitor(Writer(), Common::parseFirmwareDescription(description));
}

std::string qualified(const xmlNs* space, const xmlChar* name) {
    const std::string local = reinterpret_cast<const char*>(name);
    return space == nullptr || space->prefix == nullptr
               ? local
               : reinterpret_cast<const char*>(space->prefix) + (":" + local);
}

// The same elements and attributes, in the other parser's tree.
void copyElement(xmlNode* from, pugi::xml_node to) {
    for (const xmlAttr* attribute = from->properties; attribute != nullptr;
         attribute = attribute->next) {
        const std::unique_ptr<xmlChar, decltype(xmlFree)> value(
            xmlNodeListGetString(from->doc, attribute->children, 1), xmlFree);
        to.append_attribute(qualified(attribute->ns, attribute->name).c_str())
            .set_value(value ? reinterpret_cast<const char*>(value.get()) : "");
    }
    for (xmlNode* child = from->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            copyElement(child, to.append_child(qualified(child->ns, child->name).c_str()));
        }
    }
}

// The bytes that the first reference of the signature digests, if the signature is valid.
std::string signedBytes(xmlDoc* document, const TestKey& key) {
    xmlNode* const root = document == nullptr ? nullptr : xmlDocGetRootElement(document);
    xmlNode* const signature =
        root == nullptr ? nullptr : xmlSecFindNode(root, xmlSecNodeSignature, xmlSecDSigNs);
    const SignatureContextPtr context(xmlSecDSigCtxCreate(nullptr));
    if (signature == nullptr || !context) {
        return {};
    }
    context->signKey = xmlSecOpenSSLAppKeyLoadMemory(
        reinterpret_cast<const xmlSecByte*>(key.certificatePem.data()),
        static_cast<xmlSecSize>(key.certificatePem.size()), xmlSecKeyDataFormatCertPem, nullptr,
        nullptr, nullptr);
    context->flags |=
        XMLSEC_DSIG_FLAGS_STORE_SIGNEDINFO_REFERENCES | XMLSEC_DSIG_FLAGS_IGNORE_MANIFESTS;
    if (context->signKey == nullptr || xmlSecDSigCtxVerify(context.get(), signature) < 0 ||
        context->status != xmlSecDSigStatusSucceeded) {
        return {};
    }
    auto* const reference = static_cast<xmlSecDSigReferenceCtx*>(
        xmlSecPtrListGetItem(&context->signedInfoReferences, 0));
    xmlSecBuffer* const bytes = xmlSecDSigReferenceCtxGetPreDigestBuffer(reference);
    return {reinterpret_cast<const char*>(xmlSecBufferGetData(bytes)), xmlSecBufferGetSize(bytes)};
}

DocumentPtr parse(const std::string& text) {
    return DocumentPtr(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                     XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

}  // namespace

std::string readingOf(const std::string& manifest) {
    pugi::xml_document document;
    if (!document.load_string(manifest.c_str())) {
        return "no XML\n";
    }
    return readingOf(document);
}

std::string signedReadingOf(const std::string& manifest, const TestKey& key) {
    const std::string bytes = signedBytes(parse(manifest).get(), key);
    const DocumentPtr canonical = parse(bytes);
    xmlNode* const root = canonical ? xmlDocGetRootElement(canonical.get()) : nullptr;
    if (root == nullptr) {
        return {};
    }
    pugi::xml_document copy;
    copyElement(root, copy.append_child(qualified(root->ns, root->name).c_str()));
    return readingOf(copy);
}

}  // namespace Norv::Corvane::Test
