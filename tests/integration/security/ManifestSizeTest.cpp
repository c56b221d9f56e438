// Packages that lie about the size of their manifest.

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>

#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Norv/Corvane/Common/FirmwarePackage.h"
#include "PackageBuilder.h"
#include "Sandbox.h"

namespace Norv::Corvane::Test {
namespace {

using Common::ValidationError;

std::string number(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> 8 * i & 0xFF);
    }
    return text;
}

std::uint32_t checksum(const std::string& data) {
    std::uint32_t sum = ~0U;
    for (const char c : data) {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum >> 1 ^ (sum % 2 != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~sum;
}

// A zip archive with one deflated entry whose uncompressed size is a claim. Sizes of 32 bits and
// more are stated in the 64-bit extension.
std::string archiveClaiming(std::uint64_t claimed, const std::string& data) {
    const std::string name = "FirmwareDescription.xml";
    // One block of deflate that holds its data as it is.
    const std::string block =
        number(1, 1) + number(data.size(), 2) + number(~data.size() & 0xFFFF, 2) + data;
    const bool large = claimed >= 0xFFFFFFFF;
    const std::string extra = large ? number(1, 2) + number(8, 2) + number(claimed, 8) : "";
    const std::string common = number(large ? 45 : 20, 2) + number(0, 2) + number(8, 2) +
                               number(0, 2) + number(0x21, 2) + number(checksum(data), 4) +
                               number(block.size(), 4) + number(large ? 0xFFFFFFFF : claimed, 4) +
                               number(name.size(), 2);
    const std::string local = number(0x04034B50, 4) + common + number(0, 2) + name + block;
    const std::string directory = number(0x02014B50, 4) + number(45, 2) + common +
                                  number(extra.size(), 2) + number(0, 2) + number(0, 2) +
                                  number(0, 2) + number(0, 4) + number(0, 4) + name + extra;
    return local + directory + number(0x06054B50, 4) + number(0, 2) + number(0, 2) + number(1, 2) +
           number(1, 2) + number(directory.size(), 4) + number(local.size(), 4) + number(0, 2);
}

class ManifestSize : public testing::Test {
protected:
    // Throws when the result is another one, or the archive cannot be opened at all.
    void expect(const std::string& archive, const char* message) {
        Common::FirmwareDescriptionValidator validator;
        const auto package =
            Common::FirmwarePackage::Create(directory.write("package.zip", archive));
        if (validator.Open(keys.certificate) || !package) {
            throw std::runtime_error("no package");
        }
        const auto result = package->validateAndGetFirmwareDescription(validator);
        const auto* const error = boost::get<std::error_code>(&result);
        const std::string found = error == nullptr ? "success" : error->message();
        if (found != message) {
            throw std::runtime_error(found);
        }
    }

    const TemporaryDirectory directory;
    const KeyFiles keys = writeKey(rsaKey(), directory);
    const std::string manifest = PackageBuilder().firmware("a", "b").manifest();
};

TEST_F(ManifestSize, IsTakenFromAnHonestArchive) {
    ASSERT_NO_THROW(expect(archiveClaiming(manifest.size(), manifest), "success"));
}

struct Claim {
    std::string name;
    std::uint64_t size;
};

std::ostream& operator<<(std::ostream& out, const Claim& claim) {
    return out << claim.name;
}

class ClaimedSize : public ManifestSize, public testing::WithParamInterface<Claim> {};

// The process lives on: it opens an honest package afterwards.
TEST_P(ClaimedSize, IsNotBelieved) {
    const std::string lying = archiveClaiming(GetParam().size, manifest);
    const std::string honest = archiveClaiming(manifest.size(), manifest);
    ASSERT_NO_THROW(expect(lying, "error in validation process"));
    ASSERT_NO_THROW(expect(honest, "success"));
    EXPECT_TRUE(worksWithin(48 * mebibyte, [&] {
        expect(lying, "error in validation process");
        expect(honest, "success");
    }));
}

INSTANTIATE_TEST_SUITE_P(
    All, ClaimedSize,
    testing::Values(Claim{"SixtyFourMebibytesAndOne", (64 << 20) + 1},
                    Claim{"OneGibibyte", std::uint64_t{1} << 30},
                    Claim{"TwoGibibytesLessOne", (std::uint64_t{1} << 31) - 1},
                    Claim{"TwoGibibytes", std::uint64_t{1} << 31},
                    Claim{"FourGibibytesLessTwo", (std::uint64_t{1} << 32) - 2},
                    Claim{"FourGibibytes", std::uint64_t{1} << 32},
                    Claim{"FourGibibytesAndTen", (std::uint64_t{1} << 32) + 10},
                    // What a 32-bit size would take for the true size.
                    Claim{"FourGibibytesAndTwoThousand", (std::uint64_t{1} << 32) + 2000},
                    Claim{"TwoToThe62nd", std::uint64_t{1} << 62}, Claim{"Nothing", 0},
                    Claim{"TenBytes", 10}, Claim{"ThousandBytes", 1000}),
    [](const auto& test) { return test.param.name; });

// Small enough to be tried. The manifest is all there, and ends long before.
TEST_F(ManifestSize, TakesNoMoreMemoryThanDataThatArrives) {
    const std::string lying = archiveClaiming(60 * mebibyte, manifest);
    ASSERT_NO_THROW(expect(lying, "success"));
    if (!measuresMemory()) {
        return;
    }
    const Usage usage = measured([&] { expect(lying, "success"); });
    EXPECT_TRUE(usage.finished);
    EXPECT_LT(usage.memory, 8.0 * mebibyte);
}

}  // namespace
}  // namespace Norv::Corvane::Test
