// Signatures that the trusted key made, or seems to have made, over less than the whole manifest,
// or in ways that nobody can rely on. Whoever gets hold of such a signature must not get in with
// it.

#include "Attack.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

std::string honestWithoutSignature() {
    return withoutElement(honestManifest(), "Signature");
}

// Signed by the trusted key where xmlsec can do it; otherwise with values of no meaning.
std::string signedIn(const SignatureForm& form) {
    try {
        return signAs(honestWithoutSignature(), form, rsaKey());
    } catch (const std::runtime_error&) {
        return insertedBefore(honestWithoutSignature(), "</FirmwareDescription>",
                              meaninglessSignature(form));
    }
}

Attack reference(const std::string& name, const ReferenceForm& form,
                 const std::string& object = {}) {
    return {name, [=] {
                SignatureForm signature;
                signature.references = {form};
                signature.objects = object;
                return signedIn(signature);
            }};
}

Attack uri(const std::string& name, const std::string& uri) {
    return reference(name, {" URI=\"" + uri + "\"", {Algorithm::exclusive}},
                     "<Object Id=\"o\"><a/></Object>");
}

Attack transform(const std::string& name, const std::string& transform) {
    return reference(name, {R"( URI="")", {Algorithm::enveloped, transform, Algorithm::exclusive}});
}

Attack digest(const std::string& name, const std::string& algorithm) {
    return reference(name, {R"( URI="")", {Algorithm::enveloped, Algorithm::exclusive}, algorithm});
}

Attack method(const std::string& name, const std::string& algorithm) {
    return {name, [=] {
                SignatureForm form;
                form.method = algorithm;
                return signedIn(form);
            }};
}

Attack canonicalisation(const std::string& name, const std::string& algorithm) {
    return {name, [=] {
                SignatureForm form;
                form.canonicalisation = algorithm;
                return signedIn(form);
            }};
}

const std::string manifestObject =
    "<Object><Manifest Id=\"m\"><Reference URI=\"file:///etc/passwd\"><DigestMethod Algorithm=\"" +
    Algorithm::sha256 + "\"/><DigestValue>AAAA</DigestValue></Reference></Manifest></Object>";

