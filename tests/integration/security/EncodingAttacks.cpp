// Two parsers, two documents: bytes that mean an honest manifest in one encoding and something else
// in UTF-8.

#include <iconv.h>

#include "Attack.h"
#include "ManifestMutations.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {
namespace {

struct Shift {
    std::string on;
    std::string off;
};

// In the encoding, the shifts begin and end a comment; in ASCII they are odd text. So the evil
// manifest is there for whoever does not know the encoding, and the honest one for the others.
// `escape` writes what the encoding reserves.
Attack comment(const std::string& name, const std::string& encoding, const Shift& shift,
               const std::function<std::string(std::string)>& escape) {
    return {name, [=] {
                std::string evil = withContent(evilManifest(), "Files", evilFile);
                evil = everywhere(evil.substr(evil.find("<FirmwareDescription")), "\n", "");
                const std::string honest = declaredAs(honestManifest(), encoding);
                const std::size_t body = honest.find("?>") + 2;
                return honest.substr(0, body) + shift.on + evil + shift.off +
                       escape(honest.substr(body));
            }};
}

std::string inUtf7(const std::string& text) {
    return everywhere(text, "+", "+-");
}

std::string inImapUtf7(const std::string& text) {
    return everywhere(text, "\n", "&AAo-");
}

const Shift utf7{"+ADwAIQAtAC0-", "+AC0ALQA+-"};

Attack utf7Declared(const std::string& name, const std::string& declaration,
                    const std::string& inFront = "") {
    const Attack attack = comment("", "UTF-7", utf7, inUtf7);
    return {name, [=] {
                return inFront + replaced(attack.manifest(),
                                          "<?xml version=\"1.0\" encoding=\"UTF-7\"?>",
                                          declaration);
            }};
}

// The signature stands first, and in it, where nothing is signed, is what the encoding makes a long
// instruction of. In ASCII it ends at once, and another list of files follows.
Attack instruction(const std::string& name, const std::string& encoding, const Shift& shift) {
    return {name, [=] {
                const std::string text =
                    withSignatureBefore(declaredAs(honestManifest(), encoding), "<ManufacturerId");
                return insertedBefore(text, "</Signature>",
                                      "<Object><?p " + shift.on + "?>" + shift.off +
                                          "</Object></Signature><Files>" + evilFile +
                                          "</Files><Signature><Object>?></Object>");
            }};
}

// The same for encodings in which a byte of markup may be the second half of a letter.
Attack halfLetter(const std::string& name, const std::string& encoding, const std::string& first) {
    return {name, [=] {
                const std::string text =
                    withSignatureBefore(declaredAs(honestManifest(), encoding), "<ManufacturerId");
                const std::string evil = "</Object></Signature><Files>" + evilFile +
                                         "</Files><Signature xmlns=\"\"><Object>";
                return insertedBefore(
                    text, "</Signature>",
                    "<Object>" + everywhere(evil, "<", first + "<") + "</Object>");
            }};
}

// Written in the encoding, or as it is where the system does not know it: nor does the parser then.
std::string encodedAs(const std::string& encoding, std::string text) {
    const iconv_t converter = ::iconv_open(encoding.c_str(), "UTF-8");
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        return text;
    }
    std::string bytes(4 * text.size(), '\0');
    char* from = &text[0];
    char* to = &bytes[0];
    std::size_t left = text.size();
    std::size_t room = bytes.size();
    const bool converted = ::iconv(converter, &from, &left, &to, &room) != std::size_t(-1);
    ::iconv_close(converter);
    if (!converted) {
        throw std::runtime_error("the manifest cannot be written in " + encoding);
    }
    bytes.resize(bytes.size() - room);
    return bytes;
}

// An honest manifest, with the letters in the name of a file. All of it is still there, but only
// for those who know the encoding.
Attack written(const std::string& name, const std::string& encoding, const std::string& letters) {
    return {name, [=] {
                const std::string honest =
                    PackageBuilder().firmware("app/" + letters, "firmware").manifest();
                return encodedAs(encoding, declaredAs(honest, encoding));
            }};
}

Attack encoded(const std::string& name, const std::function<std::string(std::string)>& encode) {
    return {name, [=] { return encode(honestManifest()); }};
}

Attack labelled(const std::string& name, const std::string& encoding) {
    return {name, [=] { return declaredAs(honestManifest(), encoding); }};
}

Attack bytes(const std::string& name, const std::string& inserted) {
    return {name, [=] {
                return insertedBefore(honestManifest(), "</Files>", "<x a=\"" + inserted + "\"/>");
            }};
}

const std::string german = "\xC3\xA9\xC3\xA4\xC3\x9F";
const std::string russian = "\xD1\x8F\xD0\xB6";
const std::string japanese = "\xE8\xA1\xA8";
const std::string chinese = "\xE5\x8A\x9F";

