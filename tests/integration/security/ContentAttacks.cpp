// Changes of what is signed: every one of them, however small, shows.

#include "Attack.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

Attack change(const std::string& name, const std::string& from, const std::string& to) {
    return {name, [=] { return replaced(honestManifest(), from, to); }};
}

Attack add(const std::string& name, const std::string& place, const std::string& what) {
    return {name, [=] { return insertedBefore(honestManifest(), place, what); }};
}

INSTANTIATE_TEST_SUITE_P(
    Content, AttackTest,
    testing::Values(
        change("OtherManufacturer", "\"QV\"", "\"XX\""),
        change("OtherModel", "\"QA01RTVN\"", "\"QA02RTVN\""),
        change("HigherVersion", "1.2.3.4", "1.2.3.5"),
        change("OtherSystemVersion", "5.6.7.8", "5.6.7.9"),
        change("OtherApplicationVersion", "9.10.11.12", "9.10.11.13"),
        change("OtherHardwareRevision", "<HwRev Value=\"A\"", "<HwRev Value=\"C\""),
        change("HardwareRevisionRenamed", "<HwRev ", "<HwRew "),
        change("FirmwareBecomesScript", "FirmwareFileType", "ScriptFileType"),
        change("ScriptBecomesFirmware", "ScriptFileType", "FirmwareFileType"),
        change("OtherEntry", "LocalFilePath=\"app/firmware.bin\"",
               "LocalFilePath=\"app/data.bin\""),
        change("OtherTarget", "RemoteFilePath=\"app/firmware.bin\"",
               "RemoteFilePath=\"../../etc/passwd\""),
        change("NoTarget", "RemoteFilePath=\"app/firmware.bin\"", ""),
        change("OtherDigest", "HashValue=\"", "HashValue=\"A"),
        change("OtherHashAlgorithm", "sha256\" Length", "SHA256\" Length"),
        change("OtherLength", "Length=\"8\"", "Length=\"9\""),
        change("SameLengthWrittenOtherwise", "Length=\"8\"", "Length=\"+8\""),
        change("OtherPrefixForTheType", "xsi:type=", "xsj:type="),
        change("NoPrefixForTheType", "xsi:type=", "type="),
        change("AttributeInAnotherCase", "LocalFilePath=", "Localfilepath="),
        change("OtherNamespaceForTheType", "XMLSchema-instance", "XMLSchema-instance2"),
        change("OtherRootNamespace", "<FirmwareDescription ",
               "<FirmwareDescription xmlns=\"urn:x\" "),
        change("AddedRootAttribute", "<FirmwareDescription ", "<FirmwareDescription a=\"b\" "),
        change("BlankInAValue", "\"1.2.3.4\"", "\" 1.2.3.4\""),
        change("LineEndInAValue", "\"1.2.3.4\"", "\"1.2.3.4&#10;\""),
        change("SimilarLetter", "app/firmware.bin", "app/f\xD1\x96rmware.bin"),
        add("AddedFile", "</Files>", evilFile), add("AddedFileInFront", "<File ", evilFile),
        add("AddedFileInAnotherNamespace", "</Files>", "<x:File xmlns:x=\"urn:x\"/>"),
        add("AddedHardwareRevision", "</SupportedHwRevs>", "<HwRev Value=\"C\"/>"),
        add("SecondListOfFilesInFront", "<Files>", "<Files>" + evilFile + "</Files>"),
        add("SecondListOfFilesBehind", "</FirmwareDescription>", "<Files>" + evilFile + "</Files>"),
        add("SecondVersionInFront", "<Version ", "<Version Value=\"9.9.9.9\"/>"),
        add("AddedUnknownElement", "<Files>", "<Unknown/>"), add("AddedText", "<Files>", "text"),
        add("AddedBlank", "<Files>", " "), add("AddedLineEnd", "<Files>", "\n"),
        add("AddedCharacterData", "<Files>", "<![CDATA[x]]>"),
        add("AddedInstruction", "<Files>", "<?evil x?>"),
        add("AddedInstructionBeforeTheRoot", "<FirmwareDescription", "<?evil x?>"),
        Attack{"AddedInstructionBehindTheRoot", [] { return honestManifest() + "<?evil x?>"; }},
        Attack{"FilesRemoved", [] { return withContent(honestManifest(), "Files", ""); }},
        Attack{"HardwareRevisionsRemoved",
               [] { return withoutElement(honestManifest(), "SupportedHwRevs"); }},
        Attack{"FilesInAnotherOrder",
               [] {
                   const std::string text = honestManifest();
                   const std::size_t first = text.find("<File ");
                   const std::size_t second = text.find("<File ", first + 1);
                   const std::size_t third = text.find("<File ", second + 1);
                   return text.substr(0, first) + text.substr(second, third - second) +
                          text.substr(first, second - first) + text.substr(third);
               }},
        Attack{"FileTwice",
               [] {
                   const std::string text = honestManifest();
                   const std::size_t first = text.find("<File ");
                   const std::string file = text.substr(first, text.find("/>", first) + 2 - first);
                   return insertedBefore(text, "</Files>", file);
               }},
        change("AttributeTwice", "LocalFilePath=", "LocalFilePath=\"evil\" LocalFilePath="),
        change("AttributeTwiceThroughNamespaces", "LocalFilePath=",
               "xmlns:a=\"urn:a\" xmlns:b=\"urn:a\" a:c=\"\" b:c=\"\" LocalFilePath="),
        Attack{"Cut", [] { return honestManifest().substr(0, honestManifest().size() - 20); }},
        Attack{"TrailingText", [] { return honestManifest() + "x"; }},
        Attack{"LeadingText", [] { return "x" + honestManifest(); }},
        Attack{"LeadingBlank", [] { return " " + honestManifest(); }},
        Attack{"RootClosedTwice", [] { return honestManifest() + "</FirmwareDescription>"; }},
        change("UnfinishedComment", "<Files>", "<!-- <Files>"),
        change("CommentWithTwoHyphens", "<Files>", "<!-- -- --><Files>"),
        change("LessThanInAValue", "1.2.3.4", "1.2.3.4<"),
        change("EndOfCharacterDataInText", "<Files>", "]]><Files>"),
        change("NamespaceDeclarationRemoved",
               " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"", ""),
        change("InclusionOfAFile", "<Files>",
               "<i:include xmlns:i=\"http://www.w3.org/2001/XInclude\" href=\"/etc/passwd\" "
               "parse=\"text\"/><Files>"),
        change("ByteOrderMarkInAValue", "\"1.2.3.4\"",
               "\"\xEF\xBB\xBF"
               "1.2.3.4\""),
        change("ByteOrderMarkBehindTheDeclaration", "?>", "?>\xEF\xBB\xBF"),
        change("NextLineForALineEnd", ">\n", ">\xC2\x85"),
        change("LineSeparatorForALineEnd", ">\n", ">\xE2\x80\xA8"),
        change("NoBreakSpaceInATag", "<Version ", "<Version\xC2\xA0"),
        change("ControlCharacterInAValue", "1.2.3.4", "1.2.3.4\x0B"),
        // All of these are "A" for a parser that does not look closely.
        change("ReferenceWithCapitalX", "Value=\"A\"", "Value=\"&#X41;\""),
        change("ReferenceBeyondAllNumbers", "Value=\"A\"", "Value=\"&#4294967361;\""),
        change("HexReferenceBeyondAllNumbers", "Value=\"A\"", "Value=\"&#x100000041;\""),
        change("ReferenceWithoutSemicolon", "Value=\"A\"", "Value=\"&#65\""),
        change("ReferenceWithZeroByte", "Value=\"A\"", "Value=\"A&#0;\""),
        change("ReferenceToASurrogate", "Value=\"A\"", "Value=\"&#xD800;A\""),
        change("ReferenceToAControlCharacter", "Value=\"A\"", "Value=\"A&#1;\""),
        change("ValueWithoutQuotes", "Value=\"A\"", "Value=A"),
        change("ValueWithoutBlankInFront", "\"sha256\" Length", "\"sha256\"Length"),
        change("SecondVersionOfXml", "version=\"1.0\"", "version=\"2.0\""),
        Attack{"LaterVersionOfXmlForControlCharacters",
               [] {
                   return replaced(replaced(honestManifest(), "version=\"1.0\"", "version=\"1.1\""),
                                   "1.2.3.4", "1.2.3.4&#1;");
               }},
        Attack{"FirstNamespaceForAllElements",
               [] { return replaced(honestManifest(), "<Files>", "<Files xmlns=\"urn:x\">"); }},
        change("MissingQuote", "\"1.2.3.4\"", "\"1.2.3.4"),
        change("EndTagOfAnotherCase", "</Files>", "</files>")),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
