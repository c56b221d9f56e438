// The unsigned place: wrapping, and content moved into, around or before the signature, which does
// not cover itself.

#include "Attack.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

const std::string fileAttributes =
    R"( xsi:type="ScriptFileType" LocalFilePath="evil/Script.run" RemoteFilePath="evil/Script.run")"
    R"( HashValue="AAAA" HashAlgorithm="sha256" Length="4")";

std::string signature() {
    return elementOf(honestManifest(), "Signature");
}

std::string unsignedHonest() {
    return withoutElement(honestManifest(), "Signature");
}

// From the start tag of the root element on.
std::string rootOf(const std::string& text) {
    return text.substr(text.find("<FirmwareDescription"));
}

std::string evilRoot(const std::string& content) {
    return insertedBefore(evilManifest(), "</FirmwareDescription>", content);
}

Attack moved(const std::string& name, const std::string& place) {
    return {name, [=] { return withSignatureBefore(honestManifest(), place); }};
}

Attack made(const std::string& name, const std::function<std::string()>& manifest) {
    return {name, manifest};
}

std::string part() {
    return insertedAfter(unsignedHonest(), "<FirmwareDescription", " xml:id=\"part\"");
}

std::string signatureOfPart() {
    SignatureForm form;
    form.references[0].uri = " URI=\"#part\"";
    return elementOf(signAs(part(), form, rsaKey()), "Signature");
}

std::string inclusivelySigned() {
    SignatureForm form;
    form.canonicalisation = Algorithm::inclusive;
    return signAs(unsignedHonest(), form, rsaKey());
}

std::string meaningless(const std::string& objects) {
    SignatureForm form;
    form.objects = objects;
    return meaninglessSignature(form);
}

