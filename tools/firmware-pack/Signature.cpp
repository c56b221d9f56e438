#include "Signature.h"

#include <openssl/err.h>

#include "Error.h"
#include "SignedInfo.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

Signer::Signer(const std::string& keyPath, const std::string& certificatePath)
    : Signer(KeySource{keyPath}, Certificate(certificatePath)) {}

Signer::Signer(const KeySource& key, Certificate certificate)
    : certificate_(std::move(certificate)),
      keyName_(printable(key.location)),
      key_(openPrivateKey(key)) {
    if (!certificate_.belongsTo(key_.key.get())) {
        throw PackError("the key in " + keyName_ + " does not belong to the certificate in " +
                        printable(certificate_.path()));
    }
}

std::string Signer::rawSignature(std::string_view bytes) const {
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    const DigestContextPtr context(EVP_MD_CTX_new());
    std::size_t size = 0;
    std::string signature;
    bool made = context &&
                EVP_DigestSignInit_ex(context.get(), nullptr, "SHA256", key_.context, nullptr,
                                      key_.key.get(), nullptr) == 1 &&
                EVP_DigestSign(context.get(), nullptr, &size, data, bytes.size()) == 1;
    if (made) {
        signature.resize(size);
        made = EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()),
                              &size, data, bytes.size()) == 1;
    }
    ERR_clear_error();
    if (!made) {
        throw PackError(isTokenUri(keyName_)
                            ? "the token of " + keyName_ + " did not sign: it may have been removed"
                            : "signing the manifest failed");
    }
    signature.resize(size);
    return signature;
}

std::string Signer::sign(std::string_view xml) const {
    SignatureForm form{certificate_.method()};
    if (includeCertificate_) {
        form.certificate = certificate_.der();
    }
    const std::string prepared = withEmptySignature(xml, form);
    const std::string bytes = bytesToSign(prepared);
    return withSignatureValue(prepared, certificate_.signatureValue(bytes, rawSignature(bytes)));
}

}  // namespace Norv::Corvane::Pack
