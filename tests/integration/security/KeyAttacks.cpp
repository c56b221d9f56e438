// The attacker brings the key: a manifest of the attacker's own, properly signed, but not by the
// trusted key, and a signature that says where to find a key that fits.

#include "Attack.h"
#include "KeyValues.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

std::string x509(const std::string& content) {
    return "<X509Data>" + content + "</X509Data>";
}

std::string certificateOf(const TestKey& key) {
    return "<X509Certificate>" + base64Of(key.certificatePem) + "</X509Certificate>";
}

Attack withKey(const std::string& name, const std::function<std::string()>& keyInfo) {
    return {name, [keyInfo] { return withKeyInfo(forged(), keyInfo()); }};
}

Attack withObject(const std::string& name, const std::string& keyInfo,
                  const std::function<std::string()>& content) {
    return {name, [=] {
                SignatureForm form;
                form.keyInfo = "<KeyInfo>" + keyInfo + "</KeyInfo>";
                form.objects = "<Object Id=\"key\">" + content() + "</Object>";
                return forged(form);
            }};
}

Attack hmac(const std::string& name, const std::string& method, const std::string& parameters,
            const std::function<std::string()>& key, bool shown) {
    return {name, [=] {
                SignatureForm form;
                form.method = method;
                if (shown) {
                    form.keyInfo =
                        "<KeyInfo><KeyValue>" + hmacKeyValue(key()) + "</KeyValue></KeyInfo>";
                }
                std::string text =
                    insertedBefore(evilManifest(), "</FirmwareDescription>", form.text());
                if (!parameters.empty()) {
                    text = replaced(text, method + "\"/>",
                                    method + "\">" + parameters + "</SignatureMethod>");
                }
                return fillSignature(text, key());
            }};
}

const std::string hmacSha1 = "http://www.w3.org/2000/09/xmldsig#hmac-sha1";
const std::string hmacSha256 = "http://www.w3.org/2001/04/xmldsig-more#hmac-sha256";

std::string known() {
    return "0123456789abcdef";
}
std::string certificateText() {
    return rsaKey().certificatePem;
}
std::string publicKeyBytes() {
    return publicKeyDer(rsaKey());
}

INSTANTIATE_TEST_SUITE_P(
    Key, AttackTest,
    testing::Values(
        Attack{"OwnKeyWithoutKeyInfo", [] { return forged(); }},
        withKey("EmptyKeyInfo", [] { return std::string(); }),
        withKey("OwnCertificate", [] { return x509(certificateOf(strangerKey())); }),
        withKey("OwnRsaKeyValue",
                [] { return "<KeyValue>" + rsaKeyValue(strangerKey()) + "</KeyValue>"; }),
        withKey("TrustedCertificateShown", [] { return x509(certificateOf(rsaKey())); }),
        withKey("OwnCertificateBeforeTheTrustedOne",
                [] { return x509(certificateOf(strangerKey()) + certificateOf(rsaKey())); }),
        withKey("OwnCertificateAfterTheTrustedOne",
                [] { return x509(certificateOf(rsaKey()) + certificateOf(strangerKey())); }),
        withKey("KeyNameThenOwnKeyValue",
                [] {
                    return "<KeyName>trusted</KeyName><KeyValue>" + rsaKeyValue(strangerKey()) +
                           "</KeyValue>";
                }),
        withKey("SubjectNameOfTheTrustedCertificate",
                [] { return x509("<X509SubjectName>CN=corvane test</X509SubjectName>"); }),
        withKey("IssuerAndSerialOfTheTrustedCertificate",
                [] {
                    return x509(
                        "<X509IssuerSerial><X509IssuerName>CN=corvane test"
                        "</X509IssuerName><X509SerialNumber>1</X509SerialNumber>"
                        "</X509IssuerSerial>");
                }),
        withKey("DerEncodedKeyValue",
                [] {
                    return "<d:DEREncodedKeyValue xmlns:d=\"http://www.w3.org/2009/xmldsig11#\">" +
                           base64(publicKeyDer(strangerKey())) + "</d:DEREncodedKeyValue>";
                }),
        withKey("RetrievedFromAFile",
                [] {
                    return std::string(
                        "<RetrievalMethod URI=\"file:///etc/ssl/certs/"
                        "ca-certificates.crt\" Type=\"http://www.w3.org/2000/09/"
                        "xmldsig#rawX509Certificate\"/>");
                }),
        withKey("RetrievedFromTheNetwork",
                [] {
                    return std::string(
                        "<RetrievalMethod URI=\"http://127.0.0.1:1/key\" "
                        "Type=\"http://www.w3.org/2000/09/xmldsig#X509Data\"/>");
                }),
        withObject("RetrievedFromTheSameDocument",
                   "<RetrievalMethod URI=\"#key\" "
                   "Type=\"http://www.w3.org/2000/09/xmldsig#RSAKeyValue\"/>",
                   [] { return "<KeyValue>" + rsaKeyValue(strangerKey()) + "</KeyValue>"; }),
        withObject("ReferencedKeyInfo",
                   "<r:KeyInfoReference xmlns:r=\"http://www.w3.org/2009/xmldsig11#\" "
                   "URI=\"#key\"/>",
                   [] {
                       return "<KeyInfo><KeyValue>" + rsaKeyValue(strangerKey()) +
                              "</KeyValue></KeyInfo>";
                   }),
        Attack{"EllipticKeyWithItsCertificate",
               [] {
                   SignatureForm form;
                   form.method = Algorithm::ecdsaSha256;
                   form.keyInfo = "<KeyInfo>" + x509(certificateOf(ecKey())) + "</KeyInfo>";
                   return forged(form, ecKey());
               }},
        Attack{"EllipticKeyWithoutKeyInfo",
               [] {
                   SignatureForm form;
                   form.method = Algorithm::ecdsaSha256;
                   return forged(form, ecKey());
               }},
        hmac("HmacWithItsKeyShown", hmacSha256, "", known, true),
        hmac("HmacWithItsKeyHidden", hmacSha256, "", known, false),
        hmac("HmacSha1WithItsKeyShown", hmacSha1, "", known, true),
        hmac("HmacWithTheTrustedCertificateAsKey", hmacSha256, "", certificateText, false),
        hmac("HmacWithTheTrustedPublicKeyAsKey", hmacSha256, "", publicKeyBytes, true),
        hmac("HmacOfEightBits", hmacSha1, "<HMACOutputLength>80</HMACOutputLength>", known, true),
        Attack{"HonestSignatureValueOnForgedInformation",
               [] {
                   return withContent(
                       forged(), "SignatureValue",
                       replaced(replaced(elementOf(honestManifest(), "SignatureValue"),
                                         "<SignatureValue>", ""),
                                "</SignatureValue>", ""));
               }}),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
