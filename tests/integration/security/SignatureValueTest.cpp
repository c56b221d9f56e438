// Signature values of no sense for the trusted key: the arithmetic must not take any for a
// signature, whatever kind of key it is.

#include <boost/optional/optional_io.hpp>

#include "Attack.h"
#include "KeyValues.h"
#include "ManifestMutations.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"

namespace Norv::Corvane::Test {
namespace {

struct Kind {
    const TestKey& (*key)();
    std::string method;
    // Of a signature value, in bytes.
    std::size_t length;
};

std::ostream& operator<<(std::ostream& out, const Kind& kind) {
    return out << kind.method;
}

class SignatureValue : public testing::TestWithParam<Kind> {
protected:
    SignatureValue() { EXPECT_FALSE(validator_.Open(keys_.certificate)); }

    std::string genuine() const {
        SignatureForm form;
        form.method = GetParam().method;
        return signAs(withoutElement(honestManifest(), "Signature"), form, GetParam().key());
    }

    boost::optional<bool> verdict(const std::string& manifest) const {
        return validator_.ValidateSignature(manifest);
    }

    boost::optional<bool> verdictOn(const std::string& value) const {
        return verdict(withContent(genuine_, "SignatureValue", base64(value)));
    }

private:
    const TemporaryDirectory directory_;
    const KeyFiles keys_ = writeKey(GetParam().key(), directory_);
    const std::string genuine_ = genuine();
    Common::FirmwareDescriptionValidator validator_;
};

TEST_P(SignatureValue, OfOneByteRepeatedIsNotTrue) {
    for (const int byte : {0x00, 0x01, 0x02, 0x7F, 0x80, 0xFE, 0xFF}) {
        EXPECT_NE(verdictOn(std::string(GetParam().length, static_cast<char>(byte))), true) << byte;
    }
}

TEST_P(SignatureValue, OfZeroOrOneOfAnyLengthIsNotTrue) {
    const std::size_t full = GetParam().length;
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{2}, full / 2 - 1,
                                     full / 2, full - 1, full, full + 1, 2 * full}) {
        const std::string zeros(length, '\0');
        EXPECT_NE(verdictOn(zeros), true) << length;
        EXPECT_NE(verdictOn(zeros + '\1'), true) << length;
        EXPECT_NE(verdictOn('\1' + zeros), true) << length;
        EXPECT_NE(verdictOn(zeros + '\1' + zeros + '\1'), true) << length;
    }
}

TEST_P(SignatureValue, WithMoreOrFewerBytesIsNotTrue) {
    const std::string text = genuine();
    ASSERT_EQ(verdict(text), true);
    const std::string element = elementOf(text, "SignatureValue");
    const std::size_t begin = element.find('>') + 1;
    const std::string value = element.substr(begin, element.rfind('<') - begin);
    const std::size_t size = value.size();
    for (const std::string& changed :
         {value.substr(4), value.substr(0, size - 8), "AAAA" + value, value.substr(0, 4) + value,
          value.substr(size / 8 * 4) + value.substr(0, size / 8 * 4)}) {
        EXPECT_NE(verdict(withContent(text, "SignatureValue", changed)), true) << changed;
    }
}

std::string nameOfKind(const testing::TestParamInfo<Kind>& info) {
    const std::string& method = info.param.method;
    return everywhere(method.substr(method.find('#') + 1), "-", "_");
}

INSTANTIATE_TEST_SUITE_P(All, SignatureValue,
                         testing::Values(Kind{rsaKey, Algorithm::rsaSha256, 256},
                                         Kind{ecKey, Algorithm::ecdsaSha256, 64},
                                         Kind{dsaKey, Algorithm::dsaSha1, 40}),
                         nameOfKind);

}  // namespace
}  // namespace Norv::Corvane::Test
