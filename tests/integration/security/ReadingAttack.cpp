#include "ReadingAttack.h"

#include <gmock/gmock.h>
#include <libxml/xmlversion.h>

#include <boost/optional/optional_io.hpp>
#include <cctype>
#include <optional>
#include <set>

#include "HostState.h"
#include "ManifestMutations.h"
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

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// Parts of names, but for what is known in any case.
std::set<std::string> wordsIn(const std::string& text) {
    std::set<std::string> words;
    for (std::size_t begin = 0; begin < text.size(); ++begin) {
        std::size_t end = begin;
        while (end < text.size() && isNameCharacter(text[end])) {
            ++end;
        }
        const bool starts = begin > 0 && (text[begin - 1] == '<' || text[begin - 1] == ' ' ||
                                          text[begin - 1] == ':');
        if (starts && end > begin && text.find_first_of("=: />", end) == end &&
            std::isalpha(static_cast<unsigned char>(text[begin])) != 0) {
            words.insert(text.substr(begin, end - begin));
        }
        begin = end;
    }
    for (const char* const word : {"xml", "xmlns", "xsi", "FirmwareDescription"}) {
        words.erase(word);
    }
    return words;
}

std::size_t findElement(const std::string& text, const std::string& name) {
    std::size_t at = 0;
    do {
        at = text.find("<" + name, at + 1);
    } while (at != std::string::npos && isNameCharacter(text[at + 1 + name.size()]));
    if (at == std::string::npos) {
        throw std::runtime_error("nothing to hide: " + name);
    }
    return at;
}

}  // namespace

std::string plainManifest() {
    return PackageBuilder()
        .firmware("app/firmware.bin", "firmware")
        .script("app/Script.run", "exit 0")
        .withoutSignature()
        .manifest();
}

std::string genuine(const std::string& unsignedText, const std::string& canonicalisation) {
    SignatureForm form;
    form.method = Algorithm::ecdsaSha256;
    form.canonicalisation = canonicalisation;
    form.references[0].transforms[1] = canonicalisation;
    return signAs(unsignedText, form, ecKey());
}

std::string genuine() {
    return genuine(plainManifest(), Algorithm::exclusive);
}

std::string withSignatureFirst(const std::string& text) {
    return withSignatureBefore(text, "<ManufacturerId");
}

std::string upToObject(const std::string& text) {
    return text.substr(0, text.find("</Signature>")) + "<Object>";
}

std::string withObject(const std::string& text, const std::string& content) {
    return insertedBefore(text, "</Signature>", "<Object>" + content + "</Object>");
}

std::string namesOf(const std::string& text) {
    std::string instructions = "<?p?><?xsi:type?>";
    for (const std::string& word : wordsIn(text)) {
        instructions += "<?" + word + "?>";
    }
    return instructions;
}

std::string declaredNamesOf(const std::string& text) {
    std::string declarations;
    for (const std::string& word : wordsIn(text)) {
        declarations += " xmlns:" + word + "=\"http://www.w3.org/2000/09/xmldsig#\"";
    }
    return declarations;
}

std::string filledByDeclarations(const Edit& hide) {
    // Dictionaries are tight from the first instruction or element on.
    const std::string signedText = genuine(
        insertedBefore(plainManifest(), "<Firm", "<?made by='hand'?>"), Algorithm::exclusive);
    std::string text = hide(signedText);
    // Known by then, and never declared.
    for (const std::string before : {"<", "</", " "}) {
        text = everywhere(text, before + "p:", before + "FirmwareDescription:");
    }
    const std::size_t end = text.find('>', text.find("<Firm"));
    const std::string head = text.substr(0, end) + declaredNamesOf(text);
    return head + fillingDeclarations(head, Room::Tight) + text.substr(end);
}

std::string withHiddenElement(const std::string& text, const std::string& name) {
    const std::size_t begin = findElement(text, name);
    const std::size_t end = text.find("</" + name + ">", begin);
    std::string hidden = text;
    if (end != std::string::npos) {
        hidden.insert(end + 2, "p:");
    }
    return hidden.insert(begin + 1, "p:");
}

std::string withHiddenAttribute(const std::string& text, const std::string& element,
                                const std::string& attribute) {
    const std::size_t at = text.find(" " + attribute + "=", findElement(text, element));
    if (at == std::string::npos) {
        throw std::runtime_error("nothing to hide: " + attribute);
    }
    return std::string(text).insert(at + 1, "p:");
}

}  // namespace Norv::Corvane::Test
