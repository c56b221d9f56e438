// A name for which libxml2 has no room ends its document at that place. The document still counts
// as well-formed if only comments and instructions seem to follow. The other parser reads on: what
// is a comment to one is content to the other.

#include "ManifestMutations.h"
#include "PackageBuilder.h"
#include "ReadingAttack.h"

namespace Norv::Corvane::Test {
namespace {

const std::string evilFile =
    R"(<File xsi:type="ScriptFileType" LocalFilePath="evil/Script.run")"
    R"( RemoteFilePath="evil/Script.run" HashValue="AAAA" HashAlgorithm="sha256" Length="4"/>)";
const std::string evilFiles = "<Files>" + evilFile + "</Files>";
const std::string evilRevisions = "<SupportedHwRevs><HwRev Value=\"evil\"/></SupportedHwRevs>";
const std::string endOfRoot = "</FirmwareDescription>";

// The end of that comment, and of the text.
struct End {
    const char* name;
    const char* text;
};
constexpr End asText = {"EndAsText", "-->"};
constexpr End ends[] = {asText,
                        {"EndAsComment", "<!--><!-- -->"},
                        {"EndAsInstruction", "<?p --><?p ?>"},
                        {"EndAsCommentBeforeBlanks", "<!--> <!-- -->\n\t\n"}};

// Here one parser stops, in front of a comment that hides all that follows from it.
std::string stop(Room room = Room::Tight) {
    return "<?" + overflowingName(room) + " <!-- ?>";
}

std::string withoutFiles() {
    return withoutElement(plainManifest(), "Files");
}

// The signature comes first; its object fills the dictionary.
std::string filled(const std::string& signedText) {
    const std::string text = withSignatureFirst(signedText);
    const std::string names = namesOf(text);
    return withObject(text, names + fillingInstructions(upToObject(text) + names, Room::Tight));
}

std::string endingWith(const std::string& text, const std::string& end) {
    return text.substr(0, text.rfind('>') + 1) + end;
}

// Unsigned content is added at the end of this element, which the signed text ends with.
std::string addedTo(const std::string& text, const std::string& content, const End& end,
                    const std::string& place = endOfRoot) {
    return endingWith(insertedBefore(text, place, stop() + content), end.text);
}

std::vector<ReadingAttack> allEnds() {
    std::vector<ReadingAttack> attacks;
    for (const End& end : ends) {
        attacks.push_back({end.name, [=] {
                               const std::string text =
                                   filled(genuine(withoutFiles(), Algorithm::exclusive));
                               return addedTo(text, evilFiles, end);
                           }});
    }
    return attacks;
}

// Inside the object: the signature's own end, too, is read by one parser only.
std::string stoppedInTheObject(const std::string& unsignedText, const std::string& content,
                               Room room = Room::Tight) {
    const std::string text = genuine(unsignedText, Algorithm::exclusive);
    const std::string filling = fillingInstructions(upToObject(text), room);
    const std::string whole = withObject(text, filling + stop(room));
    return endingWith(insertedBefore(whole, endOfRoot, content), asText.text);
}

// Without blanks between the last two end tags, whatever the signed text ends with can be added to.
std::string endingIn(const std::string& element) {
    const std::string text = plainManifest();
    const std::string last = elementOf(text, element);
    const std::string rest = withoutElement(text, element);
    return insertedBefore(rest.substr(0, rest.rfind("</")) + endOfRoot, endOfRoot, last);
}

// What is signed loses its name to the reader, and what is not signed has it.
struct Replaced {
    const char* element;
    std::string by;
};

const std::vector<Replaced>& replacements() {
    static const std::vector<Replaced> all = {
        {"ManufacturerId", "<ManufacturerId Value=\"evil\"/>"},
        {"ModelId", "<ModelId Value=\"WOLMZB04\"/>"},
        {"Version", "<Version Value=\"6.6.6.6\"/>"},
        {"SystemVersion", "<SystemVersion Value=\"6.6.6.6\"/>"},
        {"ApplicationVersion", "<ApplicationVersion Value=\"6.6.6.6\"/>"},
        {"SupportedHwRevs", evilRevisions},
        {"Files", evilFiles}};
    return all;
}

std::vector<ReadingAttack> replacedElements() {
    std::vector<ReadingAttack> attacks;
    for (const Replaced& element : replacements()) {
        attacks.push_back({element.element, [=] {
                               const std::string text =
                                   withHiddenElement(filled(genuine()), element.element);
                               return addedTo(text, element.by, asText);
                           }});
    }
    return attacks;
}

// The signed root loses its name, and a second one, all of it unsigned, has it.
std::string replacedRoot(const End& end) {
    const std::string text = filledByDeclarations(
        [](const std::string& whole) { return withHiddenElement(whole, "FirmwareDescription"); });
    const std::string evil =
        PackageBuilder().script("evil/Script.run", "rm -r /").withoutSignature().manifest();
    const std::size_t endOfSigned = text.rfind("</");
    return endingWith(text.substr(0, endOfSigned) + stop() + text.substr(endOfSigned) +
                          evil.substr(evil.find("<Firm")),
                      end.text);
}

INSTANTIATE_TEST_SUITE_P(Tail, ReadingAttackTest, testing::ValuesIn(allEnds()), nameOfReading);
INSTANTIATE_TEST_SUITE_P(TailReplaces, ReadingAttackTest, testing::ValuesIn(replacedElements()),
                         nameOfReading);
ReadingAttack made(const std::string& name, const std::function<std::string()>& manifest,
                   Room room = Room::Tight) {
    return {name, manifest, room};
}

INSTANTIATE_TEST_SUITE_P(
    TailElsewhere, ReadingAttackTest,
    testing::Values(
        made("InTheObject", [] { return stoppedInTheObject(withoutFiles(), evilFiles); }),
        made("InTheObjectWithoutRevisions",
             [] {
                 return stoppedInTheObject(withoutElement(plainManifest(), "SupportedHwRevs"),
                                           evilRevisions);
             }),
        made("AmongTheFiles",
             [] {
                 const std::string text = filled(genuine(endingIn("Files"), Algorithm::exclusive));
                 return addedTo(text, evilFile, asText, "</Files>");
             }),
        made("AmongTheRevisions",
             [] {
                 const std::string text =
                     filled(genuine(endingIn("SupportedHwRevs"), Algorithm::exclusive));
                 return addedTo(text, "<HwRev Value=\"evil\"/>", asText, "</SupportedHwRevs>");
             }),
        made("SecondRoot", [] { return replacedRoot(asText); }),
        made("SecondRootAndAComment", [] { return replacedRoot(ends[1]); }),
        made("Inclusive",
             [] {
                 return addedTo(filled(genuine(withoutFiles(), Algorithm::inclusive)), evilFiles,
                                asText);
             }),
        // A text of ten megabytes, as a sender would have to make it.
        made(
            "InFullSize", [] { return stoppedInTheObject(withoutFiles(), evilFiles, Room::Usual); },
            Room::Usual)),
    nameOfReading);

}  // namespace
}  // namespace Norv::Corvane::Test
