#include "HostileTexts.h"

#include <algorithm>

#include "ManifestMutations.h"
#include "PackageBuilder.h"
#include "TextParts.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {
namespace {

HostileText deep(const std::string& name, std::size_t depth, const std::string& unit) {
    return {name, [=](std::size_t size) {
                return filled(size, "<R>" + repeated("<a>", depth), unit, repeated("</a>", depth),
                              inclusive());
            }};
}

HostileText around(const std::string& name, std::size_t instructions) {
    return {name, [=](std::size_t size) {
                return filled(size, repeated("<?a?>", instructions) + "<R>", "<a/>", "", {});
            }};
}

HostileText references(const std::string& name, std::size_t count) {
    return {name, [=](std::size_t size) {
                SignatureForm form;
                form.references.assign(count, form.references[0]);
                return withDigests(meaninglessSignature(form), size);
            }};
}

HostileText referencesInAManifest(const std::string& name, std::size_t count) {
    return {name, [=](std::size_t size) {
                SignatureForm form;
                form.objects = "<Object><Manifest>" +
                               repeated(elementOf(meaninglessSignature(), "Reference"), count) +
                               "</Manifest></Object>";
                return withDigests(meaninglessSignature(form), size);
            }};
}

HostileText transformed(const std::string& name, const std::string& transform) {
    SignatureForm form;
    form.references[0].transforms = {Algorithm::enveloped, transform};
    return body(name, "", "<a/>", form);
}

HostileText transforms(const std::string& name, std::size_t count, const std::string& unit) {
    SignatureForm form;
    form.references[0].transforms.assign(count, Algorithm::exclusive);
    form.references[0].transforms[0] = Algorithm::enveloped;
    return body(name, " xmlns:p=\"u:" + std::string(400, 'u') + "\"", unit, form);
}

HostileText prefixes(const std::string& name, std::size_t count, const std::string& prefix = "p ") {
    SignatureForm form;
    form.references[0].transforms[1] =
        "Algorithm=\"" + Algorithm::exclusive + "\"><x:InclusiveNamespaces xmlns:x=\"" +
        Algorithm::exclusive + "\" PrefixList=\"" + repeated(prefix, count) + "\"/>";
    return body(name, " xmlns:p=\"u:u\"", "<p:a/>", form);
}

const std::string file =
    R"(<File xsi:type="FirmwareFileType" LocalFilePath="some/name" RemoteFilePath="some/name")"
    R"( HashValue="LXEWQrcmsEQBYnyp+6wy9chTD7GQPMTbAiWHF5IaSIE=" HashAlgorithm="sha256" Length="1"/>)";

}  // namespace

std::string honestText(std::size_t size) {
    PackageBuilder builder;
    for (std::size_t i = 0; i < size / 215; ++i) {
        builder.firmware("some/name/" + std::to_string(i), "x");
    }
    return builder.manifest();
}

