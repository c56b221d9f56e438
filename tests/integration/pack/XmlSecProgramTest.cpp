// Signatures made here and checked by the stock xmlsec1 program, and the other way round.

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "PackageBuilder.h"
#include "Process.h"
#include "ValidatorFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;

constexpr char inclusiveC14n[] = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
constexpr char exclusiveC14n[] = "http://www.w3.org/2001/10/xml-exc-c14n#";

class XmlSecProgram : public ValidatorFixture {
protected:
    // From 1.3 on, the program takes no key that the signature does not name unless told otherwise.
    static std::vector<std::string> program(const std::string& mode) {
        std::vector<std::string> command{"xmlsec1", mode};
        if (run({"xmlsec1", "--version"}).out.find("xmlsec1 1.2") == std::string::npos) {
            command.emplace_back("--lax-key-search");
        }
        return command;
    }

    // Whether xmlsec1 finds the text signed by the certificate's key.
    bool verifies(const std::string& text, const KeyFiles& files) const {
        const std::string path = directory.write("verify.xml", text).string();
        std::vector<std::string> command = program("--verify");
        command.insert(command.end(), {"--pubkey-cert-pem", files.certificate.string(), path});
        const ProcessResult result = run(command);
        EXPECT_NE(result.status, 127) << "xmlsec1 is not installed";
        return result.status == 0;
    }

    // An unsigned manifest with an empty signature for xmlsec1 to fill in.
    std::string signatureTemplate(const std::string& c14n, const std::string& keyInfo) const {
        std::string xml = PackageBuilder().firmware("app", "program").withoutSignature().manifest();
        const std::string signature =
            "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#'><ds:SignedInfo>"
            "<ds:CanonicalizationMethod Algorithm='" +
            c14n +
            "'/><ds:SignatureMethod "
            "Algorithm='http://www.w3.org/2001/04/xmldsig-more#rsa-sha256'/>"
            "<ds:Reference URI=''><ds:Transforms><ds:Transform "
            "Algorithm='http://www.w3.org/2000/09/xmldsig#enveloped-signature'/><ds:Transform "
            "Algorithm='" +
            c14n +
            "'/></ds:Transforms><ds:DigestMethod "
            "Algorithm='http://www.w3.org/2001/04/xmlenc#sha256'/><ds:DigestValue/>"
            "</ds:Reference></ds:SignedInfo><ds:SignatureValue/>" +
            keyInfo + "</ds:Signature>";
        xml.insert(xml.find("</FirmwareDescription>"), signature);
        return xml;
    }

    // The template with a signature made by xmlsec1.
    std::string sign(const std::string& text, const KeyFiles& files) const {
        const std::string input = directory.write("template.xml", text).string();
        const std::string signedPath = (directory / "signed.xml").string();
        std::vector<std::string> command = program("--sign");
        command.insert(command.end(),
                       {"--privkey-pem", files.key.string() + "," + files.certificate.string(),
                        "--output", signedPath, input});
        const ProcessResult result = run(command);
        EXPECT_EQ(result.status, 0) << result.err;
        return readFile(signedPath);
    }
};

TEST_F(XmlSecProgram, VerifiesRsaSignaturesOfOurs) {
    const std::string manifest =
        PackageBuilder().firmware("a & b", "program").script("Script.run", "exit 0").manifest();
    EXPECT_TRUE(verifies(manifest, keys));
}

TEST_F(XmlSecProgram, VerifiesEllipticCurveSignaturesOfOurs) {
    EXPECT_TRUE(verifies(PackageBuilder().signedBy(ecKey()).manifest(),
                         writeKey(ecKey(), directory, "ec")));
}

TEST_F(XmlSecProgram, DoesNotVerifyTamperedManifestsOfOurs) {
    EXPECT_FALSE(verifies(
        PackageBuilder()
            .tamper([](std::string& xml) { xml.replace(xml.find("1.2.3.4"), 7, "1.2.3.5"); })
            .manifest(),
        keys));
    EXPECT_FALSE(verifies(PackageBuilder().signedBy(strangerKey()).manifest(), keys));
}

TEST_F(XmlSecProgram, SignsPackagesThatTheLibraryAccepts) {
    for (const char* c14n : {exclusiveC14n, inclusiveC14n}) {
        const std::string manifest = sign(signatureTemplate(c14n, ""), keys);
        const auto package =
            PackageBuilder().firmware("app", "program").manifestText(manifest).build(directory);
        const auto zip = Common::FirmwareZipValidator(validator).ValidateFirmwareZipFile(package);
        ASSERT_TRUE(zip) << c14n;
        EXPECT_TRUE(zip->package.validate(zip->description.files.at(0)));
    }
}

TEST_F(XmlSecProgram, SignsManifestsWhoseKeyInfoTheLibraryDoesNotNeed) {
    for (const char* keyInfo :
         {"<ds:KeyInfo><ds:X509Data/></ds:KeyInfo>", "<ds:KeyInfo><ds:KeyValue/></ds:KeyInfo>"}) {
        const std::string manifest = sign(signatureTemplate(exclusiveC14n, keyInfo), keys);
        EXPECT_EQ(validator.ValidateSignature(manifest), boost::make_optional(true)) << keyInfo;
    }
}

TEST_F(XmlSecProgram, SignaturesThatBringTheirOwnKeyAreNotTrusted) {
    const KeyFiles stranger = writeKey(strangerKey(), directory, "stranger");
    for (const char* keyInfo : {"", "<ds:KeyInfo><ds:X509Data/></ds:KeyInfo>",
                                "<ds:KeyInfo><ds:KeyValue/></ds:KeyInfo>"}) {
        const std::string manifest = sign(signatureTemplate(exclusiveC14n, keyInfo), stranger);
        EXPECT_EQ(validator.ValidateSignature(manifest), boost::make_optional(false)) << keyInfo;
    }
}

TEST_F(XmlSecProgram, SignaturesThatAreChangedAfterwardsAreNotTrusted) {
    std::string manifest = sign(signatureTemplate(exclusiveC14n, ""), keys);
    ASSERT_EQ(validator.ValidateSignature(manifest), boost::make_optional(true));
    manifest.replace(manifest.find("1.2.3.4"), 7, "1.2.3.5");
    EXPECT_EQ(validator.ValidateSignature(manifest), boost::make_optional(false));
}

}  // namespace
