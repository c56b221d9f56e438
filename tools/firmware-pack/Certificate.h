// The certificate that devices trust: the public half of the signing key.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OpenSsl.h"
#include "SignedInfo.h"

namespace Norv::Corvane::Pack {

// How strong a key has to be.
enum class WeakKeys { Refused, Allowed };

class Certificate {
public:
    // A PEM file. Throws `PackError` when it cannot be read or holds no certificate, when its kind
    // of key cannot sign packages, and when the key is weak.
    explicit Certificate(const std::string& path, WeakKeys weakKeys = WeakKeys::Refused);

    const std::string& path() const { return path_; }
    SignatureMethod method() const { return method_; }
    std::vector<std::uint8_t> der() const;

    // Whether the private key is the other half.
    bool belongsTo(EVP_PKEY* key) const;

    // Converts what a signer delivered for `bytes` into the form that XML signatures have. For RSA
    // that is the plain signature; for ECDSA it is the two numbers one after the other, or their
    // DER structure. Throws `PackError` when it is no signature by this certificate's key.
    std::vector<std::uint8_t> signatureValue(std::string_view bytes,
                                             std::string_view delivered) const;

private:
    std::vector<std::uint8_t> ecdsaValue(std::string_view bytes, std::string_view delivered) const;
    bool verifies(std::string_view bytes, std::string_view signature) const;
    std::size_t coordinateSize() const;

    std::string path_;
    CertificatePtr certificate_;
    // Owned by the certificate.
    EVP_PKEY* key_;
    SignatureMethod method_;
};

}  // namespace Norv::Corvane::Pack