std::vector<HostileText> costlyTexts() {
    const std::string twoLong = " xmlns:p=\"u:" + std::string(50000, 'u') +
                                "p\" xmlns:q=\"u:" + std::string(50000, 'u') + "q\"";
    std::string mixed = "<a";
    for (std::size_t i = 0; i < 60; ++i) {
        mixed += (i % 2 != 0 ? " p:" : " q:") + name(i) + "=\"\"";
    }
    return {
        body("ManyAttributesOnTheRoot", list(130000, " ", "=\"\""), "<a/>"),
        body("ThousandNamespaces", list(1000, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("ManyNamespacesOnTheRoot", list(60000, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("NestedNamespaces", "", list(200, "<a xmlns:", "=\"u:u\">") + repeated("</a>", 200),
             inclusive()),
        around("ManyInstructionsBeforeTheRoot", 200000),
        {"ManyInstructionsBehindTheRoot",
         [](std::size_t size) {
             return filled(size / 2, "<R>", "<a/>", "", {}) + repeated("<?a?>", size / 10);
         }},
        body("RepeatedLongNamespace", " xmlns:p=\"u:" + std::string(100000, 'u') + "\"", "<p:a/>"),
        body("LongPrefixes", list(5, " xmlns:" + std::string(40000, 'p'), "=\"u:u\""), "<a/>",
             inclusive()),
        body("LongNamespacesCompared", twoLong, mixed + "/>", inclusive()),
        body("HyphensInAComment", "", "<!--" + repeated("-- ", 300000) + "-->"),
        references("ThousandReferences", 1000),
        referencesInAManifest("ThousandReferencesInAManifest", 1000),
        transforms("TwoTransforms", 3, "<p:a/>"),
        transforms("TenTransforms", 11, "<a/>x"),
        transforms("ThousandTransforms", 1000, "<a/>"),
        prefixes("ThousandPrefixes", 1000),
        prefixes("ManyPrefixes", 100000),
        prefixes("ManyBlanksForPrefixes", 200000, " "),
        transformed("EndlessStyleSheet",
                    "Algorithm=\"http://www.w3.org/TR/1999/REC-xslt-19991116\">"
                    "<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" "
                    "version=\"1.0\"><xsl:template match=\"/\" name=\"t\">"
                    "<xsl:param name=\"n\" select=\"60\"/><xsl:if test=\"$n &gt; 0\">"
                    "<xsl:call-template name=\"t\"><xsl:with-param name=\"n\" "
                    "select=\"$n - 1\"/></xsl:call-template>"
                    "<xsl:call-template name=\"t\"><xsl:with-param name=\"n\" "
                    "select=\"$n - 1\"/></xsl:call-template></xsl:if>"
                    "</xsl:template></xsl:stylesheet>"),
        transformed("EndlessPath",
                    "Algorithm=\"http://www.w3.org/TR/1999/REC-xpath-19991116\">"
                    "<XPath>count(//node()[count(//node()) &gt; 1]) &gt; 1</XPath>"),
        transformed("EndlessFilter",
                    "Algorithm=\"http://www.w3.org/2002/06/xmldsig-filter2\">"
                    "<XPath xmlns=\"http://www.w3.org/2002/06/xmldsig-filter2\" "
                    "Filter=\"intersect\">//node()[count(//node()) &gt; 1]</XPath>"),
        transformed("EndlessPointer",
                    "Algorithm=\"http://www.w3.org/2001/04/xmldsig-more/xptr\">"
                    "<XPointer xmlns=\"http://www.w3.org/2001/04/xmldsig-more/xptr\">"
                    "xpointer(//node()[count(//node()) &gt; 1])</XPointer>"),
    };
}

std::vector<HostileText> borderlineTexts() {
    SignatureForm ids;
    ids.objects = "<Object>" + list(50000, "<a Id=\"", "\"/>") + "</Object>";
    return {
        body("TinyElements", "", "<a/>", inclusive()),
        body("TinyElementsAndTexts", "", "<a/>x", inclusive()),
        body("TinyElementsAndTextsExclusively", "", "<a/>x"),
        body("EmptyAttributes", "", "<a b=\"\"/>"),
        body("TwentySixAttributesEach", "", "<a" + list(26, " ", "=\"\"") + "/>", inclusive()),
        body("HundredAttributesEach", "", "<a" + list(100, " ", "=\"\"") + "/>", inclusive()),
        body("ThousandAttributesEach", "", "<a" + list(1000, " ", "=\"\"") + "/>", inclusive()),
        body("FiveNamespaces", list(5, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("FortyNamespaces", list(40, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("NamespaceEach", "", "<a xmlns:b=\"u:u\"/>", inclusive()),
        body("UnknownPrefixes", "", "<a:a b:b=\"\"/>"),
        body("RelativeNamespaces", "", "<a xmlns=\"u\"/>", inclusive()),
        deep("DeepElements", 250, "<a/>x"),
        deep("LessDeepElements", 60, "<a/>x"),
        deep("DeepComments", 250, "<!---->x"),
        deep("DeepInstructions", 250, "<?a?>x"),
        deep("DeepAttributes", 250, "<a b=\"\" c=\"\"/>"),
        deep("DeepCharacterData", 250, "<![CDATA[x]]>"),
        deep("DeeperThanAllowed", 100000, "<a/>"),
        body("RepeatedDepth", "", repeated("<a>", 250) + repeated("</a>", 250), inclusive()),
        body("UnclosedElements", "", "<a>"),
        body("UnknownEntities", "", "&x;"),
        body("LessThanInValues", "", "<a b='<'/>"),
        body("ControlCharacters", "", "\x01"),
        around("TenInstructionsBeforeTheRoot", 10),
        around("ThousandInstructionsBeforeTheRoot", 1000),
        body("RepeatedNamespace", " xmlns:p=\"u:" + std::string(1000, 'u') + "\"", "<p:a/>"),
        body("LongNamesCompared", "", "<a" + list(200, " " + std::string(200, 'n'), "=\"\"") + "/>",
             inclusive()),
        body("NamesOfTheSameHash", "", list(50000, "<Aa", "/>") + list(50000, "<BB", "/>")),
        body("CharacterReferences", "", "&#65;"),
        body("Ampersands", "", "&amp;"),
        body("CarriageReturns", "", "\r"),
        body("Comments", "", "<!---->x"),
        body("LongText", "", "x"),
        body("ReferencesInAValue", " a=\"" + repeated("&#65;", 190000) + "\"", "x"),
        body("Identifiers", "", "<a/>", ids),
        references("TwoReferences", 2),
        references("EightReferences", 8),
        references("TwentyReferences", 20),
        transforms("FourTransformsOfFiles", 5, file),
        prefixes("TenPrefixes", 10),
        {"ExponentialEntities",
         [](std::size_t) {
             std::string type = "<!DOCTYPE R [<!ENTITY a 'aaaaaaaaaaaaaaaaaaaa'>";
             for (char c = 'b'; c < 'k'; ++c) {
                 const std::string before = std::string("&") + static_cast<char>(c - 1) + ";";
                 type += std::string("<!ENTITY ") + c + " '" + repeated(before, 20) + "'>";
             }
             return type + "]><R>&j;" + meaninglessSignature() + "</R>";
         }},
    };
}

}  // namespace Norv::Corvane::Test
