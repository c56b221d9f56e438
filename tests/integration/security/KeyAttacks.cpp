// The attacker brings the key: a manifest of the attacker's own, properly signed, but not by the
// trusted key, and a signature that says where to find a key that fits, or none. Where no key is
// shown the trusted one does not fit, and xmlsec does not take an RSA key for a shared secret.

#include "Attack.h"
#include "KeyValues.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

Attack withKey(const std::string& name, const std::function<std::string()>& keyInfo) {
    return {name, [keyInfo] { return withKeyInfo(forged(), keyInfo()); }};
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
        withKey("OwnRsaKeyValue",
                [] { return "<KeyValue>" + rsaKeyValue(strangerKey()) + "</KeyValue>"; }),
        withKey("KeyNameThenOwnKeyValue",
                [] {
                    return "<KeyName>trusted</KeyName><KeyValue>" + rsaKeyValue(strangerKey()) +
                           "</KeyValue>";
                }),
        withKey("TrustedKeyValueThenOwn",
                [] {
                    return "<KeyValue>" + rsaKeyValue(rsaKey()) + "</KeyValue><KeyValue>" +
                           rsaKeyValue(strangerKey()) + "</KeyValue>";
                }),
        withKey("OwnKeyValueThenTrusted",
                [] {
                    return "<KeyValue>" + rsaKeyValue(strangerKey()) + "</KeyValue><KeyValue>" +
                           rsaKeyValue(rsaKey()) + "</KeyValue>";
                }),
        withKey("DerEncodedKeyValue",
                [] {
                    return "<d:DEREncodedKeyValue xmlns:d=\"http://www.w3.org/2009/xmldsig11#\">" +
                           base64(publicKeyDer(strangerKey())) + "</d:DEREncodedKeyValue>";
                }),
        Attack{"OwnDsaKeyValue",
               [] {
                   SignatureForm form;
                   form.method = Algorithm::dsaSha1;
                   form.keyInfo =
                       "<KeyInfo><KeyValue>" + dsaKeyValue(dsaKey()) + "</KeyValue></KeyInfo>";
                   return forged(form, dsaKey());
               }},
        Attack{"DsaKeyNotShown",
               [] {
                   SignatureForm form;
                   form.method = Algorithm::dsaSha1;
                   return forged(form, dsaKey());
               }},
        hmac("HmacWithItsKeyShown", hmacSha256, "", known, true),
        hmac("HmacWithItsKeyHidden", hmacSha256, "", known, false),
        hmac("HmacSha1WithItsKeyShown", hmacSha1, "", known, true),
        hmac("HmacWithTheTrustedCertificateAsKey", hmacSha256, "", certificateText, false),
        hmac("HmacWithTheTrustedPublicKeyAsKey", hmacSha256, "", publicKeyBytes, false),
        hmac("HmacWithTheTrustedPublicKeyShown", hmacSha256, "", publicKeyBytes, true),
        hmac("HmacCutToEightyBits", hmacSha1, "<HMACOutputLength>80</HMACOutputLength>", known,
             true),
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
