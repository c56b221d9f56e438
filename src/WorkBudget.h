// Bounds what checking a manifest may cost, before the cost arises.
//
// Parsing and canonicalising XML is quadratic in places: attributes of an element are compared with
// each other, namespaces are looked up among all that are in scope, nodes are searched for among
// their ancestors. And a signature may ask for any number of passes over the document. Whoever
// sends a manifest chooses all of that before anything is known to be signed.
//
// The markup is counted here, and only a multiple of what an honest manifest of the size needs is
// let through; of memory, never more than a manifest of some 100,000 files needs.

#pragma once

#include <boost/utility/string_view.hpp>

#include "SignatureDemands.h"

namespace Norv::Corvane::Common {

class WorkBudget {
public:
    struct Work {
        // Of one pass over the document.
        double steps;
        // Of building another document from canonical output.
        double rebuildingSteps;
        // Size of the parser's tree, and of one that is built from canonical output.
        double treeBytes;
        double rebuiltBytes;
        // At most, of one canonical form.
        double canonicalBytes;
    };

    // Counts the markup, in time proportional to the text and without taking memory. Keeps a view
    // of it.
    explicit WorkBudget(boost::string_view text);

    bool allowsParsing() const;

    bool allowsVerification(const SignatureDemands& demands) const;

    // Whether the canonical form of every reference may be kept before the signature is proven.
    bool allowsKeeping(const SignatureDemands& demands) const;

private:
    double mostSteps() const;
    double mostDocumentBytes() const;

    boost::string_view text_;
    // For a signature that treats no namespace prefix specially, like nearly all signatures.
    Work usual_;
};

}  // namespace Norv::Corvane::Common
