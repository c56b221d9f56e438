// Verifies a signature element against a trusted key, and gets at the bytes that it signs.
//
// Used on one thread, under a `LibraryStateGuard`. The keys manager is to find the trusted key for
// every signature; it is not owned, and neither is the element.

#pragma once

#include <boost/optional.hpp>
#include <cstddef>
#include <memory>
#include <vector>

struct _xmlNode;
struct _xmlSecBuffer;
struct _xmlSecKeysMngr;

namespace Norv::Corvane::Common {

struct SignedBytesDeleter {
    void operator()(_xmlSecBuffer* bytes) const noexcept;
};
// The very bytes whose digest a reference states.
using SignedBytes = std::unique_ptr<_xmlSecBuffer, SignedBytesDeleter>;

struct Verification {
    // Whether signature and digests are right. Empty when that could not be found out.
    boost::optional<bool> verdict;
    // For each reference, in order, if they were to be kept and the verdict is true. Null where
    // they could not be.
    std::vector<SignedBytes> signedBytes;
};

// With a size, the bytes are kept, and about so many are expected. Digests are taken before the
// signature itself is looked at, so this takes memory for as many copies of the document as there
// are references, whoever signed it.
Verification verifySignature(_xmlSecKeysMngr* manager, _xmlNode* signature,
                             boost::optional<std::size_t> keptSize);

}  // namespace Norv::Corvane::Common
