#include "SignedInfo.h"

#include <gmock/gmock.h>

#include "Error.h"
#include "XmlText.h"

namespace {

using namespace Norv::Corvane::Pack;
using testing::HasSubstr;

std::string failure(const std::function<void()>& act) {
    try {
        act();
    } catch (const PackError& error) {
        return error.what();
    }
    return "";
}

TEST(PackSignedInfo, BytesToSignAreTheCanonicalElement) {
    const std::string bytes = bytesToSign(withEmptySignature("<a><b/></a>", {}));
    EXPECT_EQ(bytes.substr(0, 63),
              "<SignedInfo xmlns=\"http://www.w3.org/2000/09/xmldsig#\">\n<Canoni");
    EXPECT_THAT(bytes, HasSubstr("></CanonicalizationMethod>\n"));
    EXPECT_EQ(bytes.substr(bytes.size() - 13), "</SignedInfo>");
}

TEST(PackSignedInfo, BytesDependOnTheDocumentAndTheMethod) {
    const auto bytes = [](const char* xml, SignatureMethod method) {
        return bytesToSign(withEmptySignature(xml, {method, {}}));
    };
    const std::string first = bytes("<a/>", SignatureMethod::RsaSha256);
    EXPECT_EQ(bytes("<a></a>", SignatureMethod::RsaSha256), first);
    EXPECT_NE(bytes("<b/>", SignatureMethod::RsaSha256), first);
    EXPECT_NE(bytes("<a/>", SignatureMethod::EcdsaSha256), first);
}

TEST(PackSignedInfo, AValueGoesIntoAnEmptySignatureOnly) {
    const std::string prepared = withEmptySignature("<a/>", {});
    const std::string complete = withSignatureValue(prepared, {1, 2, 3});
    EXPECT_THAT(complete, HasSubstr("<SignatureValue>AQID</SignatureValue>"));
    EXPECT_EQ(failure([&] { withSignatureValue(complete, {1}); }),
              "the manifest is signed already");
    EXPECT_EQ(failure([] { withSignatureValue("<a/>", {1}); }),
              "the manifest has no signature that lacks its value");
}

TEST(PackSignedInfo, AnotherSignatureLeavesTheRestOfTheTextAlone) {
    const std::string before = "<?xml version='1.0'?>\r\n<a  x = '>' >\n<!-- <b/> --><c></c >&#65;";
    const std::string after = "\n\n</a >\n<!-- end -->\n";
    const std::string old =
        "<s:Signature xmlns:s=\"http://www.w3.org/2000/09/xmldsig#\"><s:x "
        "y='/>'/><![CDATA[</s:Signature>]]></s:Signature>";
    const std::string result = withEmptySignature(before + old + after, {});
    EXPECT_EQ(result.substr(0, before.size()), before);
    EXPECT_EQ(result.substr(result.size() - after.size()), after);
    EXPECT_EQ(result.substr(before.size(), 17), "<Signature xmlns=");
    EXPECT_EQ(bytesToSign(result).substr(0, 11), "<SignedInfo");
}

TEST(PackSignedInfo, NoticesADocumentThatChanged) {
    std::string prepared = withEmptySignature("<a b=\"1\"/>", {});
    prepared.replace(prepared.find("b=\"1\""), 5, "b=\"2\"");
    EXPECT_EQ(failure([&] { bytesToSign(prepared); }),
              "the manifest was changed after its signature was prepared");
}

TEST(PackSignedInfo, TakesNoDocumentTypeDeclaration) {
    EXPECT_EQ(failure([] { withEmptySignature("<!DOCTYPE a [<!ENTITY e 'x'>]><a/>", {}); }),
              "the manifest has a document type declaration");
}

TEST(PackXmlText, FindsChildrenOfTheRoot) {
    const std::string xml = "<?x <y?><!-- <q> --><r><a z='>'/>t<b><a/></b><!-- <c/> --><c/></r>";
    const auto child = [&](std::size_t index) {
        const auto range = rootChildRange(xml, index);
        return range ? xml.substr(range->begin, range->end - range->begin) : "none";
    };
    EXPECT_EQ(child(0), "<a z='>'/>");
    EXPECT_EQ(child(1), "<b><a/></b>");
    EXPECT_EQ(child(2), "<c/>");
    EXPECT_EQ(child(3), "none");
}

}  // namespace
