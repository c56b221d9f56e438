// Owning handles for libcrypto's objects.

#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/store.h>
#include <openssl/ui.h>
#include <openssl/x509.h>

#include <memory>

namespace Norv::Corvane::Pack {

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
using StorePtr = std::unique_ptr<OSSL_STORE_CTX, Deleter<OSSL_STORE_close>>;
using StoreInfoPtr = std::unique_ptr<OSSL_STORE_INFO, Deleter<OSSL_STORE_INFO_free>>;
using DigestContextPtr = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX_free>>;
using UiMethodPtr = std::unique_ptr<UI_METHOD, Deleter<UI_destroy_method>>;

}  // namespace Norv::Corvane::Pack
