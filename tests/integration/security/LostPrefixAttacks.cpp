// A name with a prefix that nothing declares is looked up in libxml2's dictionary as a whole.
// Without room for it there, the prefix is lost: what is signed is an element or attribute that the
// reader of the text does not find.

#include "ManifestMutations.h"
#include "ReadingAttack.h"

namespace Norv::Corvane::Test {
namespace {

// The dictionary is full before anything that is to be hidden. None of what fills it is signed.
std::string filledByElements(const std::string& signedText, const Edit& hide,
                             Room room = Room::Tight) {
    const std::string text = hide(withSignatureFirst(signedText));
    return withObject(text, namesOf(text) + fillingElements(room));
}

std::string filledByInstructions(const std::string& signedText, const Edit& hide) {
    const std::string text = hide(withSignatureFirst(signedText));
    const std::string names = namesOf(text);
    return withObject(text, names + fillingInstructions(upToObject(text) + names, Room::Tight));
}

struct Hidden {
    const char* element;
    // Null for the element itself.
    const char* attribute;
};

// All that the reader looks for.
constexpr Hidden everything[] = {{"FirmwareDescription", nullptr},
                                 {"ManufacturerId", nullptr},
                                 {"ManufacturerId", "Value"},
                                 {"ModelId", nullptr},
                                 {"ModelId", "Value"},
                                 {"Version", nullptr},
                                 {"Version", "Value"},
                                 {"SystemVersion", nullptr},
                                 {"SystemVersion", "Value"},
                                 {"ApplicationVersion", nullptr},
                                 {"ApplicationVersion", "Value"},
                                 {"SupportedHwRevs", nullptr},
                                 {"HwRev", nullptr},
                                 {"HwRev", "Value"},
                                 {"Files", nullptr},
                                 {"File", "xsi:type"},
                                 {"File", "LocalFilePath"},
                                 {"File", "RemoteFilePath"},
                                 {"File", "HashValue"},
                                 {"File", "HashAlgorithm"},
                                 {"File", "Length"}};

std::string labelOf(const Hidden& hidden) {
    std::string name = hidden.element;
    if (hidden.attribute != nullptr) {
        name += std::string("_") + hidden.attribute;
    }
    return everywhere(name, ":", "_");
}

Edit hiding(const Hidden& hidden) {
    return [=](const std::string& text) {
        return hidden.attribute == nullptr
                   ? withHiddenElement(text, hidden.element)
                   : withHiddenAttribute(text, hidden.element, hidden.attribute);
    };
}

// A name that is two prefixes long is not in the canonical form that declares only what is used.
bool isXsi(const Hidden& hidden) {
    return hidden.attribute != nullptr && std::string(hidden.attribute) == "xsi:type";
}

std::string genuineFor(const Hidden& hidden) {
    return isXsi(hidden) ? genuine(plainManifest(), Algorithm::inclusive) : genuine();
}

std::vector<ReadingAttack> hiddenBehindElements() {
    std::vector<ReadingAttack> attacks;
    for (const Hidden& hidden : everything) {
        if (std::string(labelOf(hidden)) != "FirmwareDescription") {
            attacks.push_back({labelOf(hidden), [=] {
                                   return filledByElements(genuineFor(hidden), hiding(hidden));
                               }});
        }
    }
    return attacks;
}

std::vector<ReadingAttack> hiddenBehindInstructions() {
    std::vector<ReadingAttack> attacks;
    for (const Hidden& hidden : everything) {
        if (std::string(labelOf(hidden)) != "FirmwareDescription") {
            attacks.push_back({labelOf(hidden), [=] {
                                   return filledByInstructions(genuineFor(hidden), hiding(hidden));
                               }});
        }
    }
    return attacks;
}

std::vector<ReadingAttack> hiddenBehindDeclarations() {
    std::vector<ReadingAttack> attacks;
    for (const Hidden& hidden : everything) {
        if (!isXsi(hidden)) {
            attacks.push_back(
                {labelOf(hidden), [=] { return filledByDeclarations(hiding(hidden)); }});
        }
    }
    return attacks;
}

INSTANTIATE_TEST_SUITE_P(LostBehindElements, ReadingAttackTest,
                         testing::ValuesIn(hiddenBehindElements()), nameOfReading);
INSTANTIATE_TEST_SUITE_P(LostBehindInstructions, ReadingAttackTest,
                         testing::ValuesIn(hiddenBehindInstructions()), nameOfReading);
INSTANTIATE_TEST_SUITE_P(LostBehindDeclarations, ReadingAttackTest,
                         testing::ValuesIn(hiddenBehindDeclarations()), nameOfReading);

// A text of ten megabytes, as a sender would have to make it.
INSTANTIATE_TEST_SUITE_P(
    LostInFullSize, ReadingAttackTest,
    testing::Values(ReadingAttack{
        "Files",
        [] {
            return filledByElements(genuine(), hiding({"Files", nullptr}), Room::Usual);
        },
        Room::Usual}),
    nameOfReading);

}  // namespace
}  // namespace Norv::Corvane::Test
