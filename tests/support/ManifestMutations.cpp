#include "ManifestMutations.h"

#include <stdexcept>

namespace Norv::Corvane::Test {
namespace {

std::size_t find(const std::string& text, const std::string& what, std::size_t from = 0) {
    const std::size_t at = text.find(what, from);
    if (at == std::string::npos) {
        throw std::runtime_error("the manifest has no " + what);
    }
    return at;
}

struct Range {
    std::size_t begin;
    std::size_t end;
};

Range rangeOf(const std::string& text, const std::string& name) {
    std::size_t begin = find(text, "<" + name);
    while (text.find_first_of(" >/\t\r\n", begin) != begin + 1 + name.size()) {
        begin = find(text, "<" + name, begin + 1);
    }
    const std::string close = "</" + name + ">";
    return {begin, find(text, close, begin) + close.size()};
}

}  // namespace

std::string replaced(const std::string& text, const std::string& from, const std::string& to) {
    return std::string(text).replace(find(text, from), from.size(), to);
}

std::string insertedBefore(const std::string& text, const std::string& place,
                           const std::string& what) {
    return std::string(text).insert(find(text, place), what);
}

std::string insertedAfter(const std::string& text, const std::string& place,
                          const std::string& what) {
    return std::string(text).insert(find(text, place) + place.size(), what);
}

std::string everywhere(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string elementOf(const std::string& text, const std::string& name) {
    const Range range = rangeOf(text, name);
    return text.substr(range.begin, range.end - range.begin);
}

std::string withoutElement(const std::string& text, const std::string& name) {
    const Range range = rangeOf(text, name);
    return std::string(text).erase(range.begin, range.end - range.begin);
}

std::string withContent(const std::string& text, const std::string& name,
                        const std::string& content) {
    const Range range = rangeOf(text, name);
    const std::size_t begin = find(text, ">", range.begin) + 1;
    const std::size_t end = text.rfind("</", range.end - 1);
    return std::string(text).replace(begin, end - begin, content);
}

std::string withKeyInfo(const std::string& text, const std::string& content) {
    const bool present = text.find("<KeyInfo") != std::string::npos;
    return insertedAfter(present ? withoutElement(text, "KeyInfo") : text, "</SignatureValue>",
                         "<KeyInfo>" + content + "</KeyInfo>");
}

std::string declaredAs(const std::string& text, const std::string& encoding) {
    const std::size_t begin = text.compare(0, 5, "<?xml") == 0 ? find(text, "?>") + 2 : 0;
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>" + text.substr(begin);
}

std::string withDocumentType(const std::string& text, const std::string& declaration) {
    return insertedBefore(text, "<FirmwareDescription", declaration);
}

std::string withSignatureBefore(const std::string& text, const std::string& place) {
    return insertedBefore(withoutElement(text, "Signature"), place, elementOf(text, "Signature"));
}

std::string widened(const std::string& text, unsigned bytes, bool bigEndian) {
    std::string wide;
    for (const char c : text) {
        const std::string zeros(bytes - 1, '\0');
        wide += bigEndian ? zeros + c : c + zeros;
    }
    return wide;
}

}  // namespace Norv::Corvane::Test
