#include "WorkBudget.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace Norv::Corvane::Common {
namespace {

// Elementary steps, such as looking at one declaration in a search, per byte of text. A usual
// manifest needs about one per pass.
constexpr double stepsPerByte = 256;
// What a pass costs for each byte in any case, in such steps.
constexpr double stepsPerPassedByte = 4;
// Memory for documents that are built from canonical output, per byte of text.
constexpr double memoryPerByte = 32;
constexpr double bytesPerNode = 160;
constexpr double shortText = 1 << 20;
// A quotation mark in a value becomes "&quot;".
constexpr double longestEscape = 6;
constexpr double keptMemory = 48 << 20;
// For the document itself, however long the text: that of a manifest of 100,000 files.
constexpr double documentMemory = 256 << 20;

// The name before an attribute's value. In front of it stands a blank, and whatever came before.
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

// Walks over the markup of a text. On text that is not well-formed it may lose its way, which does
// no harm: the parser stops there. Counts are floating point, since no text must make them
// overflow.
class Scanner {
public:
    // Each element is looked at as if it declared `prefixes` namespaces more.
    Scanner(std::string_view text, double prefixes)
        : size_(static_cast<double>(text.size())), rest_(text), prefixes_(prefixes) {}

    WorkBudget::Work run() {
        while (skipPast("<")) {
            if (accept("!--")) {
                skipPast("-->");
                addLeaf();
            } else if (accept("![CDATA[")) {
                skipPast("]]>");
                addLeaf();
            } else if (accept("?")) {
                skipPast("?>");
                addLeaf();
                instructionsOutside_ += open_.empty() ? 1 : 0;
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
        rest_.remove_prefix(at == std::string_view::npos ? rest_.size() : at + token.size());
        return at != std::string_view::npos;
    }

    void addStartTag() {
        Scope scope = open_.empty() ? Scope{0, prefixes_} : open_.back();
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
            longest_ = std::max(longest_, static_cast<double>(name.size()));
            ++attributes;
            if (name.substr(0, 5) == "xmlns") {
                ++scope.declarations;
                longest_ = std::max(longest_, static_cast<double>(value.size()));
            }
        }
        scope.attributes += attributes;
        open_.push_back(scope);
        addElement(attributes, scope);
        if (empty) {
            leaveElement();
        }
    }

    void addElement(double attributes, const Scope& scope) {
        const auto depth = static_cast<double>(open_.size());
        const double slots = 1 + attributes + scope.declarations;
        flatSteps_ += slots * (slots + scope.attributes + prefixes_ * depth);
        // Two texts may stand beside a tag.
        deepSteps_ += (slots + 2) * depth;
        slots_ += slots;
        nodes_ += 2 + 2 * attributes;
    }

    void addLeaf() {
        deepSteps_ += 2 * (static_cast<double>(open_.size()) + 1);
        nodes_ += 2;
    }

    void leaveElement() {
        if (!open_.empty()) {
            open_.pop_back();
        }
    }

    WorkBudget::Work total() const {
        // Each search among ancestors is one among the top-level nodes too.
        const double searches = flatSteps_ + deepSteps_ * (1 + instructionsOutside_);
        // Names are compared from the start, and what is written out may repeat a namespace.
        const double repeated = slots_ * longest_;
        return {searches * (1 + longest_ / 64) + repeated / 4, nodes_ * bytesPerNode + repeated,
                size_ * longestEscape + repeated};
    }

    double size_;
    std::string_view rest_;
    double prefixes_;
    std::vector<Scope> open_;
    double flatSteps_ = 0;
    double deepSteps_ = 0;
    double slots_ = 0;
    double nodes_ = 0;
    double instructionsOutside_ = 0;
    // Length of the longest attribute name or namespace.
    double longest_ = 0;
};

WorkBudget::Work workOn(boost::string_view text, double prefixes) {
    return Scanner({text.data(), text.size()}, prefixes).run();
}

}  // namespace

WorkBudget::WorkBudget(boost::string_view text) : text_(text), usual_(workOn(text, 0)) {}

bool WorkBudget::allowsParsing() const {
    return usual_.steps <= scaled(stepsPerByte) && usual_.treeBytes <= documentMemory;
}

bool WorkBudget::allowsVerification(const SignatureDemands& demands) const {
    const auto prefixes = static_cast<double>(demands.listedPrefixes);
    const Work work = demands.listedPrefixes == 0 ? usual_ : workOn(text_, prefixes);
    const double pass = work.steps + stepsPerPassedByte * static_cast<double>(text_.size());
    return pass * static_cast<double>(demands.passes) <= scaled(stepsPerByte) &&
           work.treeBytes * static_cast<double>(demands.rebuiltTrees) <= scaled(memoryPerByte);
}

bool WorkBudget::allowsKeeping(const SignatureDemands& demands) const {
    return usual_.canonicalBytes * static_cast<double>(demands.references) <= keptMemory;
}

double WorkBudget::scaled(double perByte) const {
    return perByte * std::max(static_cast<double>(text_.size()), shortText);
}

}  // namespace Norv::Corvane::Common
