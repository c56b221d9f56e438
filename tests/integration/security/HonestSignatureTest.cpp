// Where a maker may put the signature, what it may look like, and what else may bear its name.

#include <string>

#include "HonestForm.h"
#include "ManifestMutations.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {
namespace {

class HonestSignature : public HonestForm {
protected:
    // The signature stands at this place of the text.
    std::string signedAt(const std::string& text, std::size_t place) const {
        return fillSignature(std::string(text).insert(place, formOf(GetParam()).text()), key);
    }

    static std::string oneReferenceMore(std::size_t count, const SignatureForm& first) {
        SignatureForm form = first;
        const std::vector<Canonicalisation>& all = canonicalisations();
        for (std::size_t i = 1; i < count; ++i) {
            form.references.push_back(form.references[0]);
            form.references[i].transforms[1] = *all[i % all.size()].algorithm;
            form.references[i].digest = i % 2 == 0 ? Algorithm::sha256 : Algorithm::sha512;
        }
        return signedAs(annotatedManifest(), form);
    }
};

// Every place where an element may stand, the inside of the root element first.
std::vector<std::size_t> placesForElements(const std::string& text) {
    std::vector<std::size_t> places;
    const std::size_t root = text.find("<Firm");
    for (std::size_t at = root; (at = text.find('<', at + 1)) != std::string::npos;) {
        places.push_back(at);
    }
    return places;
}

TEST_P(HonestSignature, MayStandBesideElementsOfItsName) {
    const std::string text = annotatedManifest();
    const std::vector<std::size_t> places = placesForElements(text);
    ASSERT_GT(places.size(), 15U);
    const std::vector<std::string> foreign = {
        "<Signature/>", "<Signature xmlns=\"urn:maker\" Value=\"x\">by <a/>hand</Signature>",
        "<m:Signature xmlns:m=\"urn:maker\" m:a=\"\"/>",
        "<Signature><SignedInfo/><Signature>x</Signature></Signature>"};
    // Each of them in each place under one canonicalisation at least.
    std::size_t next = 0;
    while (canonicalisations()[next].algorithm != GetParam().algorithm) {
        ++next;
    }
    for (const std::size_t place : places) {
        const std::string beside =
            std::string(text).insert(place, foreign[next++ % foreign.size()]);
        SCOPED_TRACE(beside.substr(place, 80));
        expectAccepted(signedAs(beside, formOf(GetParam())));
    }
}

TEST_P(HonestSignature, MayStandAnywhereAmongTheChildrenOfTheRoot) {
    const std::string foreign = "<Signature Value=\"x\">by hand</Signature>";
    for (const std::string before :
         {"<ManufacturerId", "<ModelId", "<Version", "<SystemVersion", "<SupportedHwRevs", "lead",
          "<Notes", "trail", "<Extra", "<Files>", "</FirmwareDescription>"}) {
        SCOPED_TRACE(before);
        const std::string text = annotatedManifest();
        const std::size_t place = text.find(before);
        expectAccepted(signedAt(text, place));
        // One of the maker's own on each side.
        const std::string between = std::string(text).insert(place, foreign + foreign);
        expectAccepted(signedAt(between, place + foreign.size()));
    }
}

TEST_P(HonestSignature, MayBeFollowedByAnotherThatItCovers) {
    SignatureForm other = formOf(GetParam());
    other.prefix = "second";
    const std::string text = insertedBefore(annotatedManifest(), "</FirmwareDescription>",
                                            meaninglessSignature(other) + "\n");
    expectAccepted(signedAt(text, text.find("<second:Signature ")));
    expectAccepted(signedAt(text, text.find("<Files>")));
}

TEST_P(HonestSignature, MayHaveSeveralReferences) {
    for (std::size_t count = 1; count <= 6; ++count) {
        SCOPED_TRACE(count);
        expectAccepted(oneReferenceMore(count, formOf(GetParam())));
    }
}

TEST_P(HonestSignature, MayTransformInSeveralSteps) {
    SignatureForm form = formOf(GetParam());
    for (const Canonicalisation& second : canonicalisations()) {
        SCOPED_TRACE(second.name);
        form.references[0].transforms = {Algorithm::enveloped, *GetParam().algorithm,
                                         *second.algorithm};
        expectAccepted(signedAs(annotatedManifest(), form));
    }
    form.references[0].transforms = {Algorithm::enveloped};
    expectAccepted(signedAs(annotatedManifest(), form));
}

TEST_P(HonestSignature, MayListPrefixes) {
    for (const std::string list :
         {"", "xsi", "#default", "xsi xsd ds", "\n xsi\t#default  ", "nobody", "m n"}) {
        SCOPED_TRACE(list);
        SignatureForm form = formOf(GetParam());
        for (const std::string& algorithm :
             {Algorithm::exclusive, Algorithm::exclusiveWithComments}) {
            form.references[0].transforms[1] =
                "Algorithm=\"" + algorithm + "\"><i:InclusiveNamespaces xmlns:i=\"" +
                Algorithm::exclusive + "\" PrefixList=\"" + list + "\"/>";
            expectAccepted(signedAs(replaced(annotatedManifest(), "<Extra",
                                             "<m:Extra xmlns:m=\"urn:m\" xmlns:n=\"urn:n\""
                                             " xmlns=\"urn:d\"/><Extra"),
                                    form));
        }
    }
}

TEST_P(HonestSignature, MayHaveAPrefixAndAnObject) {
    SignatureForm form = formOf(GetParam());
    for (const std::string prefix : {"ds", "xs", "_", "\xC3\xA4", "Signature"}) {
        SCOPED_TRACE(prefix);
        form.prefix = prefix;
        form.objects = "<" + prefix + ":Object>&#13;<FirmwareDescription/><Signature/></" + prefix +
                       ":Object>";
        expectAccepted(signedAs(annotatedManifest(), form));
    }
}

INSTANTIATE_TEST_SUITE_P(Under, HonestSignature, testing::ValuesIn(canonicalisations()),
                         testing::PrintToStringParamName());

class HonestBulk : public HonestForm {};

TEST_P(HonestBulk, IsAcceptedWithTwentyThousandFiles) {
    PackageBuilder builder;
    for (int i = 0; i < 20000; ++i) {
        const std::string number = std::to_string(i);
        builder.firmware("opt/device & share/<file" + number + ">", number);
    }
    const std::string text = builder.withoutSignature().manifest();
    expectAccepted(signedAs(text, formOf(GetParam())));
}

// One of each kind.
INSTANTIATE_TEST_SUITE_P(Under, HonestBulk,
                         testing::Values(canonicalisations()[2], canonicalisations()[4]),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace Norv::Corvane::Test
