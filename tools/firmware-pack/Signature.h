// Enveloped XML signatures: the signature becomes the last child of the document's root element and
// covers everything else in the document.
//
// xmlsec has to be up (XmlSecurity.h, or the library's own `Init`) for the whole life of a
// `Signer`. One thread at a time.

#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace Norv::Corvane::Pack {

class Signer {
public:
    // The private key and the certificate of its public half, both PEM files. Throws `PackError`
    // when one cannot be read, when they do not belong together, and for keys other than RSA and
    // EC. Encrypted keys are refused rather than asked a password for.
    Signer(const std::string& keyPath, const std::string& certificatePath);
    ~Signer();
    Signer(const Signer&) = delete;
    Signer& operator=(const Signer&) = delete;

    // Whether a signature carries a copy of the certificate. Devices do not need one: they verify
    // with the certificate that they hold. Off at first.
    void includeCertificate(bool include) { includeCertificate_ = include; }

    // The document with its signature: rsa-sha256 or ecdsa-sha256 over exclusive canonical XML,
    // digest SHA-256. Throws `PackError` for text that is not well-formed XML.
    std::string sign(std::string_view xml) const;

private:
    struct Key;
    std::unique_ptr<Key> key_;
    bool includeCertificate_ = false;
};

}  // namespace Norv::Corvane::Pack
