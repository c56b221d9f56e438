#include "Dictionary.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <functional>
#include <memory>

namespace Norv::Corvane::Test {
namespace {

constexpr std::size_t tightLimit = 20000;
// As libxml2 has it for documents that are not read with XML_PARSE_HUGE.
constexpr std::size_t usualLimit = 10000000;

std::size_t limitOf(Room room) {
    return room == Room::Tight ? tightLimit : usualLimit;
}

// The memory for names grows by steps, each of four times the one before, from four times the first
// long name on. With this length the fourth step, of nearly all, is the last.
std::size_t longName(Room room) {
    return limitOf(room) / 340 + 50;
}

// More long names than there is room for.
constexpr std::size_t tooMany = 350;

void tighten(xmlNode* node) {
    if (node->doc != nullptr && node->doc->dict != nullptr) {
        xmlDictSetLimit(node->doc->dict, tightLimit);
    }
}

std::string prefix(std::size_t number) {
    return {static_cast<char>('a' + number / 26 % 26), static_cast<char>('a' + number % 26)};
}

std::string numbered(std::size_t number, std::size_t length) {
    const std::string name = std::to_string(number);
    // The difference first, where comparing two of them ends soon.
    return "n" + name + std::string(length - 1 - name.size(), 'f');
}

// The error is constant from libxml2 2.12 on.
const xmlStructuredErrorFunc noticeLackOfMemory = [](void* noticed, auto* error) {
    *static_cast<bool*>(noticed) |= error->code == XML_ERR_NO_MEMORY;
};

bool overflows(const std::string& text) {
    bool noticed = false;
    xmlSetStructuredErrorFunc(&noticed, noticeLackOfMemory);
    xmlFreeDoc(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                             XML_PARSE_NONET));
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    return noticed;
}

using Piece = std::function<std::string(std::size_t)>;
using PieceOfLength = std::function<std::string(std::size_t, std::size_t)>;

std::string repeated(std::size_t count, const Piece& piece) {
    std::string pieces;
    for (std::size_t i = 0; i < count; ++i) {
        pieces += piece(i);
    }
    return pieces;
}

// Pieces of falling size, as many as fit behind the text.
std::string asManyAsFit(const std::string& text, Room room, const PieceOfLength& piece,
                        const std::string& end) {
    constexpr std::size_t shortest = 6;
    std::string pieces;
    std::size_t length = longName(room);
    do {
        const Piece next = [&](std::size_t number) { return piece(number, length); };
        std::size_t least = 0;
        std::size_t most = tooMany;
        while (least + 1 < most) {
            const std::size_t count = (least + most) / 2;
            (overflows(text + pieces + repeated(count, next) + end) ? most : least) = count;
        }
        pieces += repeated(least, next);
        length /= 2;
    } while (room == Room::Tight && length >= shortest);
    return pieces;
}

std::string fillingElements(std::size_t longest, std::size_t longNames) {
    const auto element = [](std::size_t number, std::size_t length) {
        return "<" + prefix(number) + ":" + std::string(length, 'f') + "/>";
    };
    // Their parts first: those are not lost silently.
    std::string elements =
        repeated(longNames, [&](std::size_t number) { return element(number, 1); });
    for (std::size_t length = longest; length > 1; length /= 2) {
        elements += element(0, length);
    }
    // Each length fills what the one before left over.
    for (std::size_t length = longest; length > 1; length /= 2) {
        const std::size_t count = length == longest ? longNames : 24;
        elements += repeated(count, [&](std::size_t number) { return element(number, length); });
    }
    return elements;
}

}  // namespace

TightDictionary::TightDictionary() {
    xmlRegisterNodeDefault(tighten);
}

TightDictionary::~TightDictionary() {
    xmlRegisterNodeDefault(nullptr);
}

std::string fillingElements(Room room) {
    return fillingElements(longName(room), tooMany);
}

std::string fillingElementsOfFirstSteps() {
    return fillingElements(longName(Room::Usual), 85);
}

std::string fillingInstructions(const std::string& text, Room room) {
    const auto piece = [](std::size_t number, std::size_t length) {
        return "<?" + numbered(number, length) + "?>";
    };
    return asManyAsFit(text, room, piece, "");
}

std::string fillingDeclarations(const std::string& text, Room room) {
    const auto piece = [](std::size_t number, std::size_t length) {
        return " xmlns:" + numbered(number, length) + "=\"u:u\"";
    };
    return asManyAsFit(text, room, piece, ">");
}

std::string overflowingName(Room room) {
    return std::string(longName(room), 'o');
}

}  // namespace Norv::Corvane::Test
