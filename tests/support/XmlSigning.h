// Signatures of any form over texts that stay as they are, byte for byte.
//
// xmlsec has to be up.

#pragma once

#include <string>
#include <vector>

#include "Keys.h"

namespace Norv::Corvane::Test {

namespace Algorithm {
inline const std::string inclusive = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
inline const std::string inclusiveWithComments = inclusive + "#WithComments";
inline const std::string inclusive11 = "http://www.w3.org/2006/12/xml-c14n11";
inline const std::string inclusive11WithComments = inclusive11 + "#WithComments";
inline const std::string exclusive = "http://www.w3.org/2001/10/xml-exc-c14n#";
inline const std::string exclusiveWithComments = exclusive + "WithComments";
inline const std::string enveloped = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
inline const std::string sha1 = "http://www.w3.org/2000/09/xmldsig#sha1";
inline const std::string sha224 = "http://www.w3.org/2001/04/xmldsig-more#sha224";
inline const std::string sha256 = "http://www.w3.org/2001/04/xmlenc#sha256";
inline const std::string sha384 = "http://www.w3.org/2001/04/xmldsig-more#sha384";
inline const std::string sha512 = "http://www.w3.org/2001/04/xmlenc#sha512";
inline const std::string rsaSha1 = "http://www.w3.org/2000/09/xmldsig#rsa-sha1";
inline const std::string rsaSha256 = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256";
inline const std::string dsaSha1 = "http://www.w3.org/2000/09/xmldsig#dsa-sha1";
inline const std::string ecdsaSha256 = "http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256";
}  // namespace Algorithm

struct ReferenceForm {
    // The attribute as it stands, blank in front.
    std::string uri = R"( URI="")";
    // Each the attributes and content of a Transform element, such as R"(Algorithm="x">)".
    std::vector<std::string> transforms;
    std::string digest = Algorithm::sha256;
};

// A signature element to be. At first what an ordinary signer makes.
struct SignatureForm {
    std::string prefix;
    std::string canonicalisation = Algorithm::exclusive;
    std::string method = Algorithm::rsaSha256;
    std::vector<ReferenceForm> references{
        {R"( URI="")", {Algorithm::enveloped, Algorithm::exclusive}}};
    // Goes where the KeyInfo element stands, as it is.
    std::string keyInfo;
    // Goes to the end of the signature, as it is.
    std::string objects;

    // The element's text. Values are left empty.
    std::string text() const;
};

// Fills in the empty values of the first signature element in the text. Every other byte stays.
// Throws `std::runtime_error` when that cannot be.
std::string fillSignature(const std::string& xml, const TestKey& key);
// With a shared secret, for the HMAC methods.
std::string fillSignature(const std::string& xml, const std::string& secret);

// Puts the signature before the end tag of the root element and fills it in.
std::string signAs(const std::string& xml, const SignatureForm& form, const TestKey& key);

// As a unit that goes into a text: the signature with values of no meaning.
std::string meaninglessSignature(const SignatureForm& form = {});

}  // namespace Norv::Corvane::Test
