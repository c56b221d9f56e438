#include "XmlText.h"

namespace Norv::Corvane::Pack {

namespace {

constexpr std::size_t npos = std::string_view::npos;

// What the text contains at a place that begins with "<".
enum class Piece { Opening, Closing, Empty, Other };

struct Markup {
    Piece piece;
    std::size_t end;
};

std::size_t after(std::string_view xml, std::size_t from, std::string_view end) {
    const std::size_t at = xml.find(end, from);
    return at == npos ? xml.size() : at + end.size();
}

std::size_t endOfTag(std::string_view xml, std::size_t at) {
    char quote = '\0';
    for (; at < xml.size(); ++at) {
        const char c = xml[at];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return at + 1;
        }
    }
    return at;
}

Markup markupAt(std::string_view xml, std::size_t at) {
    const std::string_view text = xml.substr(at);
    const auto starts = [&](std::string_view prefix) {
        return text.compare(0, prefix.size(), prefix) == 0;
    };
    if (starts("<!--")) {
        return {Piece::Other, after(xml, at + 4, "-->")};
    }
    if (starts("<![CDATA[")) {
        return {Piece::Other, after(xml, at, "]]>")};
    }
    if (starts("<?")) {
        return {Piece::Other, after(xml, at, "?>")};
    }
    const std::size_t end = endOfTag(xml, at);
    if (starts("</")) {
        return {Piece::Closing, end};
    }
    const bool empty = end - at > 2 && xml[end - 2] == '/';
    return {empty ? Piece::Empty : Piece::Opening, end};
}

}  // namespace

std::optional<TextRange> rootChildRange(std::string_view xml, std::size_t index) {
    std::size_t depth = 0;
    std::size_t seen = 0;
    TextRange range;
    for (std::size_t at = xml.find('<'); at != npos; at = xml.find('<', at)) {
        const Markup markup = markupAt(xml, at);
        const bool begins = markup.piece == Piece::Opening || markup.piece == Piece::Empty;
        if (begins && depth == 1 && seen++ == index) {
            range.begin = at;
        }
        depth += markup.piece == Piece::Opening ? 1 : 0;
        depth -= markup.piece == Piece::Closing && depth > 0 ? 1 : 0;
        at = markup.end;
        const bool ends = markup.piece == Piece::Closing || markup.piece == Piece::Empty;
        if (ends && depth == 1 && range.begin != 0 && seen == index + 1) {
            range.end = at;
            return range;
        }
    }
    return std::nullopt;
}

}  // namespace Norv::Corvane::Pack
