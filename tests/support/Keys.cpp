#include "Keys.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>
#include <stdexcept>

namespace Norv::Corvane::Test {

namespace {

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

void require(bool condition) {
    if (!condition) {
        throw std::runtime_error("generating a test key failed");
    }
}

CertificatePtr selfSign(EVP_PKEY* key) {
    constexpr long tenYears = 10L * 365 * 24 * 3600;
    CertificatePtr certificate(X509_new());
    require(certificate != nullptr);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), tenYears);
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("corvane test"), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    X509_set_pubkey(certificate.get(), key);
    require(X509_sign(certificate.get(), key, EVP_sha256()) > 0);
    return certificate;
}

std::string contents(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(size)};
}

TestKey toPem(EVP_PKEY* generated) {
    const KeyPtr key(generated);
    require(key != nullptr);
    const CertificatePtr certificate = selfSign(key.get());
    const BioPtr keyText(BIO_new(BIO_s_mem()));
    const BioPtr certificateText(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr,
                                     nullptr) == 1);
    require(PEM_write_bio_X509(certificateText.get(), certificate.get()) == 1);
    return {contents(keyText.get()), contents(certificateText.get())};
}

}  // namespace

const TestKey& rsaKey() {
    static const TestKey key = toPem(EVP_RSA_gen(2048));
    return key;
}

const TestKey& strangerKey() {
    static const TestKey key = toPem(EVP_RSA_gen(2048));
    return key;
}

const TestKey& ecKey() {
    static const TestKey key = toPem(EVP_EC_gen("P-256"));
    return key;
}

KeyFiles writeKey(const TestKey& key, const TemporaryDirectory& directory,
                  const std::string& name) {
    return {directory.write(name + ".key.pem", key.keyPem),
            directory.write(name + ".cert.pem", key.certificatePem)};
}

}  // namespace Norv::Corvane::Test
