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

Attack placed(const std::string& name, const std::function<std::string()>& manifest) {
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
        placed("AsAFileEntry",
               [] {
                   return insertedAfter(withSignatureBefore(honestManifest(), "</Files>"),
                                        "<Signature", fileAttributes);
               }),
        placed("AsAFileEntryWithPrefix",
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
        placed("WithAFileAsItsObject",
               [] {
                   const std::string text = withSignatureBefore(honestManifest(), "</Files>");
                   return insertedBefore(text, "</Signature>", "<Object>" + evilFile + "</Object>");
               }),
        placed("AsRoot",
               [] {
                   return insertedBefore(signature(), "</Signature>",
                                         "<Object>" + rootOf(unsignedHonest()) + "</Object>");
               }),
        placed("AsRootOfTheEvilManifest",
               [] {
                   return insertedBefore(signature(), "</Signature>",
                                         "<Object>" + rootOf(evilManifest()) + "</Object>");
               }),
        placed("HonestManifestInItsObject",
               [] {
                   return evilRoot(
                       insertedBefore(signature(), "</Signature>",
                                      "<Object>" + rootOf(unsignedHonest()) + "</Object>"));
               }),
        placed("HonestManifestInsideTheEvilOne", [] { return evilRoot(rootOf(honestManifest())); }),
        placed("EvilManifestInsideTheHonestOne",
               [] {
                   return insertedBefore(honestManifest(), "<ManufacturerId",
                                         rootOf(evilManifest()));
               }),
        placed("HonestSignatureOnTheEvilManifest", [] { return evilRoot(signature()); }),
        placed("WrappedRoot",
               [] {
                   return "<FirmwareDescription>" + rootOf(honestManifest()) +
                          "</FirmwareDescription>";
               }),
        placed("WrappedRootOfAnotherName",
               [] { return "<Wrapper>" + rootOf(honestManifest()) + "</Wrapper>"; }),
        placed("WrappedRootWithTheSignatureOutside",
               [] { return "<Wrapper>" + rootOf(unsignedHonest()) + signature() + "</Wrapper>"; }),
        placed("EvilRootBeforeTheHonestOne",
               [] { return rootOf(evilManifest()) + rootOf(honestManifest()); }),
        placed("EvilRootBehindTheHonestOne",
               [] { return honestManifest() + rootOf(evilManifest()); }),
        // The maker signed a part by its identifier, which is as good as the whole until it moves.
        placed("SignedPartMovedAside",
               [] {
                   return evilRoot("<Wrapper>" + rootOf(part()) + "</Wrapper>" + signatureOfPart());
               }),
        placed("SignedPartMovedToTheFiles",
               [] {
                   const std::string text = evilRoot(signatureOfPart());
                   return insertedBefore(text, "</Files>", rootOf(part()));
               }),
        placed("SignatureBehindTheRoot", [] { return unsignedHonest() + signature(); }),
        placed("SignatureBeforeTheRoot", [] { return signature() + rootOf(unsignedHonest()); }),
        placed("SignatureInAComment", [] { return evilRoot("<!--" + signature() + "-->"); }),
        placed("SignatureInCharacterData",
               [] { return evilRoot("<![CDATA[" + signature() + "]]>"); }),
        placed("SignatureInAnInstruction", [] { return evilRoot("<?sign " + signature() + "?>"); }),
        placed("TwoHonestSignatures",
               [] {
                   return insertedBefore(honestManifest(), "</FirmwareDescription>", signature());
               }),
        placed("ForgedSignatureBehindTheHonestOne",
               [] {
                   return insertedBefore(honestManifest(), "</FirmwareDescription>",
                                         meaningless(""));
               }),
        placed("ForgedSignatureBeforeTheHonestOne",
               [] { return insertedBefore(honestManifest(), "<ManufacturerId", meaningless("")); }),
        placed("HonestSignatureInTheObjectOfAForgedOne",
               [] {
                   return insertedBefore(unsignedHonest(), "</FirmwareDescription>",
                                         meaningless("<Object>" + signature() + "</Object>"));
               }),
        placed("HonestSignatureInTheKeyInfoOfAForgedOne",
               [] {
                   SignatureForm form;
                   form.keyInfo = "<KeyInfo>" + signature() + "</KeyInfo>";
                   return evilRoot(meaninglessSignature(form));
               }),
        placed("HonestSignatureDirectlyInAForgedOne",
               [] { return evilRoot(meaningless(signature())); }),
        placed("NoSignature", [] { return unsignedHonest(); }),
        placed("EmptySignature", [] { return withContent(honestManifest(), "Signature", ""); }),
        placed("SignatureOfAnotherNamespace",
               [] { return replaced(honestManifest(), "2000/09/xmldsig#", "2000/09/xmldsig"); }),
        placed("SignatureOfAnotherName",
               [] {
                   return replaced(replaced(honestManifest(), "<Signature ", "<signature "),
                                   "</Signature>", "</signature>");
               }),
        placed("SignatureOfTheNextXmlSignatureVersion",
               [] {
                   return replaced(honestManifest(), "http://www.w3.org/2000/09/xmldsig#",
                                   "http://www.w3.org/2009/xmldsig11#");
               })),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Signature, AttackTest,
    testing::Values(
        placed("SecondSignedInfoBehind",
               [] {
                   return insertedAfter(evilRoot(signature()), "</SignedInfo>",
                                        elementOf(forged(), "SignedInfo"));
               }),
        placed("SecondSignedInfoBefore",
               [] {
                   return insertedBefore(evilRoot(signature()), "<SignedInfo>",
                                         elementOf(forged(), "SignedInfo"));
               }),
        placed("SignedInfoInAnObject",
               [] {
                   const std::string forgedInfo = elementOf(forged(), "SignedInfo");
                   const std::string text =
                       replaced(evilRoot(signature()), elementOf(honestManifest(), "SignedInfo"),
                                forgedInfo);
                   return insertedBefore(
                       text, "</Signature>",
                       "<Object>" + elementOf(honestManifest(), "SignedInfo") + "</Object>");
               }),
        placed("SignedInfoMissing", [] { return withoutElement(honestManifest(), "SignedInfo"); }),
        placed("SignedInfoEmpty", [] { return withContent(honestManifest(), "SignedInfo", ""); }),
        placed("SignedInfoEmptyOnTheEvilManifest",
               [] { return withContent(evilRoot(signature()), "SignedInfo", ""); }),
        placed("SignatureValueMissing",
               [] { return withoutElement(honestManifest(), "SignatureValue"); }),
        placed("SignatureValueEmpty",
               [] { return withContent(honestManifest(), "SignatureValue", ""); }),
        placed("SignatureValueOfZeros",
               [] {
                   return withContent(honestManifest(), "SignatureValue", std::string(344, 'A'));
               }),
        placed("SignatureValueOfOne",
               [] { return withContent(honestManifest(), "SignatureValue", "AQ=="); }),
        placed("SignatureValueTwice",
               [] {
                   return insertedAfter(honestManifest(), "</SignatureValue>",
                                        elementOf(honestManifest(), "SignatureValue"));
               }),
        placed("SignatureValueCut",
               [] {
                   return replaced(honestManifest(), "<SignatureValue>", "<SignatureValue>AAAA");
               }),
        placed("SignatureValueBeforeSignedInfo",
               [] {
                   return insertedBefore(withoutElement(honestManifest(), "SignatureValue"),
                                         "<SignedInfo>",
                                         elementOf(honestManifest(), "SignatureValue"));
               }),
        placed("UnknownElementInTheSignature",
               [] { return insertedAfter(honestManifest(), "</SignatureValue>", "<Evil/>"); }),
        placed("DigestValueOfTheEvilManifest",
               [] {
                   return replaced(evilRoot(signature()),
                                   elementOf(honestManifest(), "DigestValue"),
                                   elementOf(forged(), "DigestValue"));
               }),
        placed("DigestValueOfTheEvilManifestBehindAComment",
               [] {
                   const std::string honest = elementOf(honestManifest(), "DigestValue");
                   return replaced(evilRoot(signature()), honest,
                                   insertedAfter(replaced(elementOf(forged(), "DigestValue"),
                                                          "</DigestValue>", ""),
                                                 "<DigestValue>", "<!---->") +
                                       "<!--" + honest.substr(13, 44) + "--></DigestValue>");
               }),
        placed("DigestValueOfBothManifests",
               [] {
                   return replaced(evilRoot(signature()), "<DigestValue>",
                                   elementOf(forged(), "DigestValue") + "<DigestValue>");
               }),
        placed("DigestValueEmpty", [] { return withContent(honestManifest(), "DigestValue", ""); }),
        placed("DigestValueCut",
               [] { return withContent(honestManifest(), "DigestValue", "AAAA"); }),
        placed("ReferenceOfTheEvilManifestAdded",
               [] {
                   return insertedBefore(evilRoot(signature()), "</SignedInfo>",
                                         elementOf(forged(), "Reference"));
               }),
        placed("ReferenceRemoved", [] { return withoutElement(honestManifest(), "Reference"); }),
        placed("TransformRemoved", [] { return withoutElement(honestManifest(), "Transforms"); }),
        placed("DigestMethodChanged",
               [] { return replaced(honestManifest(), "xmlenc#sha256", "xmlenc#sha512"); }),
        placed("SignatureMethodChanged",
               [] { return replaced(honestManifest(), "rsa-sha256", "rsa-sha512"); }),
        placed("SignatureMethodHmac",
               [] { return replaced(honestManifest(), "rsa-sha256", "hmac-sha256"); }),
        placed("SignatureMethodWithAnOutputLength",
               [] {
                   return replaced(honestManifest(), "rsa-sha256\"/>",
                                   "rsa-sha256\"><HMACOutputLength>0</HMACOutputLength>"
                                   "</SignatureMethod>");
               }),
        placed("ReferenceWithoutUri", [] { return replaced(honestManifest(), " URI=\"\"", ""); }),
        placed("ReferenceWithAnIdentifier",
               [] { return replaced(honestManifest(), " URI=\"\"", " Id=\"r\" URI=\"\""); }),
        placed("ReferenceWithTwoUris",
               [] {
                   return replaced(honestManifest(), " URI=\"\"",
                                   " xmlns:a=\"urn:a\" a:URI=\"#none\" URI=\"\"");
               }),
        placed("PrefixListAdded",
               [] {
                   return replaced(
                       honestManifest(),
                       "<CanonicalizationMethod Algorithm=\"" + Algorithm::exclusive + "\"/>",
                       "<CanonicalizationMethod Algorithm=\"" + Algorithm::exclusive +
                           "\"><i:InclusiveNamespaces xmlns:i=\"" + Algorithm::exclusive +
                           "\" PrefixList=\"xsi\"/></CanonicalizationMethod>");
               }),
        placed("InstructionInTheDigestValue",
               [] { return insertedAfter(honestManifest(), "<DigestValue>", "<?p?>"); }),
        placed("CharacterDataInFrontOfTheDigestValue",
               [] {
                   return replaced(evilRoot(signature()), "<DigestValue>",
                                   "<DigestValue><![CDATA[" +
                                       elementOf(forged(), "DigestValue").substr(13, 44) + "]]>");
               }),
        // The signed information is canonicalised with what surrounds it.
        placed("NamespaceAroundInclusiveInformation",
               [] {
                   return insertedAfter(inclusivelySigned(), "<Signature", " xmlns:a=\"urn:a\"");
               }),
        placed("XmlAttributeAroundInclusiveInformation",
               [] {
                   return insertedAfter(inclusivelySigned(), "<Signature",
                                        " xml:space=\"preserve\"");
               }),
        placed("CanonicalizationChanged",
               [] {
                   return replaced(honestManifest(), Algorithm::exclusive, Algorithm::inclusive);
               })),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
