#include "Keys.h"

#include <openssl/bio.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "LibraryHandles.h"

namespace Norv::Corvane::Test {

namespace {

void require(bool condition) {
    if (!condition) {
        throw std::runtime_error("generating a test key failed");
    }
}

constexpr const char* authorityName = "corvane test authority";

struct Authority {
    KeyPtr key;
    CertificatePtr certificate;
};

CertificatePtr certify(EVP_PKEY* key, const char* name, const Authority* authority) {
    constexpr long tenYears = 10L * 365 * 24 * 3600;
    CertificatePtr certificate(X509_new());
    require(certificate != nullptr);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), tenYears);
    X509_NAME* const subject = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    X509_set_issuer_name(
        certificate.get(),
        authority == nullptr ? subject : X509_get_subject_name(authority->certificate.get()));
    X509_set_pubkey(certificate.get(), key);
    if (std::string_view(name) == authorityName) {
        const std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>> mayIssue(
            X509V3_EXT_conf_nid(nullptr, nullptr, NID_basic_constraints, "critical,CA:TRUE"));
        require(X509_add_ext(certificate.get(), mayIssue.get(), -1) == 1);
    }
    require(X509_sign(certificate.get(), authority == nullptr ? key : authority->key.get(),
                      EVP_sha256()) > 0);
    return certificate;
}

std::string contents(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(size)};
}

std::string toPem(EVP_PKEY* key) {
    const BioPtr text(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PrivateKey(text.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
    return contents(text.get());
}

std::string toPem(X509* certificate) {
    const BioPtr text(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(text.get(), certificate) == 1);
    return contents(text.get());
}

TestKey certified(EVP_PKEY* generated, const char* name = "corvane test",
                  const Authority* authority = nullptr) {
    const KeyPtr key(generated);
    require(key != nullptr);
    return {toPem(key.get()), toPem(certify(key.get(), name, authority).get())};
}

const Authority& authority() {
    static const Authority made = [] {
        KeyPtr key(EVP_EC_gen("P-256"));
        require(key != nullptr);
        CertificatePtr certificate = certify(key.get(), authorityName, nullptr);
        return Authority{std::move(key), std::move(certificate)};
    }();
    return made;
}

EVP_PKEY* newDsaKey() {
    const std::unique_ptr<EVP_PKEY_CTX, Deleter<EVP_PKEY_CTX_free>> forParameters(
        EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
    EVP_PKEY* parameters = nullptr;
    require(EVP_PKEY_paramgen_init(forParameters.get()) == 1 &&
            EVP_PKEY_CTX_set_dsa_paramgen_bits(forParameters.get(), 1024) == 1 &&
            EVP_PKEY_CTX_set_dsa_paramgen_q_bits(forParameters.get(), 160) == 1 &&
            EVP_PKEY_paramgen(forParameters.get(), &parameters) == 1);
    const KeyPtr keptParameters(parameters);
    const std::unique_ptr<EVP_PKEY_CTX, Deleter<EVP_PKEY_CTX_free>> forKey(
        EVP_PKEY_CTX_new_from_pkey(nullptr, parameters, nullptr));
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_keygen_init(forKey.get()) == 1 && EVP_PKEY_keygen(forKey.get(), &key) == 1);
    return key;
}

}  // namespace

const TestKey& rsaKey() {
    static const TestKey key = certified(EVP_RSA_gen(2048));
    return key;
}

const TestKey& strangerKey() {
    static const TestKey key = certified(EVP_RSA_gen(2048));
    return key;
}

const TestKey& ecKey() {
    static const TestKey key = certified(EVP_EC_gen("P-256"));
    return key;
}

const TestKey& dsaKey() {
    static const TestKey key = certified(newDsaKey());
    return key;
}

const TestKey& authorityKey() {
    static const TestKey key{toPem(authority().key.get()), toPem(authority().certificate.get())};
    return key;
}

const TestKey& issuedKey() {
    static const TestKey key = certified(EVP_RSA_gen(2048), "corvane test leaf", &authority());
    return key;
}

KeyFiles writeKey(const TestKey& key, const TemporaryDirectory& directory,
                  const std::string& name) {
    return {directory.write(name + ".key.pem", key.keyPem),
            directory.write(name + ".cert.pem", key.certificatePem)};
}

}  // namespace Norv::Corvane::Test