INSTANTIATE_TEST_SUITE_P(
    Reference, AttackTest,
    testing::Values(
        uri("Fragment", "#o"),
        Attack{"FragmentOfTheRoot",
               [] {
                   SignatureForm form;
                   form.references[0].uri = " URI=\"#root\"";
                   return signAs(insertedAfter(honestWithoutSignature(), "<FirmwareDescription",
                                               " xml:id=\"root\""),
                                 form, rsaKey());
               }},
        uri("UnknownFragment", "#none"), uri("BareNumberSign", "#"),
        uri("XPointerToTheDocument", "#xpointer(/)"), uri("XPointerToAnId", "#xpointer(id('o'))"),
        uri("XPointerToNothing", "#xpointer(//none)"),
        uri("XmlnsPointer", "#xmlns(a=b)xpointer(/)"), uri("LocalFile", "file:///etc/hostname"),
        uri("RelativeFile", "hostname"), uri("AbsolutePath", "/etc/hostname"),
        uri("Network", "http://127.0.0.1:1/x"), uri("SecureNetwork", "https://127.0.0.1:1/x"),
        uri("Ftp", "ftp://127.0.0.1:1/x"), uri("Blank", " "),
        reference("ManifestOfReferences",
                  {" URI=\"#m\" Type=\"" + xmldsig + "Manifest\"", {Algorithm::exclusive}},
                  manifestObject),
        reference("NoTransforms", {R"( URI="")", {}}),
        reference("NotEnveloped", {R"( URI="")", {Algorithm::exclusive}}),
        reference("EnvelopedBehindCanonicalisation",
                  {R"( URI="")", {Algorithm::exclusive, Algorithm::enveloped}}),
        Attack{"NoReference",
               [] {
                   SignatureForm form;
                   form.references.clear();
                   return signedIn(form);
               }},
        Attack{"SecondReferenceToAFragment",
               [] {
                   SignatureForm form;
                   form.references.push_back({" URI=\"#o\"", {Algorithm::exclusive}});
                   form.objects = "<Object Id=\"o\"/>";
                   return signedIn(form);
               }},
        transform(
            "XPathToNothing",
            "Algorithm=\"http://www.w3.org/TR/1999/REC-xpath-19991116\"><XPath>false()</XPath>"),
        transform("XPathToSomeElements",
                  "Algorithm=\"http://www.w3.org/TR/1999/REC-xpath-19991116"
                  "\"><XPath>ancestor-or-self::Version</XPath>"),
        transform("XPathFilter",
                  "Algorithm=\"http://www.w3.org/2002/06/xmldsig-filter2\"><XPath xmlns="
                  "\"http://www.w3.org/2002/06/xmldsig-filter2\" Filter=\"subtract\">//Files"
                  "</XPath>"),
        transform("XPointerTransform",
                  "Algorithm=\"http://www.w3.org/2001/04/xmldsig-more/xptr\"><XPointer xmlns="
                  "\"http://www.w3.org/2001/04/xmldsig-more/xptr\">xpointer(//Version)"
                  "</XPointer>"),
        transform("StyleSheet",
                  "Algorithm=\"http://www.w3.org/TR/1999/REC-xslt-19991116\"><xsl:stylesheet "
                  "xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">"
                  "<xsl:template match=\"/\"><a/></xsl:template></xsl:stylesheet>"),
        transform("StyleSheetWithoutEnd",
                  "Algorithm=\"http://www.w3.org/TR/1999/REC-xslt-19991116\"><xsl:stylesheet "
                  "xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">"
                  "<xsl:template match=\"/\"><xsl:call-template name=\"t\"/></xsl:template>"
                  "<xsl:template name=\"t\"><xsl:call-template name=\"t\"/><xsl:call-template "
                  "name=\"t\"/></xsl:template></xsl:stylesheet>"),
        transform("StyleSheetThatReads",
                  "Algorithm=\"http://www.w3.org/TR/1999/REC-xslt-19991116\"><xsl:stylesheet "
                  "xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">"
                  "<xsl:template match=\"/\"><xsl:copy-of select=\"document('/etc/passwd')\"/>"
                  "</xsl:template></xsl:stylesheet>"),
        transform("Base64", xmldsig + "base64"),
        transform("Decryption", "http://www.w3.org/2002/07/decrypt#XML"),
        transform("Relationships",
                  "http://schemas.openxmlformats.org/package/2006/RelationshipTransform"),
        transform("TagsRemoved", "http://www.aleksey.com/xmlsec/2009/RemoveXmlTagsC14N"),
        transform("DigestAsTransform", Algorithm::sha256),
        transform("SignatureAsTransform", Algorithm::rsaSha256),
        transform("UnknownTransform", "urn:none"), transform("EmptyAlgorithm", ""),
        digest("Md5Digest", "http://www.w3.org/2001/04/xmldsig-more#md5"),
        digest("RipemdDigest", "http://www.w3.org/2001/04/xmlenc#ripemd160"),
        digest("Sha3Digest", "http://www.w3.org/2007/05/xmldsig-more#sha3-256"),
        digest("HmacDigest", xmldsig + "hmac-sha1"),
        digest("CanonicalisationAsDigest", Algorithm::exclusive),
        digest("UnknownDigest", "urn:none"),
        method("RsaMd5", "http://www.w3.org/2001/04/xmldsig-more#rsa-md5"),
        method("RsaRipemd", "http://www.w3.org/2001/04/xmldsig-more#rsa-ripemd160"),
        method("HmacMd5", "http://www.w3.org/2001/04/xmldsig-more#hmac-md5"),
        method("HmacSha512", "http://www.w3.org/2001/04/xmldsig-more#hmac-sha512"),
        method("RsaEncryption", "http://www.w3.org/2001/04/xmlenc#rsa-1_5"),
        method("DigestAsMethod", Algorithm::sha256), method("UnknownMethod", "urn:none"),
        method("MethodOfAnotherKey", Algorithm::ecdsaSha256),
        canonicalisation("EnvelopedAsCanonicalisation", Algorithm::enveloped),
        canonicalisation("DigestAsCanonicalisation", Algorithm::sha256),
        canonicalisation("TagsRemovedAsCanonicalisation",
                         "http://www.aleksey.com/xmlsec/2009/RemoveXmlTagsC14N"),
        canonicalisation("UnknownCanonicalisation", "urn:none")),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
