// Two parsers, two documents: bytes that mean an honest manifest in one encoding and something else
// in UTF-8. And document type declarations, which only one of the parsers acts on.

#include "Attack.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

// In the encoding, `open` and `close` begin and end a comment; in ASCII they are odd text. So the
// evil manifest is there for whoever does not know the encoding, and the honest one for the others.
// A plus sign of the honest one is written as `plus`.
Attack hiddenIn(const std::string& name, const std::string& encoding, const std::string& open,
                const std::string& close, const std::string& plus = "+") {
    return {name, [=] {
                std::string honest;
                for (const char c : honestManifest()) {
                    honest += c == '+' ? plus : std::string(1, c);
                }
                std::string evil = withContent(evilManifest(), "Files", evilFile);
                evil = evil.substr(evil.find("<FirmwareDescription"));
                return insertedBefore(declaredAs(honest, encoding), "<FirmwareDescription",
                                      open + evil + close);
            }};
}

// Honest bytes, except that the encoding names another alphabet for some of them.
Attack declared(const std::string& name, const std::string& encoding, const std::string& inserted) {
    return {name, [=] {
                return insertedBefore(declaredAs(honestManifest(), encoding), "</Files>",
                                      inserted + evilFile);
            }};
}

Attack bytes(const std::string& name, const std::string& inserted) {
    return {name, [=] {
                // Whoever signed meant these bytes: it is the parsers that may disagree.
                return insertedBefore(honestManifest(), "</Files>", "<x a=\"" + inserted + "\"/>");
            }};
}

Attack encoded(const std::string& name, const std::function<std::string(std::string)>& encode) {
    return {name, [=] { return encode(honestManifest()); }};
}

INSTANTIATE_TEST_SUITE_P(
    Encoding, AttackTest,
    testing::Values(
        hiddenIn("CommentInUtf7", "UTF-7", "+ADwAIQAtAC0-", "+AC0ALQA+-", "+-"),
        hiddenIn("CommentInLowerCaseUtf7", "utf-7", "+ADwAIQAtAC0-", "+AC0ALQA+-", "+-"),
        hiddenIn("CommentInUnicode11Utf7", "UNICODE-1-1-UTF-7", "+ADwAIQAtAC0-", "+AC0ALQA+-",
                 "+-"),
        hiddenIn("CommentInImapUtf7", "UTF-7-IMAP", "&ADwAIQAtAC0-", "&AC0ALQA+-", "+"),
        hiddenIn("CommentInHz", "HZ", "<!--~{", "~}-->"),
        hiddenIn("CommentInIso2022Jp", "ISO-2022-JP", "<!--\x1B$B", "\x1B(B-->"),
        hiddenIn("CommentInIso2022Kr", "ISO-2022-KR", "<!--\x0E", "\x0F-->"),
        hiddenIn("CommentInIso2022Cn", "ISO-2022-CN", "<!--\x1B$)A\x0E", "\x0F-->"),
        declared("Ebcdic037", "IBM037", ""), declared("Ebcdic1047", "IBM-1047", ""),
        declared("Scsu", "SCSU", ""), declared("Bocu1", "BOCU-1", ""),
        declared("Utf16", "UTF-16", ""), declared("Ucs4", "ISO-10646-UCS-4", ""),
        declared("UnknownEncoding", "x-evil", ""),
        declared("Windows1252Bytes", "windows-1252", "<x a=\"\x93\x94\"/>"),
        declared("Latin1Bytes", "ISO-8859-1", "<x a=\"\xE9\"/>"),
        declared("Latin1Utf8Bytes", "ISO-8859-1", "<x a=\"\xC3\xA9\"/>"),
        declared("ShiftJisTrailBytes", "Shift_JIS", "<x a=\"\x83\x5C\"/>"),
        declared("Gb18030TrailBytes", "GB18030", "<x a=\"\x81\x30\x81\x30\"/>"),
        declared("Big5TrailBytes", "Big5", "<x a=\"\xA5\x5C\"/>"),
        encoded("Utf16LittleEndianWithMark",
                [](const std::string& text) { return "\xFF\xFE" + widened(text, 2, false); }),
        encoded("Utf16BigEndianWithMark",
                [](const std::string& text) { return "\xFE\xFF" + widened(text, 2, true); }),
        encoded("Utf16LittleEndianWithoutMark",
                [](const std::string& text) { return widened(text, 2, false); }),
        encoded("Utf16BigEndianWithoutMark",
                [](const std::string& text) { return widened(text, 2, true); }),
        encoded("Utf32LittleEndian",
                [](const std::string& text) {
                    return std::string("\xFF\xFE\0\0", 4) + widened(text, 4, false);
                }),
        encoded("Utf32BigEndian", [](const std::string& text) { return widened(text, 4, true); }),
        encoded("TwoByteOrderMarks",
                [](const std::string& text) { return "\xEF\xBB\xBF\xEF\xBB\xBF" + text; }),
        encoded("HalfAByteOrderMark", [](const std::string& text) { return "\xEF\xBB" + text; }),
        encoded("NothingAtAll", [](const std::string&) { return std::string(); }),
        encoded("OnlyAByteOrderMark",
                [](const std::string&) { return std::string("\xEF\xBB\xBF"); }),
        bytes("OverlongLessThan", "\xC0\xBC"), bytes("OverlongQuote", "\xE0\x80\xA2"),
        bytes("LoneContinuation", "\xA0"), bytes("Surrogates", "\xED\xA0\x81\xED\xB0\x80"),
        bytes("BeyondUnicode", "\xF4\x90\x80\x80"), bytes("CutSequence", "\xE2\x82"),
        bytes("ControlCharacter", "\x01"), bytes("NotACharacter", "\xEF\xBF\xBE"),
        Attack{"ZeroByteBehindTheEvilManifest",
               [] {
                   std::string evil = evilManifest();
                   return evil + '\0' + honestManifest();
               }},
        Attack{"ZeroByteBehindTheHonestManifest",
               [] { return honestManifest() + '\0' + evilManifest(); }},
        Attack{"ZeroByteInside",
               [] { return insertedBefore(honestManifest(), "<Files>", std::string(1, '\0')); }},
        Attack{"ZeroByteAlone", [] { return std::string(1, '\0'); }}),
    nameOf);