INSTANTIATE_TEST_SUITE_P(
    Place, AttackTest,
    testing::Values(
        moved("AmongTheFiles", "</Files>"), moved("BeforeTheFirstFile", "<File "),
        moved("AmongTheHardwareRevisions", "</SupportedHwRevs>"),
        made("AsAFileEntry",
             [] {
                 return insertedAfter(withSignatureBefore(honestManifest(), "</Files>"),
                                      "<Signature", fileAttributes);
             }),
        made("AsAFileEntryWithPrefix",
             [] {
                 const std::string text = signAs(
                     unsignedHonest(),
                     [] {
                         SignatureForm form;
                         form.prefix = "ds";
                         return form;
                     }(),
                     rsaKey());
                 const std::string element = elementOf(text, "ds:Signature");
                 return insertedBefore(withoutElement(text, "ds:Signature"), "</Files>",
                                       insertedAfter(element, "<ds:Signature", fileAttributes));
             }),
        made("WithAFileAsItsObject",
             [] {
                 const std::string text = withSignatureBefore(honestManifest(), "</Files>");
                 return insertedBefore(text, "</Signature>", "<Object>" + evilFile + "</Object>");
             }),
        made("AsRoot",
             [] {
                 return insertedBefore(signature(), "</Signature>",
                                       "<Object>" + rootOf(unsignedHonest()) + "</Object>");
             }),
        made("AsRootOfTheEvilManifest",
             [] {
                 return insertedBefore(signature(), "</Signature>",
                                       "<Object>" + rootOf(evilManifest()) + "</Object>");
             }),
        made("HonestManifestInItsObject",
             [] {
                 return evilRoot(
                     insertedBefore(signature(), "</Signature>",
                                    "<Object>" + rootOf(unsignedHonest()) + "</Object>"));
             }),
        made("HonestManifestInsideTheEvilOne", [] { return evilRoot(rootOf(honestManifest())); }),
        made("EvilManifestInsideTheHonestOne",
             [] {
                 return insertedBefore(honestManifest(), "<ManufacturerId", rootOf(evilManifest()));
             }),
        made("HonestSignatureOnTheEvilManifest", [] { return evilRoot(signature()); }),
        made("WrappedRoot",
             [] {
                 return "<FirmwareDescription>" + rootOf(honestManifest()) +
                        "</FirmwareDescription>";
             }),
        made("WrappedRootOfAnotherName",
             [] { return "<Wrapper>" + rootOf(honestManifest()) + "</Wrapper>"; }),
        made("WrappedRootWithTheSignatureOutside",
             [] { return "<Wrapper>" + rootOf(unsignedHonest()) + signature() + "</Wrapper>"; }),
        made("EvilRootBeforeTheHonestOne",
             [] { return rootOf(evilManifest()) + rootOf(honestManifest()); }),
        made("EvilRootBehindTheHonestOne",
             [] { return honestManifest() + rootOf(evilManifest()); }),
        // The maker signed a part by its identifier, which is as good as the whole until it moves.
        made("SignedPartMovedAside",
             [] {
                 return evilRoot("<Wrapper>" + rootOf(part()) + "</Wrapper>" + signatureOfPart());
             }),
        made("SignedPartMovedToTheFiles",
             [] {
                 const std::string text = evilRoot(signatureOfPart());
                 return insertedBefore(text, "</Files>", rootOf(part()));
             }),
        made("SignatureBehindTheRoot", [] { return unsignedHonest() + signature(); }),
        made("SignatureBeforeTheRoot", [] { return signature() + rootOf(unsignedHonest()); }),
        made("SignatureInAComment", [] { return evilRoot("<!--" + signature() + "-->"); }),
        made("SignatureInCharacterData",
             [] { return evilRoot("<![CDATA[" + signature() + "]]>"); }),
        made("SignatureInAnInstruction", [] { return evilRoot("<?sign " + signature() + "?>"); }),
        made("TwoHonestSignatures",
             [] {
                 return insertedBefore(honestManifest(), "</FirmwareDescription>", signature());
             }),
        made("ForgedSignatureBehindTheHonestOne",
             [] {
                 return insertedBefore(honestManifest(), "</FirmwareDescription>", meaningless(""));
             }),
        made("ForgedSignatureBeforeTheHonestOne",
             [] { return insertedBefore(honestManifest(), "<ManufacturerId", meaningless("")); }),
        made("HonestSignatureInTheObjectOfAForgedOne",
             [] {
                 return insertedBefore(unsignedHonest(), "</FirmwareDescription>",
                                       meaningless("<Object>" + signature() + "</Object>"));
             }),
        made("HonestSignatureInTheKeyInfoOfAForgedOne",
             [] {
                 SignatureForm form;
                 form.keyInfo = "<KeyInfo>" + signature() + "</KeyInfo>";
                 return evilRoot(meaninglessSignature(form));
             }),
        made("HonestSignatureDirectlyInAForgedOne",
             [] { return evilRoot(meaningless(signature())); }),
        made("NoSignature", [] { return unsignedHonest(); }),
        made("EmptySignature", [] { return withContent(honestManifest(), "Signature", ""); }),
        made("SignatureOfAnotherNamespace",
             [] { return replaced(honestManifest(), "2000/09/xmldsig#", "2000/09/xmldsig"); }),
        made("SignatureOfAnotherName",
             [] {
                 return replaced(replaced(honestManifest(), "<Signature ", "<signature "),
                                 "</Signature>", "</signature>");
             }),
        made("SignatureOfTheNextXmlSignatureVersion",
             [] {
                 return replaced(honestManifest(), "http://www.w3.org/2000/09/xmldsig#",
                                 "http://www.w3.org/2009/xmldsig11#");
             })),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Signature, AttackTest,
    testing::Values(
        made("SecondSignedInfoBehind",
             [] {
                 return insertedAfter(evilRoot(signature()), "</SignedInfo>",
                                      elementOf(forged(), "SignedInfo"));
             }),
        made("SecondSignedInfoBefore",
             [] {
                 return insertedBefore(evilRoot(signature()), "<SignedInfo>",
                                       elementOf(forged(), "SignedInfo"));
             }),
        made("SignedInfoInAnObject",
             [] {
                 const std::string forgedInfo = elementOf(forged(), "SignedInfo");
                 const std::string text = replaced(
                     evilRoot(signature()), elementOf(honestManifest(), "SignedInfo"), forgedInfo);
                 return insertedBefore(
                     text, "</Signature>",
                     "<Object>" + elementOf(honestManifest(), "SignedInfo") + "</Object>");
             }),
        made("SignedInfoMissing", [] { return withoutElement(honestManifest(), "SignedInfo"); }),
        made("SignedInfoEmpty", [] { return withContent(honestManifest(), "SignedInfo", ""); }),
        made("SignedInfoEmptyOnTheEvilManifest",
             [] { return withContent(evilRoot(signature()), "SignedInfo", ""); }),
        made("SignatureValueMissing",
             [] { return withoutElement(honestManifest(), "SignatureValue"); }),
        made("SignatureValueEmpty",
             [] { return withContent(honestManifest(), "SignatureValue", ""); }),
        made("SignatureValueOfZeros",
             [] { return withContent(honestManifest(), "SignatureValue", std::string(344, 'A')); }),
        made("SignatureValueOfOne",
             [] { return withContent(honestManifest(), "SignatureValue", "AQ=="); }),
        made("SignatureValueTwice",
             [] {
                 return insertedAfter(honestManifest(), "</SignatureValue>",
                                      elementOf(honestManifest(), "SignatureValue"));
             }),
        made("SignatureValueCut",
             [] { return replaced(honestManifest(), "<SignatureValue>", "<SignatureValue>AAAA"); }),
        made("SignatureValueBeforeSignedInfo",
             [] {
                 return insertedBefore(withoutElement(honestManifest(), "SignatureValue"),
                                       "<SignedInfo>",
                                       elementOf(honestManifest(), "SignatureValue"));
             }),
        made("UnknownElementInTheSignature",
             [] { return insertedAfter(honestManifest(), "</SignatureValue>", "<Evil/>"); }),
        made("DigestValueOfTheEvilManifest",
             [] {
                 return replaced(evilRoot(signature()), elementOf(honestManifest(), "DigestValue"),
                                 elementOf(forged(), "DigestValue"));
             }),
        made("DigestValueOfTheEvilManifestBehindAComment",
             [] {
                 const std::string honest = elementOf(honestManifest(), "DigestValue");
                 return replaced(evilRoot(signature()), honest,
                                 insertedAfter(replaced(elementOf(forged(), "DigestValue"),
                                                        "</DigestValue>", ""),
                                               "<DigestValue>", "<!---->") +
                                     "<!--" + honest.substr(13, 44) + "--></DigestValue>");
             }),
        made("DigestValueOfBothManifests",
             [] {
                 return replaced(evilRoot(signature()), "<DigestValue>",
                                 elementOf(forged(), "DigestValue") + "<DigestValue>");
             }),
        made("DigestValueEmpty", [] { return withContent(honestManifest(), "DigestValue", ""); }),
        made("DigestValueCut", [] { return withContent(honestManifest(), "DigestValue", "AAAA"); }),
        made("ReferenceOfTheEvilManifestAdded",
             [] {
                 return insertedBefore(evilRoot(signature()), "</SignedInfo>",
                                       elementOf(forged(), "Reference"));
             }),
        made("ReferenceRemoved", [] { return withoutElement(honestManifest(), "Reference"); }),
        made("TransformRemoved", [] { return withoutElement(honestManifest(), "Transforms"); }),
        made("DigestMethodChanged",
             [] { return replaced(honestManifest(), "xmlenc#sha256", "xmlenc#sha512"); }),
        made("SignatureMethodChanged",
             [] { return replaced(honestManifest(), "rsa-sha256", "rsa-sha512"); }),
        made("SignatureMethodHmac",
             [] { return replaced(honestManifest(), "rsa-sha256", "hmac-sha256"); }),
        made("SignatureMethodWithAnOutputLength",
             [] {
                 return replaced(honestManifest(), "rsa-sha256\"/>",
                                 "rsa-sha256\"><HMACOutputLength>0</HMACOutputLength>"
                                 "</SignatureMethod>");
             }),
        made("ReferenceWithoutUri", [] { return replaced(honestManifest(), " URI=\"\"", ""); }),
        made("ReferenceWithAnIdentifier",
             [] { return replaced(honestManifest(), " URI=\"\"", " Id=\"r\" URI=\"\""); }),
        made("ReferenceWithTwoUris",
             [] {
                 return replaced(honestManifest(), " URI=\"\"",
                                 " xmlns:a=\"urn:a\" a:URI=\"#none\" URI=\"\"");
             }),
        made("PrefixListAdded",
             [] {
                 return replaced(
                     honestManifest(),
                     "<CanonicalizationMethod Algorithm=\"" + Algorithm::exclusive + "\"/>",
                     "<CanonicalizationMethod Algorithm=\"" + Algorithm::exclusive +
                         "\"><i:InclusiveNamespaces xmlns:i=\"" + Algorithm::exclusive +
                         "\" PrefixList=\"xsi\"/></CanonicalizationMethod>");
             }),
        made("InstructionInTheDigestValue",
             [] { return insertedAfter(honestManifest(), "<DigestValue>", "<?p?>"); }),
        made("CharacterDataInFrontOfTheDigestValue",
             [] {
                 return replaced(evilRoot(signature()), "<DigestValue>",
                                 "<DigestValue><![CDATA[" +
                                     elementOf(forged(), "DigestValue").substr(13, 44) + "]]>");
             }),
        // The signed information is canonicalised with what surrounds it.
        made("NamespaceAroundInclusiveInformation",
             [] { return insertedAfter(inclusivelySigned(), "<Signature", " xmlns:a=\"urn:a\""); }),
        made("XmlAttributeAroundInclusiveInformation",
             [] {
                 return insertedAfter(inclusivelySigned(), "<Signature", " xml:space=\"preserve\"");
             }),
        made("CanonicalizationChanged",
             [] {
                 return replaced(honestManifest(), Algorithm::exclusive, Algorithm::inclusive);
             })),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
