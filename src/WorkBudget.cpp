#include "WorkBudget.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

namespace Norv::Corvane::Common {
namespace {

// A step takes about a nanosecond on a desktop computer. Any text may take the basic steps, and
// some more for each byte, up to the size of the largest usual manifest. Honest manifests of some
// 100,000 files with six references just fit; an attacker's take some two seconds at most.
constexpr double basicSteps = 5e8;
constexpr double stepsPerByte = 80;
constexpr double largestUsualText = 24 << 20;
// What every pass over the document costs, for a byte and for an element or attribute.
constexpr double stepsPerPassedByte = 3;
constexpr double stepsPerPassedSlot = 250;
// For each name that another is compared with.
constexpr double stepsPerComparison = 1.4;
// For each ancestor of a node that is searched for.
constexpr double stepsPerAncestor = 4;
// Documents are built from canonical output in portions of some 16 KB, and libxml2 searches an open
// tag or instruction again with each.
constexpr double rebuildingPortion = 1 << 15;
// Names are compared byte by byte as long as they begin alike. Usual names are shorter than the
// first of these; the other is a step's share in each further byte.
constexpr double usualName = 14;
constexpr double stepsPerNameByte = 0.1;
constexpr double bytesPerNode = 160;
// For all documents that are built from canonical output.
constexpr double rebuiltMemory = 6e7;
// A quotation mark in a value becomes "&quot;".
constexpr double longestEscape = 6;
// For canonical output that is kept before the signature is proven.
constexpr double keptMemory = 48 << 20;
// For the document itself: what any text may take, what it may take in addition for each byte,
// which is what honest manifests need, and the most, which is what one of 100,000 files needs.
constexpr double basicMemory = 56 << 20;
constexpr double documentBytesPerByte = 12;
constexpr double mostMemory = 244 << 20;
// What writing out the longest text or value takes for each of its bytes.
constexpr double bytesPerWritten = 8;
// The parser's own limit: it refuses what is deeper.
constexpr std::size_t deepest = 256;

// The attribute's name at the end of the text before its value. A blank stands before the name.
std::string_view attributeName(std::string_view text) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    std::size_t end = text.size();
    while (end > 0 && (isBlank(text[end - 1]) || text[end - 1] == '=')) {
        --end;
    }
    std::size_t begin = end;
    while (begin > 0 && !isBlank(text[begin - 1])) {
        --begin;
    }
    return text.substr(begin, end - begin);
}

// Walks over the markup of a text, no deeper than the parser would go. It may miscount text that is
// not well-formed, which does no harm: the parser stops there. Counts are floating point so that no
// text can make them overflow.
class Scanner {
public:
    // Counts each element as if it declared `prefixes` more namespaces.
    Scanner(std::string_view text, double prefixes)
        : size_(static_cast<double>(text.size())), rest_(text), prefixes_(prefixes) {}

    WorkBudget::Work run() {
        while (!refused_ && skipPast("<")) {
            if (accept("!--")) {
                skipPast("-->");
                addLeaf();
            } else if (accept("![CDATA[")) {
                skipPast("]]>");
                addLeaf();
            } else if (accept("?")) {
                skipPast("?>");
                addLeaf();
                instructionsOutside_ += depth_ == 0 ? 1 : 0;
            } else if (accept("/")) {
                skipPast(">");
                leaveElement();
            } else {
                addStartTag();
            }
        }
        return total();
    }

private:
    struct Scope {
        double attributes;
        double declarations;
    };

    bool accept(std::string_view token) {
        const bool matches = rest_.substr(0, token.size()) == token;
        rest_.remove_prefix(matches ? token.size() : 0);
        return matches;
    }

    bool skipPast(std::string_view token) {
        const std::size_t at = rest_.find(token);
        notePiece(std::min(at, rest_.size()));
        rest_.remove_prefix(at == std::string_view::npos ? rest_.size() : at + token.size());
        return at != std::string_view::npos;
    }

    void notePiece(std::size_t size) {
        longestPiece_ = std::max(longestPiece_, static_cast<double>(size));
    }

    void addStartTag() {
        const std::size_t before = rest_.size();
        if (depth_ == deepest) {
            refused_ = true;
            return;
        }
        Scope scope = depth_ == 0 ? Scope{0, prefixes_} : open_[depth_ - 1];
        const std::size_t nameEnd = std::min(rest_.find_first_of(" \t\r\n/>"), rest_.size());
        double attributes = 0;
        bool empty = false;
        for (;;) {
            // To the next quoted value or to the end of the tag.
            const auto at = static_cast<std::size_t>(
                std::find_if(rest_.begin(), rest_.end(),
                             [](char c) { return c == '"' || c == '\'' || c == '>'; }) -
                rest_.begin());
            if (at == rest_.size() || rest_[at] == '>') {
                empty = at < rest_.size() && at > 0 && rest_[at - 1] == '/';
                rest_.remove_prefix(std::min(at + 1, rest_.size()));
                break;
            }
            const char quote = rest_[at];
            const std::string_view name = attributeName(rest_.substr(0, at));
            rest_.remove_prefix(at + 1);
            const std::string_view value = rest_.substr(0, rest_.find(quote));
            rest_.remove_prefix(std::min(value.size() + 1, rest_.size()));
            longestName_ = std::max(longestName_, static_cast<double>(name.size()));
            longest_ = std::max(longest_, longestName_);
            ++attributes;
            if (name.substr(0, 5) == "xmlns") {
                ++scope.declarations;
                longest_ = std::max(longest_, static_cast<double>(value.size()));
            }
        }
        scope.attributes += attributes;
        notePiece(before - rest_.size());
        open_[depth_++] = scope;
        addElement(attributes, scope);
        // A complaint about an attribute contains the element's name.
        flatSteps_ += attributes * static_cast<double>(nameEnd);
        if (empty) {
            leaveElement();
        }
    }

