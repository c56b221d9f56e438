#include "HonestForm.h"

#include <gmock/gmock.h>

#include <boost/optional/optional_io.hpp>

#include "HonestVariant.h"
#include "ManifestMutations.h"
#include "ManifestReading.h"

namespace Norv::Corvane::Test {

const std::vector<Canonicalisation>& canonicalisations() {
    static const std::vector<Canonicalisation> all = {
        {"Inclusive", &Algorithm::inclusive},
        {"InclusiveWithComments", &Algorithm::inclusiveWithComments},
        {"Inclusive11", &Algorithm::inclusive11},
        {"Inclusive11WithComments", &Algorithm::inclusive11WithComments},
        {"Exclusive", &Algorithm::exclusive},
        {"ExclusiveWithComments", &Algorithm::exclusiveWithComments}};
    return all;
}

SignatureForm formOf(const Canonicalisation& canonicalisation) {
    SignatureForm form;
    form.method = Algorithm::ecdsaSha256;
    form.canonicalisation = *canonicalisation.algorithm;
    form.references[0].transforms[1] = *canonicalisation.algorithm;
    return form;
}

std::string annotatedManifest() {
    return insertedBefore(unsignedManifest(), "<Files>",
                          "lead<Notes>one two <b>bold</b> tail &amp; end</Notes>trail\n"
                          "<Extra Plain=\"a b\" Empty=\"\"/>\n");
}

void HonestForm::SetUp() {
    ASSERT_FALSE(validator.Open(writeKey(key, directory).certificate));
}

void HonestForm::expectAccepted(const std::string& manifest) {
    const LogCapture log;
    EXPECT_EQ(validator.ValidateSignature(manifest), true)
        << testing::PrintToString(log.allRecords()) << manifest.substr(0, 3000);
    EXPECT_THAT(log.records(), testing::IsEmpty());
    const std::string reading = readingOf(manifest);
    EXPECT_EQ(reading, signedReadingOf(manifest, key));
    EXPECT_THAT(reading, testing::HasSubstr("1.2.3.4"));
}

std::string HonestForm::signedAs(const std::string& text, const SignatureForm& form) {
    return signAs(text, form, ecKey());
}

}  // namespace Norv::Corvane::Test
