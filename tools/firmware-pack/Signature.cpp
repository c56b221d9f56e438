#include "Signature.h"

#include <libxml/parser.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <xmlsec/crypto.h>
#include <xmlsec/openssl/evp.h>
#include <xmlsec/openssl/x509.h>
#include <xmlsec/templates.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>

#include <cerrno>
#include <cstring>
#include <limits>

#include "Error.h"

namespace Norv::Corvane::Pack {

namespace {

template <auto destroy>
struct Deleter {
    template <typename T>
    void operator()(T* handle) const {
        destroy(handle);
    }
};

void freeXmlText(xmlChar* text) {
    xmlFree(text);
}

using BioPtr = std::unique_ptr<BIO, Deleter<BIO_free>>;
using PrivateKeyPtr = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Deleter<X509_free>>;
using DocumentPtr = std::unique_ptr<xmlDoc, Deleter<xmlFreeDoc>>;
using XmlTextPtr = std::unique_ptr<xmlChar, Deleter<freeXmlText>>;
using SecKeyPtr = std::unique_ptr<xmlSecKey, Deleter<xmlSecKeyDestroy>>;
using ContextPtr = std::unique_ptr<xmlSecDSigCtx, Deleter<xmlSecDSigCtxDestroy>>;

BioPtr openFile(const std::string& path) {
    BioPtr file(BIO_new_file(path.c_str(), "r"));
    const int error = errno;
    ERR_clear_error();
    if (!file) {
        throw PackError("cannot open " + path + ": " + std::strerror(error));
    }
    return file;
}

PrivateKeyPtr loadPrivateKey(const std::string& path) {
    // Without a callback libcrypto would ask the terminal for the password of an encrypted key.
    const auto noPassword = [](char*, int, int, void*) { return -1; };
    const BioPtr file = openFile(path);
    PrivateKeyPtr key(PEM_read_bio_PrivateKey(file.get(), nullptr, noPassword, nullptr));
    ERR_clear_error();
    if (!key) {
        throw PackError(path + " holds no unencrypted PEM private key");
    }
    return key;
}

CertificatePtr loadCertificate(const std::string& path) {
    const BioPtr file = openFile(path);
    CertificatePtr certificate(PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr));
    ERR_clear_error();
    if (!certificate) {
        throw PackError(path + " holds no PEM certificate");
    }
    return certificate;
}

xmlSecTransformId signatureMethod(const EVP_PKEY* key) {
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
            return xmlSecTransformRsaSha256Id;
        case EVP_PKEY_EC:
            return xmlSecTransformEcdsaSha256Id;
        default:
            throw PackError("only RSA and EC keys can sign a package");
    }
}

SecKeyPtr makeSecKey(PrivateKeyPtr privateKey, CertificatePtr certificate) {
    SecKeyPtr key(xmlSecKeyCreate());
    const xmlSecKeyDataPtr value = xmlSecOpenSSLEvpKeyAdopt(privateKey.get());
    if (!key || value == nullptr) {
        throw PackError("xmlsec does not accept the private key");
    }
    static_cast<void>(privateKey.release());  // now owned by `value`
    if (xmlSecKeySetValue(key.get(), value) < 0) {
        xmlSecKeyDataDestroy(value);
        throw PackError("xmlsec does not accept the private key");
    }
    const xmlSecKeyDataPtr x509 = xmlSecKeyEnsureData(key.get(), xmlSecOpenSSLKeyDataX509Id);
    if (x509 == nullptr || xmlSecOpenSSLKeyDataX509AdoptCert(x509, certificate.get()) < 0) {
        throw PackError("xmlsec does not accept the certificate");
    }
    static_cast<void>(certificate.release());  // now owned by `x509`
    return key;
}

// Appends the signature element to `root`, its values still empty.
xmlNodePtr appendTemplate(xmlNodePtr root, xmlSecTransformId method, bool withCertificate) {
    const xmlNodePtr signature =
        xmlSecTmplSignatureCreate(root->doc, xmlSecTransformExclC14NId, method, nullptr);
    if (signature == nullptr) {
        throw PackError("xmlsec cannot make a signature element");
    }
    xmlAddChild(root, signature);
    const xmlNodePtr reference = xmlSecTmplSignatureAddReference(signature, xmlSecTransformSha256Id,
                                                                 nullptr, BAD_CAST "", nullptr);
    if (reference == nullptr ||
        xmlSecTmplReferenceAddTransform(reference, xmlSecTransformEnvelopedId) == nullptr ||
        xmlSecTmplReferenceAddTransform(reference, xmlSecTransformExclC14NId) == nullptr) {
        throw PackError("xmlsec cannot make a signature reference");
    }
    if (withCertificate) {
        const xmlNodePtr keyInfo = xmlSecTmplSignatureEnsureKeyInfo(signature, nullptr);
        const xmlNodePtr data =
            keyInfo == nullptr ? nullptr : xmlSecTmplKeyInfoAddX509Data(keyInfo);
        if (data == nullptr || xmlSecTmplX509DataAddCertificate(data) == nullptr) {
            throw PackError("xmlsec cannot add the certificate");
        }
    }
    return signature;
}

std::string dump(xmlDocPtr document) {
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(document, &text, &size, "UTF-8");
    const XmlTextPtr owned(text);
    if (!owned) {
        throw PackError("the signed manifest cannot be written");
    }
    return {reinterpret_cast<const char*>(owned.get()), static_cast<std::size_t>(size)};
}

}  // namespace

struct Signer::Key {
    xmlSecTransformId method;
    SecKeyPtr key;
};

Signer::Signer(const std::string& keyPath, const std::string& certificatePath) {
    PrivateKeyPtr privateKey = loadPrivateKey(keyPath);
    CertificatePtr certificate = loadCertificate(certificatePath);
    const bool belong = X509_check_private_key(certificate.get(), privateKey.get()) == 1;
    ERR_clear_error();
    if (!belong) {
        throw PackError("the key in " + keyPath + " does not belong to the certificate in " +
                        certificatePath);
    }
    const xmlSecTransformId method = signatureMethod(privateKey.get());
    key_ = std::make_unique<Key>(
        Key{method, makeSecKey(std::move(privateKey), std::move(certificate))});
}

Signer::~Signer() = default;

std::string Signer::sign(std::string_view xml) const {
    if (xml.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw PackError("the manifest is too long");
    }
    const DocumentPtr document(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr,
                                             nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR));
    const xmlNodePtr root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (root == nullptr) {
        throw PackError(
            "the manifest is not well-formed XML (a control character, or text that is not UTF-8)");
    }
    const xmlNodePtr signature = appendTemplate(root, key_->method, includeCertificate_);
    const ContextPtr context(xmlSecDSigCtxCreate(nullptr));
    if (!context) {
        throw PackError("xmlsec cannot make a signature context");
    }
    context->signKey = xmlSecKeyDuplicate(key_->key.get());  // owned by the context
    if (xmlSecDSigCtxSign(context.get(), signature) < 0 ||
        context->status != xmlSecDSigStatusSucceeded) {
        throw PackError("signing the manifest failed");
    }
    return dump(document.get());
}

}  // namespace Norv::Corvane::Pack
