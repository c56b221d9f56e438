#include "BareValidation.h"

#include <libxml/parser.h>
#include <openssl/bio.h>
#include <xmlsec/keysmngr.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>
#include <xmlsec/xmltree.h>
#include <zip.h>
#include <pugixml.hpp>

#include <memory>
#include <stdexcept>

namespace Norv::Corvane::Benchmarks {

std::string readManifestBare(const std::string& package) {
    constexpr const char* name = "FirmwareDescription.xml";
    zip_t* const archive = zip_open(package.c_str(), ZIP_RDONLY, nullptr);
    zip_stat_t status;
    zip_stat(archive, name, 0, &status);
    std::string text(status.size, '\0');
    zip_file_t* const entry = zip_fopen(archive, name, 0);
    zip_fread(entry, &text[0], text.size());
    zip_fclose(entry);
    zip_close(archive);
    return text;
}

void BareVerifier::Deleter::operator()(_xmlSecKeysMngr* manager) const noexcept {
    xmlSecKeysMngrDestroy(manager);
}

BareVerifier::BareVerifier(const std::string& certificate) : manager_(xmlSecKeysMngrCreate()) {
    if (!manager_ || xmlSecOpenSSLAppDefaultKeysMngrInit(manager_.get()) < 0) {
        throw std::runtime_error("no keys manager");
    }
    // What the call for a file name, which is another one in each xmlsec, consists of.
    const std::unique_ptr<BIO, decltype(&BIO_free)> file(BIO_new_file(certificate.c_str(), "r"),
                                                         BIO_free);
    xmlSecKeyPtr const key = xmlSecOpenSSLAppKeyLoadBIO(file.get(), xmlSecKeyDataFormatCertPem,
                                                        nullptr, nullptr, nullptr);
    if (key == nullptr ||
        xmlSecOpenSSLAppKeyCertLoad(key, certificate.c_str(), xmlSecKeyDataFormatCertPem) < 0 ||
        xmlSecOpenSSLAppDefaultKeysMngrAdoptKey(manager_.get(), key) < 0) {
        throw std::runtime_error("no trusted key");
    }
}

bool BareVerifier::verify(const std::string& text) const {
    xmlDocPtr const document = xmlParseMemory(text.data(), static_cast<int>(text.size()));
    xmlNodePtr const signature =
        xmlSecFindNode(xmlDocGetRootElement(document), xmlSecNodeSignature, xmlSecDSigNs);
    xmlSecDSigCtxPtr const context = xmlSecDSigCtxCreate(manager_.get());
    const bool valid = xmlSecDSigCtxVerify(context, signature) >= 0 &&
                       context->status == xmlSecDSigStatusSucceeded;
    xmlSecDSigCtxDestroy(context);
    xmlFreeDoc(document);
    return valid;
}

bool loadTreeBare(const std::string& text) {
    pugi::xml_document document;
    return document.load_string(text.c_str());
}

}  // namespace Norv::Corvane::Benchmarks
