#include "Attack.h"

#include <gmock/gmock.h>

#include <boost/optional/optional_io.hpp>
#include <optional>
#include <set>
#include <string>

#include "HostState.h"
#include "LeakCheckPause.h"
#include "ManifestReading.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Norv/Corvane/Common/FirmwarePackage.h"
#include "PackageBuilder.h"
#include "Sandbox.h"
#include "TrustStore.h"

namespace Norv::Corvane::Test {

const std::string evilFile =
    R"(<File xsi:type="ScriptFileType" LocalFilePath="evil/Script.run")"
    R"( RemoteFilePath="evil/Script.run" HashValue="AAAA" HashAlgorithm="sha256" Length="4"/>)";

const std::string& honestManifest() {
    static const std::string manifest = PackageBuilder()
                                            .firmware("app/firmware.bin", "firmware")
                                            .firmware("app/data.bin", "data")
                                            .script("app/Script.run", "exit 0")
                                            .manifest();
    return manifest;
}

std::string evilManifest() {
    return PackageBuilder().script("evil/Script.run", "rm -r /").withoutSignature().manifest();
}

std::string forged(const SignatureForm& form, const TestKey& key) {
    return signAs(evilManifest(), form, key);
}

std::string base64Of(const std::string& pem) {
    const std::size_t begin = pem.find('\n') + 1;
    return pem.substr(begin, pem.rfind("\n-----END") - begin);
}

namespace {

using Common::ValidationError;

// xmlsec 1.2 loses an input buffer when the transform that reads from it fails at the end.
bool makesXmlSecLoseMemory(const std::string& attack) {
    static const std::set<std::string> attacks = {"Base64", "EnvelopedBehindCanonicalisation",
                                                  "StyleSheetThatReads", "StyleSheetWithoutEnd"};
    return attacks.count(attack) != 0;
}

TEST_P(AttackTest, IsRefused) {
    std::optional<LeakCheckPause> pause;
    if (makesXmlSecLoseMemory(GetParam().name)) {
        pause.emplace();
    }
    const TemporaryDirectory directory;
    const KeyFiles keys = writeKey(rsaKey(), directory);
    const TrustStore store(authorityKey());
    Common::FirmwareDescriptionValidator validator;
    ASSERT_FALSE(validator.Open(keys.certificate));
    const std::string manifest = GetParam().manifest();
    ASSERT_NE(manifest, honestManifest());

    const LogCapture log;
    boost::optional<bool> verdict;
    EXPECT_EQ(changesToHost([&] { verdict = validator.ValidateSignature(manifest); }), "");
    EXPECT_NE(verdict, true) << manifest;
    EXPECT_TRUE(staysInside([&] { validator.ValidateSignature(manifest); }));

    const auto package =
        Common::FirmwarePackage::Create(PackageBuilder().manifestText(manifest).build(directory));
    ASSERT_TRUE(package);
    const auto result = package->validateAndGetFirmwareDescription(validator);
    const auto* const error = boost::get<std::error_code>(&result);
    ASSERT_NE(error, nullptr) << "read: " << readingOf(manifest);
    EXPECT_THAT(*error, testing::AnyOf(make_error_code(ValidationError::ValidationProcessError),
                                       make_error_code(ValidationError::InvalidSignature)));
    EXPECT_THAT(log.records(), testing::IsEmpty());
    // Whatever the attack did, the validator still tells right from wrong.
    EXPECT_EQ(validator.ValidateSignature(honestManifest()), true);
}

}  // namespace
}  // namespace Norv::Corvane::Test
