// What may happen to a manifest after it was signed: another way to write the same, and anything
// inside the signature element that says nothing about the manifest.

#include <string>

#include "HonestForm.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

const std::string evilFile =
    R"(<File xsi:type="ScriptFileType" LocalFilePath="x" RemoteFilePath="x" HashValue="AAAA")"
    R"( HashAlgorithm="sha256" Length="1"/>)";

// Canonical XML is the same before and after.
const std::vector<Writing>& rewritings() {
    static const std::vector<Writing> all = {
        {"BlankBetweenAttributes", "Plain=\"a b\" ", "Plain=\"a b\"\r\n\t  "},
        {"BlankInTheEndTag", "</Files>", "</Files\n>"},
        {"EndTagApart", "<Extra Plain=\"a b\" Empty=\"\"/>",
         "<Extra Plain=\"a b\" Empty=\"\"></Extra>"},
        {"OtherOrderOfAttributes", "Plain=\"a b\" Empty=\"\"", "Empty=\"\" Plain=\"a b\""},
        {"OtherQuotes", "Plain=\"a b\"", "Plain='a b'"},
        {"LettersAsReferences", "Plain=\"a b\"", "Plain=\"&#97;&#x000020;&#98;\""},
        {"BlankAsTabulator", "Plain=\"a b\"", "Plain=\"a\tb\""},
        {"BlankAsLineEnd", "Plain=\"a b\"", "Plain=\"a\r\nb\""},
        {"TextAsReferences", "one two", "&#111;&#x6E;e&#32;two"},
        {"TextAsCharacterData", "one two", "<![CDATA[one]]> <![CDATA[two]]>"},
        {"BlanksAsCharacterData", "</Notes>trail\n", "</Notes>trail<![CDATA[\n]]>"},
        {"BlankAsReference", "\n  <ModelId", "&#10;&#32; <ModelId"},
        {"CharacterDataWithNothing", "one two", "one<![CDATA[]]> two<![CDATA[]]>"},
        {"NameAsReference", "&amp;", "&#38;"},
        {"CommentInText", "one two", "one<!-- <File/> --> two"},
        {"CommentInBlanks", "\n  <ModelId", "\n <!-- - --><!----> <ModelId"},
        {"CommentWithAFile", "</Files>", "<!--" + evilFile + "--></Files>"},
        {"CommentBeforeTheRoot", "<Firm", "<!-- sent -->\n<Firm"},
        {"CommentBehindTheRoot", "</FirmwareDescription>", "</FirmwareDescription><!-- sent -->"},
        {"NamespaceDeclaredAgain", "<Extra",
         "<Extra xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""},
        {"NoDefaultNamespace", "<Files", "<Files xmlns=\"\""},
        {"BlanksBeforeTheRoot", "<Firm", "\r\n\n \t<Firm"}};
    return all;
}

// In the signature, which does not cover itself.
const std::vector<Writing>& unsignedAdditions() {
    static const std::vector<Writing> all = {
        {"Object", "</Signature>", "<Object>" + evilFile + "</Object></Signature>"},
        {"ObjectWithAManifest", "</Signature>",
         "<Object><FirmwareDescription><Version Value=\"6.6.6.6\"/></FirmwareDescription></Object>"
         "</Signature>"},
        {"ObjectWithASignature", "</Signature>",
         "<Object><Signature/><Signature xmlns=\"\"/></Object></Signature>"},
        {"ObjectWithText", "</Signature>", "<Object>a&#13;<![CDATA[<]]>&lt;</Object></Signature>"},
        {"Comment", "</Signature>", "<!--" + evilFile + "--></Signature>"},
        {"Instruction", "</Signature>", "<?p " + evilFile + "?></Signature>"},
        {"Blanks", "<SignedInfo>", "\r\n\t <SignedInfo>"},
        {"BlanksBehind", "</Signature>", "\r\n\t </Signature>"},
        {"BlanksInTheStartTag", "<Signature ", "<Signature \n\t"},
        {"BlanksInTheValue", "<SignatureValue>", "<SignatureValue>\r\n &#10;&#x20;"},
        {"Attributes", "<Signature ", "<Signature Id=\"s\" Value=\"6\" xsi:type=\"y\" "},
        {"KeyName", "</SignatureValue>",
         "</SignatureValue><KeyInfo><KeyName>k</KeyName></KeyInfo>"}};
    return all;
}

class HonestHandling : public HonestForm {
protected:
    void expectAcceptedAfter(const std::vector<Writing>& writings) {
        const std::string manifest = signedAs(annotatedManifest(), formOf(GetParam()));
        for (const Writing& writing : writings) {
            SCOPED_TRACE(writing.name);
            expectAccepted(replaced(manifest, writing.place, writing.written));
        }
    }
};

TEST_P(HonestHandling, ChangesNothingByWritingTheSameAnotherWay) {
    expectAcceptedAfter(rewritings());
}

TEST_P(HonestHandling, ChangesNothingWithinTheSignature) {
    expectAcceptedAfter(unsignedAdditions());
    // What is in scope for the signed information is signed along with it elsewhere.
    if (std::string(GetParam().name).rfind("Exclusive", 0) == 0) {
        expectAcceptedAfter(
            {{"Base", "<Signature ", "<Signature xml:base=\"x\" xml:lang=\"en\" "},
             {"Declarations", "<Signature ", "<Signature xmlns:a=\"urn:a\" a:b=\"\" "}});
    }
}

TEST_P(HonestHandling, ChangesNothingInAllPlacesAtOnce) {
    std::string manifest = signedAs(annotatedManifest(), formOf(GetParam()));
    expectAccepted(everywhere(manifest, "\n", "\r\n"));
    expectAccepted(everywhere(manifest, "\n", "\r"));
    expectAccepted(everywhere(manifest, "\n", "\n<!-- <File/> -->"));
    expectAccepted(everywhere(manifest, "/>", "\n/>"));
    expectAccepted("\xEF\xBB\xBF" + manifest);
    expectAccepted(manifest.substr(manifest.find("<Firm")));
    expectAccepted("<?xml version='1.0' standalone='yes'?>" +
                   manifest.substr(manifest.find("<Firm")));
    const std::size_t body = manifest.find("<Firm");
    expectAccepted(manifest.substr(0, body) + everywhere(manifest.substr(body), "\"", "'"));
}

INSTANTIATE_TEST_SUITE_P(Under, HonestHandling, testing::ValuesIn(canonicalisations()),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace Norv::Corvane::Test
