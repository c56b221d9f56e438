// Verifies a signature element against a trusted key, and returns the bytes that it signs.
//
// Used on one thread, under a `LibraryStateGuard`. The keys manager must find the trusted key for
// every signature. Neither it nor the element is owned.

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
    // Whether signature and digests are right. Empty when that could not be determined.
    boost::optional<bool> verdict;
    // For each reference, in order, if they were to be kept and the verdict is true. Null where
    // they could not be.
    std::vector<SignedBytes> signedBytes;
};

// If `keptSize` is given, the bytes are kept, and about that many are expected for each reference.
// Digests are computed before the signature itself is looked at, so this takes memory for as many
// copies of the document as there are references, whoever signed it.
Verification verifySignature(_xmlSecKeysMngr* manager, _xmlNode* signature,
                             boost::optional<std::size_t> keptSize);

}  // namespace Norv::Corvane::Common
