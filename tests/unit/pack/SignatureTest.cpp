#include "Signature.h"

#include <gmock/gmock.h>

#include <boost/optional/optional_io.hpp>

#include "Error.h"
#include "Keys.h"
#include "PackageBuilder.h"
#include "Process.h"
#include "ValidatorFixture.h"

namespace {

using namespace Norv::Corvane::Test;
using Norv::Corvane::Pack::PackError;
using Norv::Corvane::Pack::Signer;
using testing::HasSubstr;

class PackSignature : public ValidatorFixture {
protected:
    std::string refusal(const std::string& key, const std::string& certificate) const {
        try {
            const Signer signer(key, certificate);
        } catch (const PackError& error) {
            return error.what();
        }
        return "";
    }
};

TEST_F(PackSignature, IsTheLastChildOfTheRoot) {
    const std::string text = signXml("<a><b/></a>", rsaKey());
    EXPECT_LT(text.find("<b/>"), text.find("<Signature"));
    EXPECT_EQ(text.substr(text.size() - 17), "</Signature></a>\n");
}

TEST_F(PackSignature, UsesRsaSha256ExclusiveCanonicalXmlAndSha256) {
    const std::string text = signXml("<a/>", rsaKey());
    EXPECT_THAT(text, HasSubstr("http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"));
    EXPECT_THAT(text, HasSubstr("<CanonicalizationMethod "
                                "Algorithm=\"http://www.w3.org/2001/10/xml-exc-c14n#\"/>"));
    EXPECT_THAT(text, HasSubstr("http://www.w3.org/2001/04/xmlenc#sha256"));
    EXPECT_THAT(text, HasSubstr("http://www.w3.org/2000/09/xmldsig#enveloped-signature"));
    EXPECT_THAT(text, HasSubstr("<Reference URI=\"\">"));
}

TEST_F(PackSignature, UsesEcdsaSha256ForEllipticCurveKeys) {
    EXPECT_THAT(signXml("<a/>", ecKey()),
                HasSubstr("http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256"));
}

TEST_F(PackSignature, OfTheSameTextIsTheSameTwice) {
    EXPECT_EQ(signXml("<a/>", rsaKey()), signXml("<a/>", rsaKey()));
}

TEST_F(PackSignature, CarriesTheCertificateOnlyOnRequest) {
    Signer signer(keys.key.string(), keys.certificate.string());
    EXPECT_EQ(signer.sign("<a/>").find("X509Certificate"), std::string::npos);
    signer.includeCertificate(true);
    const std::string text = signer.sign("<a/>");
    EXPECT_NE(text.find("<X509Certificate>MII"), std::string::npos);
    EXPECT_EQ(validator.ValidateSignature(text), boost::make_optional(true));
}

TEST_F(PackSignature, CoversTextThatNeedsEscaping) {
    EXPECT_EQ(validator.ValidateSignature(signXml(
                  "<a b=\"&lt;&amp;&quot;&#10;\xc3\xa9\">&#13;\xf0\x9f\x94\x91</a>", rsaKey())),
              boost::make_optional(true));
}

TEST_F(PackSignature, IsRefusedForTextThatIsNotXml) {
    const std::string reason =
        "the manifest is not well-formed XML (a control character, or text that is not UTF-8)";
    for (const char* text : {"", "text", "<a>", "<a b=\"\x01\"/>", "<a b=\"\xff\"/>"}) {
        try {
            signXml(text, rsaKey());
            ADD_FAILURE() << text;
        } catch (const PackError& error) {
            EXPECT_EQ(error.what(), reason) << text;
        }
    }
}

TEST_F(PackSignature, NeedsAKeyThatBelongsToTheCertificate) {
    const KeyFiles stranger = writeKey(strangerKey(), directory, "stranger");
    EXPECT_EQ(refusal(keys.key.string(), stranger.certificate.string()),
              "the key in " + keys.key.string() + " does not belong to the certificate in " +
                  stranger.certificate.string());
}

TEST_F(PackSignature, NamesTheFileThatCannotBeRead) {
    EXPECT_EQ(refusal("/absent.pem", keys.certificate.string()),
              "cannot open /absent.pem: No such file or directory");
    EXPECT_EQ(refusal(keys.certificate.string(), keys.certificate.string()),
              keys.certificate.string() + " holds no private key");
    EXPECT_EQ(refusal(keys.key.string(), keys.key.string()),
              keys.key.string() + " holds no PEM certificate");
}

TEST_F(PackSignature, RefusesAnEncryptedKeyWithoutAskingForItsPassword) {
    const std::string encrypted = (directory / "encrypted.pem").string();
    ASSERT_EQ(run({"openssl", "pkey", "-in", keys.key.string(), "-aes128", "-passout", "pass:x",
                   "-out", encrypted})
                  .status,
              0);
    EXPECT_EQ(refusal(encrypted, keys.certificate.string()),
              "the key in " + encrypted + " is encrypted, and no passphrase is given");
}

TEST_F(PackSignature, RefusesKeysOfOtherKinds) {
    const std::string key = (directory / "ed.key").string();
    const std::string certificate = (directory / "ed.cert").string();
    ASSERT_EQ(run({"openssl", "req", "-x509", "-newkey", "ed25519", "-nodes", "-subj", "/CN=x",
                   "-keyout", key, "-out", certificate})
                  .status,
              0);
    EXPECT_EQ(refusal(key, certificate),
              "only RSA and EC keys can sign a package: devices do not take Ed25519");
}

}  // namespace
