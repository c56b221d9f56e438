// Signs documents with a private key.
//
// One thread at a time.

#pragma once

#include <string>
#include <string_view>

#include "Certificate.h"
#include "PrivateKey.h"

namespace Norv::Corvane::Pack {

class Signer {
public:
    // The private key and the PEM certificate of its public half. Throws `PackError` when one
    // cannot be opened, when they do not belong together, and for keys other than RSA and EC.
    // Nobody is asked for the passphrase of an encrypted key.
    Signer(const std::string& keyPath, const std::string& certificatePath);
    Signer(const KeySource& key, Certificate certificate);

    // Whether a signature carries a copy of the certificate. Devices do not need one: they verify
    // with the certificate that they hold. Off by default.
    void includeCertificate(bool include) { includeCertificate_ = include; }

    // The document with its signature: rsa-sha256 or ecdsa-sha256 over exclusive canonical XML,
    // digest SHA-256. A signature that it has already is replaced. Throws `PackError` for text that
    // is not well-formed XML, and when the key cannot be used any more.
    std::string sign(std::string_view xml) const;

    const Certificate& certificate() const { return certificate_; }

private:
    std::string rawSignature(std::string_view bytes) const;

    Certificate certificate_;
    std::string keyName_;
    PrivateKey key_;
    bool includeCertificate_ = false;
};

}  // namespace Norv::Corvane::Pack
