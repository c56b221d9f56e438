#include "HonestVariant.h"

#include <gmock/gmock.h>

#include <boost/optional/optional_io.hpp>

#include "HostState.h"
#include "KeyValues.h"
#include "ManifestMutations.h"
#include "ManifestReading.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {
std::string unsignedManifest() {
    return withoutElement(honestManifest(), "Signature");
}

namespace {

// For another reader of the text: it is UTF-8 whatever it names, and no libxml2 knows every name.
std::string withoutEncoding(std::string manifest) {
    const std::string label = " encoding=";
    const std::size_t at = manifest.substr(0, manifest.find("?>")).find(label);
    if (at != std::string::npos) {
        const std::size_t quote = at + label.size();
        manifest.erase(at, manifest.find(manifest[quote], quote + 1) + 1 - at);
    }
    return manifest;
}

TEST_P(HonestVariant, IsAccepted) {
    const TestKey& key = GetParam().key();
    const TemporaryDirectory directory;
    const KeyFiles keys = writeKey(key, directory);
    Common::FirmwareDescriptionValidator validator;
    ASSERT_FALSE(validator.Open(keys.certificate));
    const std::string manifest = GetParam().manifest();

    const LogCapture log;
    boost::optional<bool> verdict;
    EXPECT_EQ(changesToHost([&] { verdict = validator.ValidateSignature(manifest); }), "");
    ASSERT_EQ(verdict, true) << testing::PrintToString(log.allRecords())
                             << manifest.substr(0, 5000);
    EXPECT_THAT(log.records(), testing::IsEmpty());
    EXPECT_EQ(readingOf(manifest), signedReadingOf(withoutEncoding(manifest), key));
    EXPECT_THAT(readingOf(manifest), testing::HasSubstr("1.2.3.4"));
}

Variant form(const std::string& name, const std::function<void(SignatureForm&)>& edit,
             const TestKey& (*key)() = rsaKey) {
    return {{name,
             [=] {
                 SignatureForm form;
                 edit(form);
                 return signAs(unsignedManifest(), form, key());
             }},
            key};
}

Variant methods(const std::string& name, const std::string& method, const std::string& digest,
                const TestKey& (*key)() = rsaKey) {
    const auto edit = [=](SignatureForm& form) {
        form.method = method;
        form.references[0].digest = digest;
    };
    return form(name, edit, key);
}

Variant canonicalisedBy(const std::string& name, const std::string& algorithm) {
    return form(name, [=](SignatureForm& form) {
        form.canonicalisation = algorithm;
        form.references[0].transforms[1] = algorithm;
    });
}

Variant transforms(const std::string& name, const std::vector<std::string>& list) {
    return form(name, [=](SignatureForm& form) { form.references[0].transforms = list; });
}

Variant keyInfo(const std::string& name, const std::function<std::string()>& content) {
    return {{name, [=] { return withKeyInfo(honestManifest(), content()); }}};
}

const std::string more = "http://www.w3.org/2001/04/xmldsig-more#";

INSTANTIATE_TEST_SUITE_P(
    Algorithms, HonestVariant,
    testing::Values(
        methods("RsaSha1", Algorithm::rsaSha1, Algorithm::sha1),
        methods("RsaSha224", more + "rsa-sha224", Algorithm::sha224),
        methods("RsaSha256", Algorithm::rsaSha256, Algorithm::sha256),
        methods("RsaSha384", more + "rsa-sha384", Algorithm::sha384),
        methods("RsaSha512", more + "rsa-sha512", Algorithm::sha512),
        methods("RsaSha256WithSha1Digest", Algorithm::rsaSha256, Algorithm::sha1),
        methods("EcdsaSha1", more + "ecdsa-sha1", Algorithm::sha1, ecKey),
        methods("EcdsaSha224", more + "ecdsa-sha224", Algorithm::sha224, ecKey),
        methods("EcdsaSha256", Algorithm::ecdsaSha256, Algorithm::sha256, ecKey),
        methods("EcdsaSha384", more + "ecdsa-sha384", Algorithm::sha384, ecKey),
        methods("EcdsaSha512", more + "ecdsa-sha512", Algorithm::sha512, ecKey),
        methods("DsaSha1", Algorithm::dsaSha1, Algorithm::sha1, dsaKey),
        methods("DsaSha256", "http://www.w3.org/2009/xmldsig11#dsa-sha256", Algorithm::sha256,
                dsaKey),
        canonicalisedBy("Inclusive", Algorithm::inclusive),
        canonicalisedBy("InclusiveWithComments", Algorithm::inclusiveWithComments),
        canonicalisedBy("Inclusive11", Algorithm::inclusive11),
        canonicalisedBy("Inclusive11WithComments", Algorithm::inclusive11WithComments),
        canonicalisedBy("Exclusive", Algorithm::exclusive),
        canonicalisedBy("ExclusiveWithComments", Algorithm::exclusiveWithComments),
        transforms("EnvelopedOnly", {Algorithm::enveloped}),
        transforms("CanonicalisedTwice",
                   {Algorithm::enveloped, Algorithm::exclusive, Algorithm::inclusive}),
        transforms("ListedPrefixes",
                   {Algorithm::enveloped,
                    "Algorithm=\"" + Algorithm::exclusive + "\"><i:InclusiveNamespaces xmlns:i=\"" +
                        Algorithm::exclusive + "\" PrefixList=\"xsi xsd #default ds\"/>"}),
        form("SignaturePrefix", [](SignatureForm& form) { form.prefix = "ds"; }),
        form("TwoReferences",
             [](SignatureForm& form) { form.references.push_back(form.references[0]); }),
        form("ReferenceWithoutUri", [](SignatureForm& form) { form.references[0].uri = ""; }),
        form("ReferenceWithIdAndType",
             [](SignatureForm& form) { form.references[0].uri = " Id=\"r\" Type=\"t\" URI=\"\""; }),
        form("ObjectInTheSignature",
             [](SignatureForm& form) { form.objects = "<Object><x>signed at noon</x></Object>"; })),
    nameOfVariant);

INSTANTIATE_TEST_SUITE_P(
    KeyInfo, HonestVariant,
    testing::Values(
        keyInfo("Empty", [] { return std::string(); }),
        keyInfo("Name", [] { return std::string("<KeyName>release key</KeyName>"); }),
        keyInfo("OwnCertificate",
                [] {
                    return "<X509Data><X509Certificate>" + base64Of(rsaKey().certificatePem) +
                           "</X509Certificate></X509Data>";
                }),
        keyInfo("OtherCertificate",
                [] {
                    return "<X509Data><X509Certificate>" + base64Of(strangerKey().certificatePem) +
                           "</X509Certificate></X509Data>";
                }),
        keyInfo("SubjectName",
                [] {
                    return std::string(
                        "<X509Data><X509SubjectName>CN=release</X509SubjectName>"
                        "</X509Data>");
                }),
        keyInfo("IssuerAndSerial",
                [] {
                    return std::string(
                        "<X509Data><X509IssuerSerial><X509IssuerName>CN=x"
                        "</X509IssuerName><X509SerialNumber>1</X509SerialNumber>"
                        "</X509IssuerSerial></X509Data>");
                }),
        keyInfo("KeyValue", [] { return "<KeyValue>" + rsaKeyValue(rsaKey()) + "</KeyValue>"; }),
        keyInfo("OtherKeyValue",
                [] { return "<KeyValue>" + rsaKeyValue(strangerKey()) + "</KeyValue>"; }),
        keyInfo("DamagedCertificate",
                [] {
                    return std::string(
                        "<X509Data><X509Certificate>AAAA</X509Certificate>"
                        "</X509Data>");
                }),
        keyInfo("RetrievalMethod",
                [] { return std::string("<RetrievalMethod URI=\"file:///none\"/>"); }),
        keyInfo("ElementOfTheMakersOwn",
                [] { return std::string("<m:Key xmlns:m=\"urn:maker\">7</m:Key>"); }),
        keyInfo("Text", [] { return std::string("release key"); })),
    nameOfVariant);

}  // namespace
}  // namespace Norv::Corvane::Test
