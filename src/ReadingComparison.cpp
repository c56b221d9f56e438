#include "ReadingComparison.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace Norv::Corvane::Common {
namespace {

// As the manifest is read for use, except that text of blanks only is kept: a comment may split a
// text so that one part of it is only blanks.
constexpr unsigned options = pugi::parse_default | pugi::parse_ws_pcdata;

bool isElement(pugi::xml_node node) {
    return node.type() == pugi::node_element;
}

// Walks through a tree in document order, without recursion, and leaves one element out.
class Walk {
public:
    enum class Tag { start, end, none };

    Walk(pugi::xml_node top, pugi::xml_node leftOut)
        : element_(top), next_(top.first_child()), leftOut_(leftOut) {}

    // The next piece of the text before the next tag. Empty when there is no more of it.
    std::string_view text() {
        std::string_view piece;
        while (next_ && piece.empty() && (!isElement(next_) || next_ == leftOut_)) {
            piece = isElement(next_) ? std::string_view() : next_.value();
            next_ = next_.next_sibling();
        }
        return piece;
    }

    // Moves past the next tag; call it when there is no more text before that. `none` at the end of
    // the tree.
    Tag tag() {
        if (next_) {
            element_ = next_;
            next_ = element_.first_child();
            return Tag::start;
        }
        next_ = element_.next_sibling();
        element_ = element_.parent();
        return element_ ? Tag::end : Tag::none;
    }

    // The element whose start tag `tag` has just moved past.
    pugi::xml_node element() const { return element_; }

private:
    pugi::xml_node element_;
    // Null at the end of the element.
    pugi::xml_node next_;
    pugi::xml_node leftOut_;
};

bool sameText(Walk& one, Walk& other) {
    std::string_view ofOne;
    std::string_view ofOther;
    for (;;) {
        ofOne = ofOne.empty() ? one.text() : ofOne;
        ofOther = ofOther.empty() ? other.text() : ofOther;
        const std::size_t size = std::min(ofOne.size(), ofOther.size());
        if (size == 0) {
            return ofOne.empty() && ofOther.empty();
        }
        if (ofOne.substr(0, size) != ofOther.substr(0, size)) {
            return false;
        }
        ofOne.remove_prefix(size);
        ofOther.remove_prefix(size);
    }
}

bool isCompared(std::string_view attribute) {
    return attribute != "xmlns" && attribute.substr(0, 6) != "xmlns:" && attribute != "xml:base";
}

using Attributes = std::vector<std::pair<std::string_view, std::string_view>>;

// Canonical forms sort attributes. Of several with the same name, a look-up finds the first, so
// these stay in order.
void collectSorted(pugi::xml_node element, Attributes& attributes) {
    attributes.clear();
    for (const pugi::xml_attribute attribute : element.attributes()) {
        if (const std::string_view name = attribute.name(); isCompared(name)) {
            attributes.emplace_back(name, attribute.value());
        }
    }
    std::stable_sort(attributes.begin(), attributes.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
}

bool sameReading(Walk one, Walk other) {
    Attributes ofOne;
    Attributes ofOther;
    const auto sameStartTag = [&] {
        collectSorted(one.element(), ofOne);
        collectSorted(other.element(), ofOther);
        return std::strcmp(one.element().name(), other.element().name()) == 0 && ofOne == ofOther;
    };
    for (;;) {
        if (!sameText(one, other)) {
            return false;
        }
        const Walk::Tag tag = one.tag();
        if (tag != other.tag()) {
            return false;
        }
        if (tag == Walk::Tag::none) {
            return true;
        }
        if (tag == Walk::Tag::start && !sameStartTag()) {
            return false;
        }
    }
}

// With any prefix: the code that reads the manifest looks up no element of this name.
bool isNamedSignature(pugi::xml_node element) {
    const std::string_view name = element.name();
    const std::size_t colon = name.find(':');
    return name.substr(colon == std::string_view::npos ? 0 : colon + 1) == "Signature";
}

pugi::xml_node findSignature(pugi::xml_node root, std::size_t elementsBefore) {
    for (const pugi::xml_node child : root.children()) {
        if (isElement(child) && elementsBefore-- == 0) {
            return isNamedSignature(child) ? child : pugi::xml_node();
        }
    }
    return {};
}

bool hasOneRoot(const pugi::xml_document& document) {
    return std::count_if(document.begin(), document.end(), isElement) == 1;
}

}  // namespace

ReadingComparison::ReadingComparison(boost::string_view manifest,
                                     std::size_t elementsBeforeSignature) {
    if (manifest_.load_buffer(manifest.data(), manifest.size(), options, pugi::encoding_utf8) &&
        hasOneRoot(manifest_)) {
        signature_ = findSignature(manifest_.document_element(), elementsBeforeSignature);
    }
}

bool ReadingComparison::agreesWith(char* bytes, std::size_t size) const {
    pugi::xml_document document;
    return signature_ && size != 0 &&
           document.load_buffer_inplace(bytes, size, options, pugi::encoding_utf8) &&
           sameReading(Walk(manifest_.root(), signature_), Walk(document.root(), {}));
}

}  // namespace Norv::Corvane::Common
