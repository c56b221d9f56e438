// The XML side of a signature: an enveloped one, the last child of the document's root element,
// that covers everything else in the document.
//
// A signature is made in two steps, so that they can happen on two machines: first the document
// with a signature that lacks its value, then the value, which whoever has the key makes from the
// bytes to sign. Both steps are pure functions.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Norv::Corvane::Pack {

enum class SignatureMethod { RsaSha256, EcdsaSha256 };

// The namespaces and names of XML signatures.
inline constexpr char signatureNamespace[] = "http://www.w3.org/2000/09/xmldsig#";
const char* methodUri(SignatureMethod method);

struct SignatureForm {
    SignatureMethod method = SignatureMethod::RsaSha256;
    // A DER certificate for the signature to carry; none when empty.
    std::vector<std::uint8_t> certificate = {};
};

// The document with a signature without value. The digest is SHA-256, and all canonicalisation is
// exclusive. If the document has a signature already, it is replaced and no other byte is changed.
// Throws `PackError` for text that is not well-formed XML or has a document type declaration.
std::string withEmptySignature(std::string_view xml, const SignatureForm& form);

// The bytes to sign: the canonical SignedInfo element of the document's signature. Throws
// `PackError` when there is none, or when its digest is not that of the document.
std::string bytesToSign(std::string_view xml);

// The document with this value in its signature, which must lack one. Throws `PackError`.
std::string withSignatureValue(std::string_view xml, const std::vector<std::uint8_t>& value);

}  // namespace Norv::Corvane::Pack
