#include "ReadingAttack.h"

#include <gmock/gmock.h>
#include <libxml/xmlversion.h>

#include <boost/optional/optional_io.hpp>
#include <optional>

#include "HostState.h"
#include "ManifestReading.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Norv/Corvane/Common/FirmwarePackage.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {
namespace {

using Common::ValidationError;

// Later versions of libxml2 make no document where they had no room for a name.
constexpr bool goesOnWithoutRoom = LIBXML_VERSION < 21300;

TEST_P(ReadingAttackTest, IsRefused) {
    const TemporaryDirectory directory;
    Common::FirmwareDescriptionValidator validator;
    ASSERT_FALSE(validator.Open(writeKey(ecKey(), directory).certificate));
    std::optional<TightDictionary> tight;
    if (GetParam().room == Room::Tight) {
        tight.emplace();
    }
    const std::string manifest = GetParam().manifest();
    if (goesOnWithoutRoom) {
        const std::string meant = signedReadingOf(manifest, ecKey());
        ASSERT_THAT(meant, testing::HasSubstr("total"));
        ASSERT_NE(readingOf(manifest), meant);
    }

    const LogCapture log;
    boost::optional<bool> verdict;
    EXPECT_EQ(changesToHost([&] { verdict = validator.ValidateSignature(manifest); }), "");
    EXPECT_NE(verdict, true) << "read: " << readingOf(manifest);
    const auto package =
        Common::FirmwarePackage::Create(PackageBuilder().manifestText(manifest).build(directory));
    ASSERT_TRUE(package);
    const auto result = package->validateAndGetFirmwareDescription(validator);
    const auto* const error = boost::get<std::error_code>(&result);
    ASSERT_NE(error, nullptr);
    EXPECT_THAT(*error, testing::AnyOf(make_error_code(ValidationError::ValidationProcessError),
                                       make_error_code(ValidationError::InvalidSignature)));
    EXPECT_THAT(log.records(), testing::IsEmpty());
    tight.reset();
    EXPECT_EQ(validator.ValidateSignature(genuine()), true);
}

}  // namespace
}  // namespace Norv::Corvane::Test
