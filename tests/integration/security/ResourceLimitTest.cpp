// What nobody signed must not cost much: time, memory, or access to anything outside.

#include <gtest/gtest.h>

#include <memory>

#include "HostileTexts.h"
#include "PackageBuilder.h"
#include "Sandbox.h"

namespace Norv::Corvane::Test {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

class ResourceLimit : public testing::TestWithParam<HostileText> {
protected:
    // One for all of them: signing a text of that size, and checking it, takes long under an
    // emulator.
    static void SetUpTestSuite() {
        shared_ = std::make_unique<Shared>();
        honest_ = usageOf(honestText(mebibyte), true);
        ASSERT_TRUE(honest_.finished);
    }
    static void TearDownTestSuite() { shared_.reset(); }

    static Usage usageOf(const std::string& manifest, bool genuine) {
        return measured([&] {
            Common::FirmwareDescriptionValidator validator;
            if (validator.Open(shared_->keys.certificate) ||
                (validator.ValidateSignature(manifest) == true) != genuine) {
                throw std::runtime_error(genuine ? "refused" : "accepted");
            }
        });
    }

    static inline Usage honest_;

private:
    struct Shared {
        const TemporaryDirectory directory;
        const KeyFiles keys = writeKey(rsaKey(), directory);
    };
    static inline std::unique_ptr<Shared> shared_;
};

TEST_P(ResourceLimit, IsTwoSecondsAndSixtyFourMebibytesAboveAnHonestManifest) {
    const std::string manifest = GetParam().make(mebibyte);
    ASSERT_LE(manifest.size(), mebibyte + mebibyte / 4);
    const Usage hostile = usageOf(manifest, false);
    ASSERT_TRUE(hostile.finished);
    EXPECT_LE(hostile.seconds, honest_.seconds + 2 * slowness());
    if (measuresMemory()) {
        EXPECT_LE(hostile.memory, honest_.memory + 64 * mebibyte);
    }
    RecordProperty("milliseconds", static_cast<int>(hostile.seconds * 1000));
    RecordProperty("kibibytes", static_cast<int>(hostile.memory / 1024));
}

std::string nameOfText(const testing::TestParamInfo<HostileText>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Costly, ResourceLimit, testing::ValuesIn(costlyTexts()), nameOfText);
INSTANTIATE_TEST_SUITE_P(Borderline, ResourceLimit, testing::ValuesIn(borderlineTexts()),
                         nameOfText);

// The measure itself: it must see what it is there to see.
TEST(Measured, SeesTimeAndMemory) {
    const Usage idle = measured([] {});
    const Usage busy = measured([] {
        const std::string large(32 * mebibyte, 'x');
        volatile std::size_t sum = 0;
        for (int i = 0; i < 3; ++i) {
            for (const char c : large) {
                sum = sum + static_cast<std::size_t>(c);
            }
        }
    });
    EXPECT_GT(busy.seconds, idle.seconds + 0.01);
    EXPECT_GT(busy.memory, idle.memory + 31 * mebibyte);
    EXPECT_FALSE(measured([] { throw 1; }).finished);
}

}  // namespace
}  // namespace Norv::Corvane::Test
