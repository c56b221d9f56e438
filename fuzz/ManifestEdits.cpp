#include "ManifestEdits.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

namespace Norv::Corvane::Fuzz {
namespace {

constexpr std::string_view evilFile =
    R"(<File xsi:type="ScriptFileType" LocalFilePath="evil/Script.run" RemoteFilePath="evil" )"
    R"(HashValue="AAAA" HashAlgorithm="sha256" Length="1"/>)";

constexpr std::array<std::string_view, 56> snippets = {
    "<!-- c -->",
    "<!---->",
    "<!-- <Files> -->",
    "<?p i?>",
    "<?p </Files>?>",
    "<![CDATA[x]]>",
    "<![CDATA[<Files>]]>",
    "]]>",
    "--",
    "&#65;",
    "&#x41;",
    "&#10;",
    "&#13;",
    "&#9;",
    "&amp;",
    "&lt;",
    "&quot;",
    "&apos;",
    "&#00000000065;",
    "&x;",
    " ",
    "\t",
    "\n",
    "\r",
    "\r\n",
    "\xC2\xA0",
    "\xC2\x85",
    "\xE2\x80\xA8",
    "\xEF\xBB\xBF",
    "\xC3\xA9",
    "\xF0\x9F\x94\xA7",
    "\x0C",
    "\"",
    "'",
    "<",
    ">",
    "/",
    "=",
    ":",
    "xsi:",
    "a:",
    " xmlns:a=\"u:a\"",
    " xmlns=\"u:d\"",
    " xmlns=\"\"",
    " xmlns:xsi=\"u:x\"",
    " xml:space=\"preserve\"",
    " Value=\"evil\"",
    " LocalFilePath=\"evil\"",
    " Length=\"2\"",
    "<Files>",
    "</Files>",
    "<Version Value=\"6.6.6.6\"/>",
    "<HwRev Value=\"evil\"/>",
    "<!DOCTYPE FirmwareDescription [<!ENTITY x \"y\">]>",
    "<Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"/>",
    evilFile,
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isMarkup(char c) {
    return c == '<' || c == '>' || c == '/' || c == '=' || c == '"' || c == '\'' || c == '&' ||
           c == ';' || c == '!' || c == '?' || c == ':';
}

// Where pieces begin, the end of the text included: runs of blanks, runs of other characters, and
// each character of markup.
std::vector<std::size_t> boundaries(const std::string& text) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == 0 || isMarkup(text[i]) || isMarkup(text[i - 1]) ||
            isBlank(text[i]) != isBlank(text[i - 1])) {
            starts.push_back(i);
        }
    }
    starts.push_back(text.size());
    return starts;
}

class Edit {
public:
    Edit(std::string& text, std::string_view bytes)
        : text_(text), bytes_(bytes), starts_(boundaries(text)) {}

    void apply() {
        if (byte(0) >= firstCompoundEdit) {
            applyCompound();
        } else {
            applySimple();
        }
    }

private:
    void applySimple() {
        const std::size_t pieces = starts_.size() - 1;
        const std::size_t piece = std::min(word(1) * pieces >> 16, pieces == 0 ? 0 : pieces - 1);
        const std::size_t at = starts_[piece];
        const std::size_t length = starts_[std::min(piece + 1, pieces)] - at;
        const std::size_t other = starts_[(piece + byte(3)) % starts_.size()];
        const std::string current = text_.substr(at, length);
        const std::string_view snippet = snippets[byte(3) % snippets.size()];
        switch (byte(0) % 12) {
            case 0:
                text_.insert(at, snippet);
                break;
            case 1:
            case 2:
            case 3:
            case 4:
                text_.insert(placeFor(snippet, at), snippet);
                break;
            case 5:
                text_.replace(at, length, snippet);
                break;
            case 6:
                text_.erase(at, length);
                break;
            case 7:
                text_.insert(other, current);
                break;
            case 8:
                moveElement(at, other);
                break;
            case 9:
                asReferences(at, length);
                break;
            case 10:
                swapQuotes(at);
                break;
            default:
                if (length != 0) {
                    text_[at] = static_cast<char>(byte(3));
                }
                break;
        }
    }

    void applyCompound() {
        switch (byte(0) - firstCompoundEdit) {
            case 0:
                hideElement();
                break;
            case 1:
                fillDictionary();
                break;
            case 2:
                addTail();
                break;
            default:
                hideInComment();
                break;
        }
    }

    unsigned byte(std::size_t i) const { return static_cast<unsigned char>(bytes_[i]); }
    std::size_t word(std::size_t i) const { return byte(i) * 256U + byte(i + 1); }

    // The next place from `at` on where such a piece does not make nonsense of the markup.
    std::size_t placeFor(std::string_view snippet, std::size_t at) const {
        std::size_t place = at;
        if (snippet.front() == '<') {
            place = text_.find('<', at);
        } else if (snippet.front() == '&') {
            place = text_.find('"', at);
        } else if (isBlank(snippet.front())) {
            place = text_.find_first_of("/>", text_.find('"', at));
        }
        return std::min(place, text_.size());
    }

