#include "Certificate.h"

#include <openssl/ecdsa.h>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <optional>

#include "Error.h"
#include "PrivateKey.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

using EcdsaPtr = std::unique_ptr<ECDSA_SIG, Deleter<ECDSA_SIG_free>>;

constexpr std::size_t certificateLimit = std::size_t{1} << 20U;
constexpr int leastRsaBits = 2048;

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

CertificatePtr readCertificate(const std::string& path) {
    const std::string text = readSmallFile(path, certificateLimit);
    const BioPtr memory(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    CertificatePtr certificate(PEM_read_bio_X509(memory.get(), nullptr, nullptr, nullptr));
    ERR_clear_error();
    if (!certificate) {
        throw PackError(printable(path) + " holds no PEM certificate");
    }
    return certificate;
}

SignatureMethod methodOf(const EVP_PKEY* key) {
    const std::string refusal = "only RSA and EC keys can sign a package";
    switch (key == nullptr ? EVP_PKEY_NONE : EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
            return SignatureMethod::RsaSha256;
        case EVP_PKEY_EC:
            return SignatureMethod::EcdsaSha256;
        case EVP_PKEY_RSA_PSS:
            throw PackError(refusal + ": devices do not take RSA-PSS");
        case EVP_PKEY_ED25519:
            throw PackError(refusal + ": devices do not take Ed25519");
        case EVP_PKEY_ED448:
            throw PackError(refusal + ": devices do not take Ed448");
        default:
            throw PackError(refusal);
    }
}

// Parses the structure as a whole, or returns nothing.
EcdsaPtr parseDer(std::string_view text) {
    const unsigned char* at = bytesOf(text);
    EcdsaPtr parsed(d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(text.size())));
    ERR_clear_error();
    return at == bytesOf(text) + text.size() ? std::move(parsed) : nullptr;
}

std::string toDer(std::string_view raw, std::size_t size) {
    const EcdsaPtr pair(ECDSA_SIG_new());
    BIGNUM* const r = BN_bin2bn(bytesOf(raw), static_cast<int>(size), nullptr);
    BIGNUM* const s = BN_bin2bn(bytesOf(raw) + size, static_cast<int>(size), nullptr);
    ECDSA_SIG_set0(pair.get(), r, s);
    std::string der(static_cast<std::size_t>(i2d_ECDSA_SIG(pair.get(), nullptr)), '\0');
    auto* at = reinterpret_cast<unsigned char*>(der.data());
    i2d_ECDSA_SIG(pair.get(), &at);
    return der;
}

}  // namespace

Certificate::Certificate(const std::string& path, WeakKeys weakKeys)
    : path_(path),
      certificate_(readCertificate(path)),
      key_(X509_get0_pubkey(certificate_.get())),
      method_(methodOf(key_)) {
    const int bits = EVP_PKEY_get_bits(key_);
    if (method_ == SignatureMethod::RsaSha256 && bits < leastRsaBits &&
        weakKeys == WeakKeys::Refused) {
        throw PackError("the key of " + printable(path) + " has " + std::to_string(bits) +
                        " bits, which is weak; use 2048 or more, or --allow-weak-key");
    }
}

std::vector<std::uint8_t> Certificate::der() const {
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(certificate_.get(), &bytes);
    if (size < 0) {
        throw PackError(printable(path_) + " cannot be written as DER");
    }
    std::vector<std::uint8_t> result(bytes, bytes + size);
    OPENSSL_free(bytes);
    return result;
}

bool Certificate::belongsTo(EVP_PKEY* key) const {
    const bool belong = X509_check_private_key(certificate_.get(), key) == 1;
    ERR_clear_error();
    return belong;
}

std::size_t Certificate::coordinateSize() const {
    return (static_cast<std::size_t>(EVP_PKEY_get_bits(key_)) + 7) / 8;
}

bool Certificate::verifies(std::string_view bytes, std::string_view signature) const {
    const DigestContextPtr context(EVP_MD_CTX_new());
    const bool right =
        context && EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key_) == 1 &&
        EVP_DigestVerify(context.get(), bytesOf(signature), signature.size(), bytesOf(bytes),
                         bytes.size()) == 1;
    ERR_clear_error();
    return right;
}

std::vector<std::uint8_t> Certificate::ecdsaValue(std::string_view bytes,
                                                  std::string_view delivered) const {
    const std::size_t size = coordinateSize();
    // By chance two numbers can look like the structure, so verifying with the key decides.
    if (delivered.size() == 2 * size && verifies(bytes, toDer(delivered, size))) {
        return {delivered.begin(), delivered.end()};
    }
    const EcdsaPtr pair = parseDer(delivered);
    if (!pair && delivered.size() != 2 * size) {
        throw PackError("the signature is neither a DER structure nor the " +
                        std::to_string(2 * size) + " bytes of this key");
    }
    std::vector<std::uint8_t> raw(2 * size);
    if (!pair || !verifies(bytes, delivered) ||
        BN_bn2binpad(ECDSA_SIG_get0_r(pair.get()), raw.data(), static_cast<int>(size)) < 0 ||
        BN_bn2binpad(ECDSA_SIG_get0_s(pair.get()), raw.data() + size, static_cast<int>(size)) < 0) {
        throw PackError("the signature is not one by the key of " + printable(path_) +
                        " over this package");
    }
    return raw;
}

std::vector<std::uint8_t> Certificate::signatureValue(std::string_view bytes,
                                                      std::string_view delivered) const {
    if (delivered.empty()) {
        throw PackError("the signature is empty");
    }
    if (method_ == SignatureMethod::EcdsaSha256) {
        return ecdsaValue(bytes, delivered);
    }
    const auto size = static_cast<std::size_t>(EVP_PKEY_get_size(key_));
    if (delivered.size() != size) {
        throw PackError("the signature has " + std::to_string(delivered.size()) +
                        " bytes, those of this key have " + std::to_string(size));
    }
    if (!verifies(bytes, delivered)) {
        throw PackError("the signature is not one by the key of " + printable(path_) +
                        " over this package");
    }
    return {delivered.begin(), delivered.end()};
}

}  // namespace Norv::Corvane::Pack
