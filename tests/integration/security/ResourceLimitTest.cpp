// What nobody signed must not cost much: time, memory, or access to anything outside.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "HostileTexts.h"
#include "PackageBuilder.h"
#include "Sandbox.h"

namespace Norv::Corvane::Test {
namespace {

struct Case {
    HostileText text;
    std::size_t mebibytes;
};

std::ostream& operator<<(std::ostream& out, const Case& one) {
    return out << one.text << " of " << one.mebibytes << " MiB";
}

class ResourceLimit : public testing::TestWithParam<Case> {
protected:
    static void SetUpTestSuite() { shared_ = std::make_unique<Shared>(); }
    static void TearDownTestSuite() { shared_.reset(); }

    // Of that size, or the largest that is accepted. One for all of them: signing it, and checking
    // it, takes long under an emulator.
    static const Usage& honest(std::size_t mebibytes) {
        constexpr std::size_t largest = 18;
        const auto [usage, made] = shared_->honest.try_emplace(std::min(mebibytes, largest));
        if (made) {
            usage->second = usageOf(honestText(usage->first * mebibyte), true);
        }
        return usage->second;
    }

    static Usage usageOf(const std::string& manifest, bool genuine) {
        return measured([&] {
            Common::FirmwareDescriptionValidator validator;
            if (validator.Open(shared_->keys.certificate) ||
                (validator.ValidateSignature(manifest) == true) != genuine) {
                throw std::runtime_error(genuine ? "refused" : "accepted");
            }
        });
    }

private:
    struct Shared {
        const TemporaryDirectory directory;
        const KeyFiles keys = writeKey(rsaKey(), directory);
        std::map<std::size_t, Usage> honest;
    };
    static inline std::unique_ptr<Shared> shared_;
};

TEST_P(ResourceLimit, IsTwoSecondsAndSixtyFourMebibytesAboveAnHonestManifest) {
    const std::size_t size = GetParam().mebibytes * mebibyte;
    const Usage& usual = honest(GetParam().mebibytes);
    ASSERT_TRUE(usual.finished);
    const std::string manifest = GetParam().text.make(size);
    ASSERT_LE(manifest.size(), size + mebibyte / 4);
    const Usage hostile = usageOf(manifest, false);
    ASSERT_TRUE(hostile.finished);
    EXPECT_LE(hostile.seconds, usual.seconds + 2 * slowness());
    if (measuresMemory()) {
        EXPECT_LE(hostile.memory, usual.memory + 64 * mebibyte);
    }
    RecordProperty("milliseconds", static_cast<int>(hostile.seconds * 1000));
    RecordProperty("kibibytes", static_cast<int>(hostile.memory / 1024));
}

std::string nameOfCase(const testing::TestParamInfo<Case>& info) {
    return info.param.text.name + "Of" + std::to_string(info.param.mebibytes);
}

std::vector<Case> withSizes(const std::vector<HostileText>& texts,
                            const std::vector<std::size_t>& mebibytes) {
    std::vector<Case> cases;
    for (const HostileText& text : texts) {
        for (const std::size_t size : mebibytes) {
            cases.push_back({text, size});
        }
    }
    return cases;
}

// Large ones only where no sanitizer and no emulator multiplies what they take.
std::vector<std::size_t> sizes(std::vector<std::size_t> native) {
    return slowness() < 2 ? native : std::vector<std::size_t>{1};
}

INSTANTIATE_TEST_SUITE_P(Costly, ResourceLimit, testing::ValuesIn(withSizes(costlyTexts(), {1})),
                         nameOfCase);
INSTANTIATE_TEST_SUITE_P(Borderline, ResourceLimit,
                         testing::ValuesIn(withSizes(borderlineTexts(), {1})), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Growing, ResourceLimit,
                         testing::ValuesIn(withSizes(growingTexts(), sizes({1, 8}))), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Large, ResourceLimit,
                         testing::ValuesIn(withSizes(largeTexts(), sizes({1, 8, 63}))), nameOfCase);

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
