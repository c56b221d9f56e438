// The attacker brings a certificate: of the attacker's own making, the trusted one as a decoy, or
// one that an authority in the machine's trust store has signed, as anybody can buy them.

#include "Attack.h"
#include "KeyValues.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

std::string certificateOf(const TestKey& key) {
    return "<X509Certificate>" + base64Of(key.certificatePem) + "</X509Certificate>";
}

// What X509Data may say about a certificate beside or instead of showing it.
std::string subject(const std::string& name) {
    return "<X509SubjectName>CN=" + name + "</X509SubjectName>";
}

std::string issuerAndSerial(const std::string& issuer) {
    return "<X509IssuerSerial><X509IssuerName>CN=" + issuer +
           "</X509IssuerName><X509SerialNumber>1</X509SerialNumber></X509IssuerSerial>";
}

const std::string authority = "corvane test authority";
const std::string leaf = "corvane test leaf";
const std::string trusted = "corvane test";

Attack shown(const std::string& name, const TestKey& (*key)(),
             const std::function<std::string()>& data) {
    return {name, [=] {
                SignatureForm form;
                form.method = key == authorityKey ? Algorithm::ecdsaSha256 : Algorithm::rsaSha256;
                return withKeyInfo(forged(form, key()), "<X509Data>" + data() + "</X509Data>");
            }};
}

Attack elliptic(const std::string& name, const std::function<std::string()>& keyInfo) {
    return {name, [=] {
                SignatureForm form;
                form.method = Algorithm::ecdsaSha256;
                form.keyInfo = keyInfo();
                return forged(form, ecKey());
            }};
}

INSTANTIATE_TEST_SUITE_P(
    Certificate, AttackTest,
    testing::Values(shown("Own", strangerKey, [] { return certificateOf(strangerKey()); }),
                    shown("TheTrustedOne", strangerKey, [] { return certificateOf(rsaKey()); }),
                    shown("OwnBeforeTheTrustedOne", strangerKey,
                          [] { return certificateOf(strangerKey()) + certificateOf(rsaKey()); }),
                    shown("OwnAfterTheTrustedOne", strangerKey,
                          [] { return certificateOf(rsaKey()) + certificateOf(strangerKey()); }),
                    shown("SubjectOfTheTrustedOne", strangerKey, [] { return subject(trusted); }),
                    shown("IssuerAndSerialOfTheTrustedOne", strangerKey,
                          [] { return issuerAndSerial(trusted); }),
                    elliptic("OwnElliptic",
                             [] {
                                 return "<KeyInfo><X509Data>" + certificateOf(ecKey()) +
                                        "</X509Data></KeyInfo>";
                             }),
                    elliptic("EllipticNotShown", [] { return std::string(); })),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    PublicAuthority, AttackTest,
    testing::Values(
        shown("Leaf", issuedKey, [] { return certificateOf(issuedKey()); }),
        shown("LeafAndAuthority", issuedKey,
              [] { return certificateOf(issuedKey()) + certificateOf(authorityKey()); }),
        shown("AuthorityAndLeaf", issuedKey,
              [] { return certificateOf(authorityKey()) + certificateOf(issuedKey()); }),
        shown("LeafAndSubject", issuedKey,
              [] { return certificateOf(issuedKey()) + subject(leaf); }),
        shown("LeafAndIssuerAndSerial", issuedKey,
              [] { return certificateOf(issuedKey()) + issuerAndSerial(authority); }),
        shown("LeafAndSubjectOfTheTrustedOne", issuedKey,
              [] { return subject(trusted) + certificateOf(issuedKey()); }),
        shown("LeafAndTheTrustedOne", issuedKey,
              [] { return certificateOf(issuedKey()) + certificateOf(rsaKey()); }),
        shown("TheTrustedOneAndLeaf", issuedKey,
              [] { return certificateOf(rsaKey()) + certificateOf(issuedKey()); }),
        shown("SubjectOfTheAuthority", authorityKey, [] { return subject(authority); }),
        shown("TheAuthorityItself", authorityKey, [] { return certificateOf(authorityKey()); }),
        Attack{"LeafInTheSecondOfTwo",
               [] {
                   return withKeyInfo(forged({}, issuedKey()),
                                      "<X509Data>" + certificateOf(rsaKey()) +
                                          "</X509Data><X509Data>" + certificateOf(issuedKey()) +
                                          "</X509Data>");
               }},
        Attack{"LeafBehindAKeyName",
               [] {
                   return withKeyInfo(forged({}, issuedKey()),
                                      "<KeyName>trusted</KeyName><X509Data>" +
                                          certificateOf(issuedKey()) + "</X509Data>");
               }},
        Attack{"LeafOnTheHonestSignatureValue",
               [] {
                   return withKeyInfo(replaced(honestManifest(), "1.2.3.4", "1.2.3.5"),
                                      "<X509Data>" + certificateOf(issuedKey()) + "</X509Data>");
               }}),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
