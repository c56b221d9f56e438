#include <algorithm>

#include "HostileTexts.h"
#include "TextParts.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {
namespace {

const std::string element =
    R"(<File a="b" c="d">some text in here to make it longer, some text to make it longer</File>)";

// Units that each hold a name of their own.
HostileText distinct(const std::string& name, const std::string& before, const std::string& after) {
    return {name, [=](std::size_t size) {
                const std::size_t count = size / (before.size() + after.size() + 4);
                return "<R>" + list(count, before, after) + meaninglessSignature(inclusive()) +
                       "</R>";
            }};
}

HostileText unboundPrefixes(const std::string& name, std::size_t nameSize, std::size_t attributes) {
    const std::string unit =
        "<" + std::string(nameSize, 'n') + list(attributes, " p:", "=\"\"") + "/>";
    return body(name, "", unit);
}

HostileText manyReferences(const std::string& name, std::size_t count, const std::string& unit) {
    return {name, [=](std::size_t size) {
                SignatureForm form;
                form.references.assign(count, form.references[0]);
                return withDigests(meaninglessSignature(form), size, unit);
            }};
}

HostileText manyEnveloped(const std::string& name, std::size_t count) {
    SignatureForm form;
    form.references[0].transforms.assign(count, Algorithm::enveloped);
    form.references[0].transforms.push_back(Algorithm::exclusive);
    return body(name, "", element, form);
}

// Of canonical output that repeats a long namespace. xmlsec refuses to leave a signature out of it,
// but not before it has made a document of it.
HostileText envelopedTooLate() {
    SignatureForm form;
    form.references[0].transforms = {Algorithm::exclusive, Algorithm::enveloped};
    return body("EnvelopedTooLate", " xmlns:p=\"u:" + std::string(25000, 'u') + "\"",
                "<p:b/>" + std::string(150, 'x'), form);
}

// One long tag that is parsed anew, in small portions, behind each canonical form but the last.
HostileText chainedForms(const std::string& name, std::size_t count, char filler) {
    return {name, [=](std::size_t size) {
                SignatureForm form;
                form.references[0].transforms.assign(count + 1, Algorithm::exclusive);
                form.references[0].transforms[0] = Algorithm::enveloped;
                const std::string tail = meaninglessSignature(form) + "</R>";
                const std::string value(std::min<std::size_t>(size - tail.size(), 9000000), filler);
                return "<R a=\"" + value + "\">" + tail;
            }};
}

// As many nodes as there may be, and a value that is written out six times as long.
HostileText nodesAndQuotationMarks() {
    return {"NodesAndQuotationMarks", [](std::size_t size) {
                return "<R>" + repeated("<!--x-->x", size / 18) + "<a b='" +
                       std::string(std::min<std::size_t>(size / 2, 9000000), '"') + "'/>" +
                       meaninglessSignature(inclusive()) + "</R>";
            }};
}

HostileText unclosed() {
    return {"UnclosedElements", [](std::size_t size) { return repeated("<a>", size / 3); }};
}

// Unsigned bytes, where they may stand.
HostileText largeObject() {
    return {"LargeObject", [](std::size_t size) {
                SignatureForm form;
                form.objects = "<Object>" + repeated(element, size / element.size()) + "</Object>";
                return "<R>" + meaninglessSignature(form) + "</R>";
            }};
}

}  // namespace

std::vector<HostileText> growingTexts() {
    return {
        unboundPrefixes("UnboundPrefixesOnLongNames", 5000, 500),
        distinct("DistinctInstructions", "<?", "?>"),
        distinct("DistinctElements", "<", "/>"),
        distinct("DistinctAttributes", "<a ", "=\"\"/>"),
        distinct("DistinctIdentifiers", "<a xml:id=\"", "\"/>"),
        distinct("DistinctNamespaces", "<a xmlns=\"u:", "\"/>"),
        body("UnknownEntities", "", "&x;"),
        body("ReservedInstructions", "", "<?xmla?>"),
        body("RelativeNamespaces", "", "<a xmlns=\"u\"/>", inclusive()),
        body("EqualIdentifiers", "", "<a xml:id=\"1\"/>", inclusive()),
        manyReferences("EightReferences", 8, element),
        chainedForms("ChainedFormsOfALongTag", 22, '>'),
        chainedForms("ChainedFormsOfALongValue", 60, 'x'),
        nodesAndQuotationMarks(),
        envelopedTooLate(),
        manyEnveloped("TenTransforms", 10),
        manyEnveloped("TwoHundredTransforms", 200),
    };
}

std::vector<HostileText> largeTexts() {
    const std::string longText = "<a>" + std::string(900000, 'x') + "</a>";
    return {
        unclosed(),
        largeObject(),
        unboundPrefixes("UnboundPrefixesOnALongName", 50000, 100000),
        body("TinyElementsAndTexts", "", "<a/>x", inclusive()),
        body("LessThanInValues", "", "<a b='<'/>"),
        body("QuotationMarks", "", "<a b='" + std::string(900000, '"') + "'/>"),
        body("GreaterThanSigns", "", "<a>" + std::string(900000, '>') + "</a>"),
        manyReferences("ThirtyOneReferencesToLongText", 31, longText),
        manyReferences("SixteenReferences", 16, element),
    };
}

}  // namespace Norv::Corvane::Test
