// The attacker's key is where the signature says: elsewhere in the manifest, in a file, on the
// network. xmlsec 1.2 makes nothing of a method without a type, nor of a reference to a KeyInfo;
// other versions may.

#include "Attack.h"
#include "KeyValues.h"
#include "ManifestMutations.h"
#include "TemporaryDirectory.h"
#include "WebServer.h"

namespace Norv::Corvane::Test {
namespace {

const std::string rsaType = xmldsig + "RSAKeyValue";
const std::string x509Type = xmldsig + "X509Data";
const std::string rawType = xmldsig + "rawX509Certificate";

std::string retrieval(const std::string& uri, const std::string& type,
                      const std::string& transforms = "") {
    const std::string known = type.empty() ? "" : " Type=\"" + type + "\"";
    return "<RetrievalMethod URI=\"" + uri + "\"" + known + ">" + transforms + "</RetrievalMethod>";
}

// As a document of its own.
std::string keyDocument(const TestKey& key) {
    return replaced(rsaKeyValue(key), "<RSAKeyValue", "<RSAKeyValue xmlns=\"" + xmldsig + "\"");
}

// Without a declaration, an attribute of this name alone is known to identify its element.
std::string identified(const std::string& element) {
    return insertedAfter(element, element.substr(0, element.find('>')), " xml:id=\"key\"");
}

std::string x509Data() {
    return "<X509Data><X509Certificate>" + base64Of(issuedKey().certificatePem) +
           "</X509Certificate></X509Data>";
}

Attack inside(const std::string& name, const std::string& keyInfo,
              const std::function<std::string()>& content, const TestKey& (*key)() = strangerKey) {
    return {name, [=] {
                SignatureForm form;
                form.keyInfo = "<KeyInfo>" + keyInfo + "</KeyInfo>";
                form.objects = "<Object>" + content() + "</Object>";
                return forged(form, key());
            }};
}

Attack outside(const std::string& name, const std::function<std::string()>& uri,
               const std::string& type, const TestKey& (*key)() = strangerKey) {
    return {name, [=] { return withKeyInfo(forged({}, key()), retrieval(uri(), type)); }};
}

std::string keyFile() {
    static const TemporaryDirectory directory;
    return "file://" + directory.write("key.xml", keyDocument(strangerKey())).string();
}

std::string certificateFile() {
    static const TemporaryDirectory directory;
    return "file://" + directory.write("key.der", certificateDer(issuedKey())).string();
}

std::string keyServer() {
    static const WebServer server(keyDocument(strangerKey()));
    return server.url();
}

std::string certificateServer() {
    static const WebServer server(certificateDer(issuedKey()));
    return server.url();
}

INSTANTIATE_TEST_SUITE_P(
    RetrievedKey, AttackTest,
    testing::Values(
        inside("ByIdentifier", retrieval("#key", rsaType),
               [] { return identified(rsaKeyValue(strangerKey())); }),
        inside("ByIdentifierWithoutType", retrieval("#key", ""),
               [] { return identified(rsaKeyValue(strangerKey())); }),
        inside(
            "ByIdentifierAsCertificate", retrieval("#key", x509Type),
            [] { return identified(x509Data()); }, issuedKey),
        inside("ByPointer", retrieval("#xpointer(//*[local-name()='RSAKeyValue'])", rsaType),
               [] { return rsaKeyValue(strangerKey()); }),
        inside("ByPath",
               retrieval("", rsaType,
                         "<Transforms><Transform Algorithm=\"http://www.w3.org/TR/1999/"
                         "REC-xpath-19991116\"><XPath>ancestor-or-self::*[local-name()="
                         "'RSAKeyValue']</XPath></Transform></Transforms>"),
               [] { return rsaKeyValue(strangerKey()); }),
        inside(
            "DecodedFromBase64",
            retrieval("#key", rawType,
                      "<Transforms><Transform Algorithm=\"" + xmldsig + "base64\"/></Transforms>"),
            [] { return identified("<Der>" + base64(certificateDer(issuedKey())) + "</Der>"); },
            issuedKey),
        inside("ByReferenceToKeyInfo",
               "<r:KeyInfoReference xmlns:r=\"http://www.w3.org/2009/xmldsig11#\" URI=\"#key\"/>",
               [] {
                   return identified("<KeyInfo><KeyValue>" + rsaKeyValue(strangerKey()) +
                                     "</KeyValue></KeyInfo>");
               }),
        outside("File", keyFile, rsaType), outside("FileWithoutType", keyFile, ""),
        outside("CertificateInAFile", certificateFile, rawType, issuedKey),
        outside(
            "FileOfTheSystem",
            [] { return std::string("file:///etc/ssl/certs/ca-certificates.crt"); }, rawType),
        outside("Network", keyServer, rsaType), outside("NetworkWithoutType", keyServer, ""),
        outside("CertificateOnTheNetwork", certificateServer, rawType, issuedKey),
        outside(
            "NobodyOnTheNetwork", [] { return std::string("http://127.0.0.1:1/key"); }, x509Type)),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