Attack documentType(const std::string& name, const std::string& declaration) {
    return {name, [=] { return withDocumentType(honestManifest(), declaration); }};
}

// The signature holds for what the entity stands for, if it is one.
Attack entity(const std::string& name, const std::string& declaration, const std::string& from,
              const std::string& to) {
    return {name,
            [=] { return replaced(withDocumentType(honestManifest(), declaration), from, to); }};
}

INSTANTIATE_TEST_SUITE_P(
    DocumentType, AttackTest,
    testing::Values(
        documentType("Bare", "<!DOCTYPE FirmwareDescription>"),
        documentType("EmptySubset", "<!DOCTYPE FirmwareDescription []>"),
        documentType("OtherName", "<!DOCTYPE x>"),
        documentType("ExternalSubsetInAFile",
                     "<!DOCTYPE FirmwareDescription SYSTEM \"file:///etc/passwd\">"),
        documentType("ExternalSubsetOnTheNetwork",
                     "<!DOCTYPE FirmwareDescription SYSTEM \"http://127.0.0.1:1/a.dtd\">"),
        documentType("PublicIdentifier", "<!DOCTYPE FirmwareDescription PUBLIC \"a\" \"b\">"),
        documentType("AttributeDefault",
                     "<!DOCTYPE FirmwareDescription [<!ATTLIST HwRev Value "
                     "CDATA \"evil\">]>"),
        documentType("AttributeOfTokens",
                     "<!DOCTYPE FirmwareDescription [<!ATTLIST File "
                     "LocalFilePath NMTOKENS #IMPLIED>]>"),
        documentType("IdAttribute",
                     "<!DOCTYPE FirmwareDescription [<!ATTLIST Files Id ID #IMPLIED>]>"),
        documentType("Notation", "<!DOCTYPE FirmwareDescription [<!NOTATION n SYSTEM \"n\">]>"),
        documentType("ElementDeclaration",
                     "<!DOCTYPE FirmwareDescription [<!ELEMENT Files EMPTY>]>"),
        documentType("ParameterEntity",
                     "<!DOCTYPE FirmwareDescription [<!ENTITY % p SYSTEM "
                     "\"file:///etc/passwd\"> %p;]>"),
        documentType("Unfinished", "<!DOCTYPE FirmwareDescription ["),
        entity("EntityForAFile",
               "<!DOCTYPE FirmwareDescription [<!ENTITY f '<File xsi:type=\"ScriptFileType\" "
               "LocalFilePath=\"evil\" HashAlgorithm=\"sha256\" Length=\"1\"/>'>]>",
               "</Files>", "&f;</Files>"),
        entity("EntityForNothing", "<!DOCTYPE FirmwareDescription [<!ENTITY e ''>]>", "1.2.3.4",
               "1.2.3.4&e;"),
        entity("EntityForAValue", "<!DOCTYPE FirmwareDescription [<!ENTITY v '1.2.3.4'>]>",
               "1.2.3.4", "&v;"),
        entity("EntityInText", "<!DOCTYPE FirmwareDescription [<!ENTITY t ''>]>", "<Files>",
               "<Files>&t;"),
        entity("RedefinedPredefinedEntity",
               "<!DOCTYPE FirmwareDescription [<!ENTITY lt '&#38;#60;'>]>", "<Files>",
               "<Files>&lt;"),
        entity("ExternalEntity",
               "<!DOCTYPE FirmwareDescription [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>",
               "<Files>", "<Files>&x;"),
        entity("ExponentialEntities",
               "<!DOCTYPE FirmwareDescription [<!ENTITY a 'aaaaaaaaaa'>"
               "<!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'><!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;'>"
               "<!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;'><!ENTITY e '&d;&d;&d;&d;&d;&d;&d;&d;'>"
               "<!ENTITY g '&e;&e;&e;&e;&e;&e;&e;&e;'>]>",
               "<Files>", "<Files>&g;"),
        Attack{"UndeclaredEntity",
               [] { return replaced(honestManifest(), "1.2.3.4", "1.2.3.4&none;"); }},
        Attack{"BehindTheRoot", [] { return honestManifest() + "<!DOCTYPE x>"; }},
        Attack{"InsideTheRoot",
               [] { return insertedAfter(honestManifest(), "<Files>", "<!DOCTYPE x>"); }},
        Attack{"BehindAByteOrderMark",
               [] {
                   return "\xEF\xBB\xBF" +
                          withDocumentType(honestManifest(), "<!DOCTYPE FirmwareDescription>");
               }}),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
