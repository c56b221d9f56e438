// Owning handles for the objects of libcrypto, libxml2 and xmlsec that the tests work with.

#pragma once

#include <libxml/tree.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <xmlsec/xmldsig.h>

#include <memory>

namespace Norv::Corvane::Test {

template <auto destroy>
struct Deleter {
    template <typename T>
    void operator()(T* handle) const {
        destroy(handle);
    }
};

using BioPtr = std::unique_ptr<BIO, Deleter<BIO_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Deleter<X509_free>>;
using DocumentPtr = std::unique_ptr<xmlDoc, Deleter<xmlFreeDoc>>;
using SignatureContextPtr = std::unique_ptr<xmlSecDSigCtx, Deleter<xmlSecDSigCtxDestroy>>;

}  // namespace Norv::Corvane::Test
