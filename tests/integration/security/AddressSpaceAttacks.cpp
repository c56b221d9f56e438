// A host that is short of memory, or that limits itself. What libxml2 cannot get memory for it may
// do without: no limit must make a text genuine that says something else than what was signed.

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include "ManifestMutations.h"
#include "ManifestReading.h"
#include "ReadingAttack.h"
#include "Sandbox.h"
#include "ValidatorFixture.h"

namespace Norv::Corvane::Test {
namespace {

// More than any of these takes.
constexpr std::size_t enough = 14 * mebibyte;

std::string manifestWithoutFiles() {
    return genuine(withoutElement(plainManifest(), "Files"), Algorithm::exclusive);
}

// The next step of the memory for names is a large one. Without it, the prefix is lost.
std::string hiddenFiles() {
    const std::string text = withHiddenElement(withSignatureFirst(genuine()), "Files");
    return withObject(text, namesOf(text) + fillingElementsOfFirstSteps());
}

// Without memory for the comment, libxml2 reads its content as content, but makes nothing of it any
// more: an instruction begins in the comment and hides what follows from that parser only.
std::string lostComment() {
    return insertedBefore(
        manifestWithoutFiles(), "</FirmwareDescription>",
        "<!--" + everywhere(std::string(mebibyte / 2, 'p'), "p", "<?p?>") +
            "<?p --><Files><File xsi:type=\"ScriptFileType\" LocalFilePath=\"evil\""
            " RemoteFilePath=\"evil\" HashValue=\"AAAA\" HashAlgorithm=\"sha256\""
            " Length=\"4\"/></Files><?p ?>");
}

struct Text {
    const char* name;
    std::string (*make)();
};

std::ostream& operator<<(std::ostream& out, const Text& text) {
    return out << text.name;
}

class AddressSpaceAttack : public testing::TestWithParam<Text> {};

TEST_P(AddressSpaceAttack, IsRefusedWithinAnyLimit) {
    const TemporaryDirectory directory;
    Common::FirmwareDescriptionValidator validator;
    ASSERT_FALSE(validator.Open(writeKey(ecKey(), directory).certificate));
    const std::string manifest = GetParam().make();
    // No limit that hides what the attack is about.
    for (std::size_t limit = 0; limit <= enough; limit += mebibyte) {
        EXPECT_TRUE(worksWithin(limit,
                                [&] {
                                    if (validator.ValidateSignature(manifest) == true) {
                                        throw std::runtime_error("accepted");
                                    }
                                }))
            << "with " << limit << " bytes";
    }
}

INSTANTIATE_TEST_SUITE_P(Reading, AddressSpaceAttack,
                         testing::Values(Text{"HiddenFiles", hiddenFiles},
                                         Text{"LostComment", lostComment}),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace Norv::Corvane::Test