    void addElement(double attributes, const Scope& scope) {
        const auto depth = static_cast<double>(depth_);
        const double slots = 1 + attributes + scope.declarations;
        flatSteps_ += stepsPerComparison * slots * (slots + scope.attributes + prefixes_ * depth);
        // Two texts may stand beside a tag.
        deepSteps_ += stepsPerAncestor * (slots + 2) * depth;
        slots_ += slots;
        addNodes(2 + 2 * attributes);
    }

    void addLeaf() {
        deepSteps_ += stepsPerAncestor * 2 * (static_cast<double>(depth_) + 1);
        addNodes(2);
    }

    void addNodes(double count) {
        nodes_ += count;
        refused_ = refused_ || nodes_ * bytesPerNode > mostMemory;
    }

    void leaveElement() { depth_ -= depth_ == 0 ? 0 : 1; }

    WorkBudget::Work total() const {
        // Each search among ancestors is one among the top-level nodes too.
        const double searches = flatSteps_ + deepSteps_ * (1 + instructionsOutside_);
        const double stepsPerSearch =
            1 + longest_ / 64 + stepsPerNameByte * std::max(0.0, longestName_ - usualName);
        // What is written out may repeat a namespace.
        const double repeated = slots_ * longest_;
        const double steps = searches * stepsPerSearch + repeated / 4 + size_ * stepsPerPassedByte +
                             slots_ * stepsPerPassedSlot;
        const double treeBytes = nodes_ * bytesPerNode + size_ + longestPiece_ * bytesPerWritten;
        return {refused_ ? std::numeric_limits<double>::infinity() : steps,
                steps + longestPiece_ * size_ / rebuildingPortion, treeBytes,
                treeBytes + repeated + size_, size_ * longestEscape + repeated};
    }

    double size_;
    std::string_view rest_;
    double prefixes_;
    // Of the elements that are open.
    std::array<Scope, deepest> open_;
    std::size_t depth_ = 0;
    // Over a limit already, whatever follows.
    bool refused_ = false;
    double flatSteps_ = 0;
    double deepSteps_ = 0;
    double slots_ = 0;
    double nodes_ = 0;
    double instructionsOutside_ = 0;
    // Length of the longest text, comment, instruction or start tag.
    double longestPiece_ = 0;
    // Length of the longest attribute name, and of that or the longest namespace.
    double longestName_ = 0;
    double longest_ = 0;
};

WorkBudget::Work workOn(boost::string_view text, double prefixes) {
    return Scanner({text.data(), text.size()}, prefixes).run();
}

}  // namespace

WorkBudget::WorkBudget(boost::string_view text) : text_(text), usual_(workOn(text, 0)) {}

bool WorkBudget::allowsParsing() const {
    return usual_.steps <= mostSteps() && usual_.treeBytes <= mostDocumentBytes();
}

bool WorkBudget::allowsVerification(const SignatureDemands& demands) const {
    const auto prefixes = static_cast<double>(demands.listedPrefixes);
    const auto rebuiltTrees = static_cast<double>(demands.rebuiltTrees);
    const Work work = demands.listedPrefixes == 0 ? usual_ : workOn(text_, prefixes);
    const double steps = work.steps * static_cast<double>(demands.passes) +
                         (rebuiltTrees > 0 ? work.rebuildingSteps * rebuiltTrees : 0);
    const double rebuiltBytes = work.rebuiltBytes * rebuiltTrees;
    return steps <= mostSteps() && rebuiltBytes <= rebuiltMemory &&
           work.treeBytes + rebuiltBytes <= mostDocumentBytes();
}

bool WorkBudget::allowsKeeping(const SignatureDemands& demands) const {
    const double kept = usual_.canonicalBytes * static_cast<double>(demands.references);
    return kept <= keptMemory && usual_.treeBytes + kept <= mostDocumentBytes();
}

double WorkBudget::mostSteps() const {
    return basicSteps +
           stepsPerByte * std::min(static_cast<double>(text_.size()), largestUsualText);
}

double WorkBudget::mostDocumentBytes() const {
    return std::min(basicMemory + documentBytesPerByte * static_cast<double>(text_.size()),
                    mostMemory);
}

}  // namespace Norv::Corvane::Common
