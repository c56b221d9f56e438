// Manifests that are written in other ways than usual, by their makers or by somebody on the way,
// and mean the same.

#include <algorithm>

#include "HonestVariant.h"
#include "ManifestMutations.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {
namespace {

// The maker writes the text in another way before signing it.
Variant written(const std::string& name, const std::function<std::string(std::string)>& write) {
    return {{name, [=] { return signAs(write(unsignedManifest()), {}, rsaKey()); }}};
}

// Somebody on the way changes what the signature does not cover.
Variant handled(const std::string& name, const std::function<std::string(std::string)>& change) {
    return {{name, [=] { return change(honestManifest()); }}};
}

INSTANTIATE_TEST_SUITE_P(
    Writing, HonestVariant,
    testing::Values(
        written("CarriageReturns",
                [](const std::string& text) { return everywhere(text, "\n", "\r\n"); }),
        written("ByteOrderMark", [](const std::string& text) { return "\xEF\xBB\xBF" + text; }),
        written("NoDeclaration",
                [](const std::string& text) { return text.substr(text.find("<Firm")); }),
        written("LowerCaseEncoding",
                [](const std::string& text) { return declaredAs(text, "utf-8"); }),
        written("SingleQuotesAndStandalone",
                [](const std::string& text) {
                    return "<?xml version='1.0' encoding='UTF-8' standalone='yes'?>\n" +
                           text.substr(text.find("<Firm"));
                }),
        written("SingleQuotedValues",
                [](const std::string& text) {
                    const std::size_t body = text.find("<Firm");
                    return text.substr(0, body) + everywhere(text.substr(body), "\"", "'");
                }),
        written("OneLine", [](const std::string& text) { return everywhere(text, "\n", ""); }),
        written("Comments",
                [](const std::string& text) {
                    return insertedBefore(insertedAfter(text, "<Files>", "<!-- files -->"), "<Firm",
                                          "<!-- made by the maker -->\n");
                }),
        written("DocumentTypeInAComment",
                [](const std::string& text) {
                    return insertedBefore(text, "<Firm", "<!-- <!DOCTYPE x> -->");
                }),
        written("StyleSheetInstruction",
                [](const std::string& text) {
                    return insertedBefore(text, "<Firm",
                                          "<?xml-stylesheet href=\"x\" encoding=\"UTF-7\"?>");
                }),
        written("LettersOfOtherAlphabets",
                [](const std::string& text) {
                    return replaced(text, "Value=\"A\"",
                                    "Value=\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x94\xA7\"");
                }),
        written("CharacterReferences",
                [](const std::string& text) {
                    return replaced(text, "Value=\"A\"",
                                    "Value=\"&#65;&#x42;&amp;&lt;&quot;&#10;\"");
                }),
        written("CharacterData",
                [](const std::string& text) {
                    return insertedAfter(text, "<Files>", "<![CDATA[<File/>]]>");
                }),
        written("RootNamespace",
                [](const std::string& text) {
                    return replaced(text, "<FirmwareDescription ",
                                    "<FirmwareDescription xmlns=\"urn:maker:firmware\" ");
                }),
        written("UnknownElementsAndAttributes",
                [](const std::string& text) {
                    return replaced(replaced(text, "<Files>", "<Notes><p>new</p></Notes><Files>"),
                                    "Length=", "Compression=\"none\" Length=");
                }),
        handled("LineEndsAfterSigning",
                [](const std::string& text) { return everywhere(text, "\n", "\r\n"); }),
        handled("CommentsAfterSigning",
                [](const std::string& text) {
                    return insertedAfter(insertedAfter(text, "<Files>", "<!-- checked -->"),
                                         "<SignatureValue>", "<!-- checked -->");
                }),
        handled("ManifestInTheSignature",
                [](const std::string& text) {
                    return insertedAfter(text, "</SignatureValue>",
                                         "<Object><Manifest><Reference URI=\"file:///none\">"
                                         "<DigestMethod Algorithm=\"" +
                                             Algorithm::sha256 +
                                             "\"/><DigestValue>AAAA</DigestValue></Reference>"
                                             "</Manifest></Object>");
                }),
        handled("CommentsThatSeemToEndAtOnce",
                [](const std::string& text) {
                    return insertedBefore(text, "</Files>",
                                          "<!-->" + evilFile + "--><!--->" + evilFile + "-->");
                }),
        handled("LineEndAsCharacterData",
                [](const std::string& text) {
                    return replaced(text, "<Files>\n", "<Files><![CDATA[\n]]>");
                }),
        handled("CharacterDataInTheDigestValue",
                [](const std::string& text) {
                    return replaced(replaced(text, "<DigestValue>", "<DigestValue><![CDATA["),
                                    "</DigestValue>", "]]></DigestValue>");
                }),
        handled("InstructionInTheSignatureValue",
                [](const std::string& text) {
                    return insertedAfter(text, "<SignatureValue>", "<?p evil?>");
                }),
        handled("NamespaceNobodyUses",
                [](const std::string& text) {
                    return insertedAfter(text, "<File ", "xmlns:LocalFilePath=\"urn:evil\" ");
                }),
        handled("EmptyDefaultNamespace",
                [](const std::string& text) {
                    return insertedAfter(text, "<Files", " xmlns=\"\"");
                }),
        handled("AttributesOfTheSignature",
                [](const std::string& text) {
                    return insertedAfter(text, "<Signature",
                                         " Id=\"s\" xml:lang=\"en\" xml:id=\"i\" Value=\"6.6.6.6\" "
                                         "xmlns:a=\"urn:a\" a:xsi=\"evil\"");
                }),
        handled("NextVersionOfXml",
                [](const std::string& text) {
                    return replaced(text, "version=\"1.0\"", "version=\"1.1\"");
                }),
        handled("StandaloneAfterSigning",
                [](const std::string& text) {
                    return replaced(text, "?>", " standalone=\"no\"?>");
                }),
        handled("LetterAsReference",
                [](const std::string& text) {
                    return replaced(text, "Value=\"A\"", "Value=\"&#00000000000065;\"");
                }),
        handled("ByteOrderMarkAfterSigning",
                [](const std::string& text) { return "\xEF\xBB\xBF" + text; }),
        handled("AttributesInAnotherOrder",
                [](const std::string& text) {
                    return replaced(replaced(text, "xsi:type=\"FirmwareFileType\" ", ""), "<File ",
                                    "<File xsi:type='FirmwareFileType'  ");
                }),
        handled("CommentInTheDigestValue",
                [](const std::string& text) {
                    return insertedAfter(text, "<DigestValue>", "<!-- AAAA -->");
                })),
    nameOfVariant);

// The blank in a value is written in another way after signing; all parsers make one of it.
Variant blank(const std::string& name, const std::string& written) {
    return {{name, [=] {
                 const std::string text = PackageBuilder().firmware("app/a b", "x").manifest();
                 return everywhere(text, "app/a b", "app/a" + written + "b");
             }}};
}

INSTANTIATE_TEST_SUITE_P(BlankInAValue, HonestVariant,
                         testing::Values(blank("Tabulator", "\t"), blank("LineEnd", "\n"),
                                         blank("CarriageReturn", "\r"),
                                         blank("CarriageReturnAndLineEnd", "\r\n"),
                                         blank("Reference", "&#32;"),
                                         blank("HexReference", "&#x0020;")),
                         nameOfVariant);

// All bytes are ASCII, and mean the same whichever of these the maker's tools name.
Variant labelled(const std::string& encoding) {
    std::string name = encoding;
    std::replace(name.begin(), name.end(), '-', '_');
    return {{name, [=] { return declaredAs(signAs(unsignedManifest(), {}, rsaKey()), encoding); }}};
}

INSTANTIATE_TEST_SUITE_P(Label, HonestVariant,
                         testing::Values(labelled("US-ASCII"), labelled("ascii"),
                                         labelled("ISO-8859-1"), labelled("iso-8859-15"),
                                         labelled("ISO_8859-8-I"), labelled("ISO8859-2"),
                                         labelled("latin1"), labelled("windows-1252"),
                                         labelled("Windows-1258"), labelled("CP1250"),
                                         labelled("KOI8-R"), labelled("koi8-u"), labelled("EUC-JP"),
                                         labelled("EUC-KR"), labelled("GB2312"), labelled("GBK"),
                                         labelled("GB18030"), labelled("Big5"), labelled("UTF8")),
                         nameOfVariant);

}  // namespace
}  // namespace Norv::Corvane::Test