    // Moves the signature, or whatever element follows.
    void moveElement(std::size_t from, std::size_t to) {
        to = std::min(text_.find('<', to), text_.size());
        const std::string close = "</Signature>";
        std::size_t begin = text_.find("<Signature ");
        std::size_t end = text_.find(close);
        if (byte(3) % 2 != 0 || begin == std::string::npos || end == std::string::npos) {
            begin = text_.find('<', from);
            end = text_.find("/>", from);
            end = end == std::string::npos ? end : end + 2;
        } else {
            end += close.size();
        }
        if (begin == std::string::npos || end == std::string::npos || end <= begin ||
            (begin < to && to < end)) {
            return;
        }
        const std::string element = text_.substr(begin, end - begin);
        text_.insert(to, element);
        text_.erase(to <= begin ? begin + element.size() : begin, element.size());
    }

    // Writes the first character of a piece as a character reference.
    void asReferences(std::size_t at, std::size_t length) {
        if (length != 0 && static_cast<unsigned char>(text_[at]) < 0x80) {
            const std::string code = std::to_string(static_cast<int>(text_[at]));
            text_.replace(at, 1, "&#" + code + ";");
        }
    }

    // Changes the quotes of the next value into the other kind.
    void swapQuotes(std::size_t at) {
        at = text_.find("=\"", at);
        for (int count = 0; count < 2; ++count) {
            at = text_.find_first_of("\"'", at);
            if (at == std::string::npos) {
                return;
            }
            text_[at] = text_[at] == '"' ? '\'' : '"';
            ++at;
        }
    }

    // Gives some element a prefix, declared or not, at its start and at its end.
    void hideElement() {
        // Often behind the signature, which may be most of the text.
        const std::size_t signature = std::min(text_.find("</Signature>"), text_.size());
        const std::size_t begin = byte(3) % 4 < 2 ? 0 : signature;
        const std::size_t at = text_.find('<', begin + (word(1) * (text_.size() - begin) >> 16));
        const std::size_t end = at == std::string::npos ? at : text_.find_first_of(" />", at + 1);
        if (end == std::string::npos || end == at + 1) {
            return;
        }
        const std::string name = text_.substr(at + 1, end - at - 1);
        const std::size_t close = text_.find("</" + name + ">", at);
        if (close != std::string::npos) {
            text_.insert(close + 2, "p:");
        }
        text_.insert(end, byte(3) % 2 == 0 ? "" : " xmlns:p=\"u:p\"");
        text_.insert(at + 1, "p:");
    }

    // Adds an object to the signature, with all names of the text and as many more as there may be
    // room for.
    void fillDictionary() {
        std::string content = "<?p?>";
        for (std::size_t i = 0; i + 1 < starts_.size(); ++i) {
            const std::string name = text_.substr(starts_[i], starts_[i + 1] - starts_[i]);
            const auto isLetter = [](char c) {
                return std::isalpha(static_cast<unsigned char>(c));
            };
            if (std::all_of(name.begin(), name.end(), isLetter) && name.rfind("xml", 0) != 0) {
                content += "<?" + name + "?>";
            }
        }
        constexpr std::size_t longest = 200;
        // Parts of names first: these are not lost silently.
        for (std::size_t length = longest; length > 1; length /= 2) {
            content += "<p:" + std::string(length, 'f') + "/>";
        }
        for (std::size_t length = longest; length > 1; length /= 2) {
            for (char c = 'a'; c <= 'z'; ++c) {
                content += std::string("<") + c + ":" + std::string(length, 'f') + "/>";
            }
        }
        insertInSignature("<Object>" + content + "</Object>");
    }

    // Content that follows a comment to one parser, and is part of it to another.
    void addTail() {
        const std::size_t end = text_.rfind("</");
        if (end != std::string::npos) {
            text_.insert(end, "<?" + std::string(byte(3), 't') + " <!-- ?><Files>" +
                                  std::string(evilFile) + "</Files>");
            text_ += "-->";
        }
    }

    // The same, should the start of the comment be lost.
    void hideInComment() {
        const std::size_t end = text_.rfind("</");
        if (end != std::string::npos) {
            text_.insert(end, "<!--" + std::string(byte(3), ' ') + "<?p --><Files>" +
                                  std::string(evilFile) + "</Files><?p ?>");
        }
    }

    void insertInSignature(const std::string& what) {
        const std::size_t end = text_.find("</Signature>");
        text_.insert(std::min(end, text_.size()), what);
    }

    std::string& text_;
    std::string_view bytes_;
    std::vector<std::size_t> starts_;
};

}  // namespace

std::string edited(std::string text, std::string_view edits) {
    for (; edits.size() >= editSize; edits.remove_prefix(editSize)) {
        Edit(text, edits.substr(0, editSize)).apply();
    }
    return text;
}

}  // namespace Norv::Corvane::Fuzz
