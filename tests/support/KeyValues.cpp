#include "KeyValues.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <memory>
#include <stdexcept>

#include "LibraryHandles.h"

namespace Norv::Corvane::Test {
namespace {

KeyPtr load(const TestKey& key) {
    const BioPtr pem(BIO_new_mem_buf(key.keyPem.data(), static_cast<int>(key.keyPem.size())));
    KeyPtr loaded(PEM_read_bio_PrivateKey(pem.get(), nullptr, nullptr, nullptr));
    if (!loaded) {
        throw std::runtime_error("no key");
    }
    return loaded;
}

std::string numberOf(const EVP_PKEY* key, const char* name) {
    BIGNUM* found = nullptr;
    if (EVP_PKEY_get_bn_param(key, name, &found) != 1) {
        throw std::runtime_error("a key of another kind");
    }
    const std::unique_ptr<BIGNUM, Deleter<BN_free>> number(found);
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(number.get())), '\0');
    BN_bn2bin(number.get(), reinterpret_cast<unsigned char*>(&bytes[0]));
    return bytes;
}

}  // namespace

std::string base64(const std::string& bytes) {
    std::string text(bytes.size() / 3 * 4 + 5, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&text[0]),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string publicKeyDer(const TestKey& key) {
    unsigned char* der = nullptr;
    const int length = i2d_PUBKEY(load(key).get(), &der);
    if (length <= 0) {
        throw std::runtime_error("no public key");
    }
    const std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(length));
    OPENSSL_free(der);
    return bytes;
}

std::string certificateDer(const TestKey& key) {
    const std::string& pem = key.certificatePem;
    const BioPtr text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    const CertificatePtr certificate(PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr));
    unsigned char* der = nullptr;
    const int length = i2d_X509(certificate.get(), &der);
    if (length <= 0) {
        throw std::runtime_error("no certificate");
    }
    const std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(length));
    OPENSSL_free(der);
    return bytes;
}

std::string rsaKeyValue(const TestKey& key) {
    const KeyPtr loaded = load(key);
    const auto number = [&](const char* name) { return base64(numberOf(loaded.get(), name)); };
    return "<RSAKeyValue><Modulus>" + number(OSSL_PKEY_PARAM_RSA_N) + "</Modulus><Exponent>" +
           number(OSSL_PKEY_PARAM_RSA_E) + "</Exponent></RSAKeyValue>";
}

std::string dsaKeyValue(const TestKey& key) {
    const KeyPtr loaded = load(key);
    const auto number = [&](const char* name) { return base64(numberOf(loaded.get(), name)); };
    return "<DSAKeyValue><P>" + number(OSSL_PKEY_PARAM_FFC_P) + "</P><Q>" +
           number(OSSL_PKEY_PARAM_FFC_Q) + "</Q><G>" + number(OSSL_PKEY_PARAM_FFC_G) + "</G><Y>" +
           number(OSSL_PKEY_PARAM_PUB_KEY) + "</Y></DSAKeyValue>";
}

std::string hmacKeyValue(const std::string& secret) {
    return "<h:HMACKeyValue xmlns:h=\"http://www.aleksey.com/xmlsec/2002\">" + base64(secret) +
           "</h:HMACKeyValue>";
}

}  // namespace Norv::Corvane::Test