INSTANTIATE_TEST_SUITE_P(
    Encoding, AttackTest,
    testing::Values(
        comment("Utf7", "UTF-7", utf7, inUtf7), comment("LowerCaseUtf7", "utf-7", utf7, inUtf7),
        comment("Unicode11Utf7", "UNICODE-1-1-UTF-7", utf7, inUtf7),
        comment("ImapUtf7", "UTF-7-IMAP", {"&ADwAIQAtAC0-", "&AC0ALQA+-"}, inImapUtf7),
        utf7Declared("Utf7InSingleQuotes", "<?xml version='1.0' encoding='UTF-7'?>"),
        utf7Declared("Utf7AmongBlanks", "<?xml version = \"1.0\"\n\tencoding\n=\n\"UTF-7\" ?>"),
        utf7Declared("Utf7WithStandalone",
                     "<?xml version=\"1.0\" encoding=\"UTF-7\" standalone=\"yes\"?>"),
        utf7Declared("Utf7BehindAByteOrderMark", "<?xml version=\"1.0\" encoding=\"UTF-7\"?>",
                     "\xEF\xBB\xBF"),
        instruction("Iso2022Jp", "ISO-2022-JP", {"\x1B$B", "\x1B(B"}),
        instruction("Iso2022Jp2", "ISO-2022-JP-2", {"\x1B$(D", "\x1B(B"}),
        instruction("Iso2022Jp3", "ISO-2022-JP-3", {"\x1B$(O", "\x1B(B"}),
        instruction("Iso2022Kr", "ISO-2022-KR", {"\x0E", "\x0F"}),
        instruction("Iso2022Cn", "ISO-2022-CN", {"\x1B$)A\x0E", "\x0F"}),
        instruction("Iso2022CnExt", "ISO-2022-CN-EXT", {"\x1B$)A\x0E", "\x0F"}),
        instruction("Hz", "HZ", {"~{", "~}"}), instruction("Scsu", "SCSU", {"\x0E", ""}),
        instruction("Lmbcs", "LMBCS-1", {"\x14", ""}), halfLetter("Gsm", "GSM0338", "\x1B"),
        halfLetter("Johab", "JOHAB", "\xD9"), written("Windows1252", "windows-1252", german),
        written("Latin1", "ISO-8859-1", german), written("Latin9", "ISO-8859-15", german),
        written("Koi8", "KOI8-R", russian), written("ShiftJis", "Shift_JIS", japanese),
        written("EucJp", "EUC-JP", japanese), written("Big5", "Big5", chinese),
        written("Gbk", "GBK", chinese), written("Gb18030", "GB18030", chinese),
        written("Ebcdic037", "IBM037", "firmware"), written("Ebcdic1047", "IBM1047", "firmware"),
        written("Ebcdic1141", "IBM1141", "firmware"),
        encoded("Utf16LittleEndianWithMark",
                [](const std::string& text) { return "\xFF\xFE" + widened(text, 2, false); }),
        encoded("Utf16BigEndianWithMark",
                [](const std::string& text) { return "\xFE\xFF" + widened(text, 2, true); }),
        encoded("Utf16LittleEndianWithoutMark",
                [](const std::string& text) { return widened(text, 2, false); }),
        encoded("Utf16BigEndianWithoutMark",
                [](const std::string& text) { return widened(text, 2, true); }),
        encoded("Utf32BigEndianWithoutMark",
                [](const std::string& text) { return widened(text, 4, true); }),
        Attack{"ZeroByteBehindTheHonestManifest",
               [] { return honestManifest() + '\0' + evilManifest(); }}),
    nameOf);

// No attack through these is known: the parser and the system's conversions that this was tried
// with refuse them or do not know them. They need not get a verdict.
INSTANTIATE_TEST_SUITE_P(
    OddEncoding, AttackTest,
    testing::Values(
        labelled("BeginsLikeLatin1", "ISO-8859-1www.w3.org"), labelled("NoNumber", "ISO-8859-"),
        labelled("NumberThatIsNone", "ISO-8859-12"), labelled("PageThatIsNone", "windows-1259"),
        labelled("Koi7", "KOI8-7"), labelled("NoCountry", "EUC-"),
        labelled("TwoNames", "ASCII latin1"), labelled("NoName", ""), labelled("Bocu1", "BOCU-1"),
        labelled("Unknown", "x-evil"), labelled("Utf16", "UTF-16"),
        labelled("Ucs4", "ISO-10646-UCS-4"),
        encoded("Utf32LittleEndianWithoutMark",
                [](const std::string& text) { return widened(text, 4, false); }),
        encoded("Utf32LittleEndianWithMark",
                [](const std::string& text) {
                    return std::string("\xFF\xFE\0\0", 4) + widened(text, 4, false);
                }),
        encoded("Utf32BigEndianWithMark",
                [](const std::string& text) {
                    return std::string("\0\0\xFE\xFF", 4) + widened(text, 4, true);
                }),
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
               [] { return evilManifest() + '\0' + honestManifest(); }},
        Attack{"ZeroByteInside",
               [] { return insertedBefore(honestManifest(), "<Files>", std::string(1, '\0')); }},
        Attack{"ZeroByteAlone", [] { return std::string(1, '\0'); }}),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
