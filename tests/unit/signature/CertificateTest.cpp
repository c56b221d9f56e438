#include <gmock/gmock.h>
#include <openssl/bio.h>
#include <openssl/pem.h>

#include <boost/optional/optional_io.hpp>

#include "HostState.h"
#include "LeakCheckPause.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {
namespace {

using Common::XmlSecError;
using testing::ElementsAre;
using testing::IsEmpty;

// A PEM block that cannot be read without a password.
std::string encrypted(const std::string& label, const std::string& pem) {
    const std::size_t body = pem.find('\n') + 1;
    return "-----BEGIN " + label +
           "-----\nProc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,"
           "00112233445566778899AABBCCDDEEFF\n\n" +
           pem.substr(body, pem.rfind("-----END") - body) + "-----END " + label + "-----\n";
}

class Certificate : public ValidatorFixture {
protected:
    const std::string manifest = PackageBuilder().firmware("a", "b").manifest();

    // The file cannot be trusted, and neither is anything else any more.
    void expectNotLoaded(const boost::filesystem::path& path) {
        ASSERT_EQ(validator.ValidateSignature(manifest), true);
        std::error_code result;
        EXPECT_EQ(changesToHost([&] { result = validator.Open(path); }), "");
        EXPECT_EQ(result, make_error_code(XmlSecError::CertLoadingFailed));
        EXPECT_THAT(log.records(),
                    ElementsAre(LogRecord{spdlog::level::err, "xmlSecCryptoAppKeyLoad failed",
                                          "LoadTrustedCert"}));
        EXPECT_EQ(validator.ValidateSignature(manifest), boost::none);
    }
};

TEST_F(Certificate, IsDroppedWhenTheNextFileDoesNotExist) {
    const LeakCheckPause pause;  // xmlsec 1.2 loses the stream of a file that cannot be opened
    expectNotLoaded(directory / "none.pem");
}

TEST_F(Certificate, IsDroppedWhenTheNextFileIsText) {
    expectNotLoaded(directory.write("text.pem", "no certificate\n"));
}

TEST_F(Certificate, IsDroppedWhenTheNextFileIsEmpty) {
    expectNotLoaded(directory.write("empty.pem", ""));
}

TEST_F(Certificate, IsDroppedWhenTheNextFileIsADirectory) {
    expectNotLoaded(directory.path());
}

TEST_F(Certificate, IsDroppedWhenTheNextFileHoldsAPrivateKeyOnly) {
    expectNotLoaded(keys.key);
}

TEST_F(Certificate, IsDroppedWhenTheNextFileIsDamaged) {
    std::string pem = rsaKey().certificatePem;
    pem[pem.size() / 2] = '*';
    expectNotLoaded(directory.write("damaged.pem", pem));
}

// A prompt would wait for the terminal: the test would not end.
TEST_F(Certificate, IsNotAskedAPasswordFor) {
    expectNotLoaded(
        directory.write("encrypted.pem", encrypted("CERTIFICATE", rsaKey().certificatePem)));
}

TEST_F(Certificate, OfAnotherKeyReplacesTheFirst) {
    const KeyFiles other = writeKey(strangerKey(), directory, "other");
    ASSERT_FALSE(validator.Open(other.certificate));
    EXPECT_EQ(validator.ValidateSignature(manifest), false);
    EXPECT_EQ(validator.ValidateSignature(
                  PackageBuilder().firmware("a", "b").signedBy(strangerKey()).manifest()),
              true);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(Certificate, IsItsValidatorsOwn) {
    const KeyFiles other = writeKey(strangerKey(), directory, "other");
    Common::FirmwareDescriptionValidator second;
    ASSERT_FALSE(second.Open(other.certificate));
    EXPECT_EQ(second.ValidateSignature(manifest), false);
    EXPECT_EQ(validator.ValidateSignature(manifest), true);
}

TEST_F(Certificate, MayBeOpenedAgainAfterClose) {
    validator.Close();
    validator.Close();
    ASSERT_FALSE(validator.Open(keys.certificate));
    EXPECT_EQ(validator.ValidateSignature(manifest), true);
}

TEST_F(Certificate, LoadsByItselfAsWell) {
    EXPECT_NE(Common::FirmwareDescriptionValidator::LoadTrustedCert(keys.certificate), nullptr);
    const LeakCheckPause pause;  // xmlsec 1.2 loses the stream of a file that cannot be opened
    EXPECT_EQ(Common::FirmwareDescriptionValidator::LoadTrustedCert(directory / "none"), nullptr);
}

// The validity period and the issuer of the trusted certificate do not matter.
TEST_F(Certificate, FirstInTheFileIsTheTrustedOne) {
    ASSERT_FALSE(validator.Open(
        directory.write("two.pem", rsaKey().certificatePem + strangerKey().certificatePem)));
    EXPECT_EQ(validator.ValidateSignature(manifest), true);
    EXPECT_EQ(validator.ValidateSignature(
                  PackageBuilder().firmware("a", "b").signedBy(strangerKey()).manifest()),
              false);
}

}  // namespace
}  // namespace Norv::Corvane::Test
