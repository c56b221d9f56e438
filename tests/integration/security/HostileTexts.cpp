#include "HostileTexts.h"

#include "ManifestMutations.h"
#include "PackageBuilder.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {
namespace {

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// The shortest distinct names.
std::string name(std::size_t i) {
    constexpr char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::string text;
    do {
        text += letters[i % 52];
        i /= 52;
    } while (i != 0);
    return text;
}

std::string list(std::size_t count, const std::string& before, const std::string& after) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += before + name(i) + after;
    }
    return all;
}

SignatureForm inclusive() {
    SignatureForm form;
    form.canonicalisation = Algorithm::inclusive;
    form.references[0].transforms[1] = Algorithm::inclusive;
    return form;
}

// As many units as there is room for, between a head and a tail that holds a signature.
std::string filled(std::size_t size, const std::string& head, const std::string& unit,
                   const std::string& end, const SignatureForm& form) {
    const std::string tail = end + meaninglessSignature(form) + "</R>";
    const std::size_t used = head.size() + tail.size();
    return head + repeated(unit, size > used ? (size - used) / unit.size() : 0) + tail;
}

HostileText body(const std::string& name, const std::string& rootAttributes,
                 const std::string& unit, const SignatureForm& form = {}) {
    return {name, [=](std::size_t size) {
                return filled(size, "<R" + rootAttributes + ">", unit, "", form);
            }};
}

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

// The digests, all the same one, are right, so that the check goes through all of it before it sees
// the signature.
HostileText references(const std::string& name, std::size_t count) {
    return {name, [=](std::size_t size) {
                SignatureForm form;
                form.references.assign(count, form.references[0]);
                const std::string many = meaninglessSignature(form);
                const std::string head = "<R>" + repeated("<a/>", (size - many.size()) / 4);
                const std::string one =
                    fillSignature(head + SignatureForm().text() + "</R>", strangerKey());
                const std::string digest = elementOf(one, "DigestValue");
                return head + everywhere(many, "<DigestValue>AAAA</DigestValue>", digest) + "</R>";
            }};
}

HostileText transforms(const std::string& name, std::size_t count, const std::string& unit) {
    SignatureForm form;
    form.references[0].transforms.assign(count, Algorithm::exclusive);
    form.references[0].transforms[0] = Algorithm::enveloped;
    return body(name, " xmlns:p=\"u:" + std::string(400, 'u') + "\"", unit, form);
}

HostileText prefixes(const std::string& name, std::size_t count) {
    SignatureForm form;
    form.references[0].transforms[1] =
        "Algorithm=\"" + Algorithm::exclusive + "\"><x:InclusiveNamespaces xmlns:x=\"" +
        Algorithm::exclusive + "\" PrefixList=\"" + repeated("p ", count) + "\"/>";
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

std::vector<HostileText> hostileTexts() {
    const std::string twoLong = " xmlns:p=\"u:" + std::string(50000, 'u') +
                                "p\" xmlns:q=\"u:" + std::string(50000, 'u') + "q\"";
    std::string mixed = "<a";
    for (std::size_t i = 0; i < 60; ++i) {
        mixed += (i % 2 != 0 ? " p:" : " q:") + name(i) + "=\"\"";
    }
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
        body("ManyAttributesOnTheRoot", list(130000, " ", "=\"\""), "<a/>"),
        body("FiveNamespaces", list(5, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("FortyNamespaces", list(40, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("ThousandNamespaces", list(1000, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("ManyNamespacesOnTheRoot", list(60000, " xmlns:", "=\"u:u\""), "<a/>", inclusive()),
        body("NamespaceEach", "", "<a xmlns:b=\"u:u\"/>", inclusive()),
        body("NestedNamespaces", "", list(200, "<a xmlns:", "=\"u:u\">") + repeated("</a>", 200),
             inclusive()),
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
        around("TenInstructionsBeforeTheRoot", 10),
        around("ThousandInstructionsBeforeTheRoot", 1000),
        around("ManyInstructionsBeforeTheRoot", 200000),
        {"ManyInstructionsBehindTheRoot",
         [](std::size_t size) {
             return filled(size / 2, "<R>", "<a/>", "", {}) + repeated("<?a?>", size / 10);
         }},
        body("RepeatedLongNamespace", " xmlns:p=\"u:" + std::string(100000, 'u') + "\"", "<p:a/>"),
        body("RepeatedNamespace", " xmlns:p=\"u:" + std::string(1000, 'u') + "\"", "<p:a/>"),
        body("LongPrefixes", list(5, " xmlns:" + std::string(40000, 'p'), "=\"u:u\""), "<a/>",
             inclusive()),
        body("LongNamespacesCompared", twoLong, mixed + "/>", inclusive()),
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
        references("ThousandReferences", 1000),
        transforms("TwoTransforms", 3, "<p:a/>"),
        transforms("FourTransformsOfFiles", 5, file),
        transforms("TenTransforms", 11, "<a/>x"),
        transforms("ThousandTransforms", 1000, "<a/>"),
        prefixes("TenPrefixes", 10),
        prefixes("ThousandPrefixes", 1000),
        prefixes("ManyPrefixes", 100000),
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
