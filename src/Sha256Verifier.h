// Compares the digest of a stream of bytes with the one that a manifest states.
//
// Refers to the digest of the file record it was made from, which must outlive it. One file, one
// verifier, one thread.

#pragma once

#include <openssl/sha.h>

#include <cstddef>
#include <cstdint>
#include <libtorrent/span.hpp>

#include "Norv/Corvane/Common/FirmwareDescription.h"

namespace Norv::Corvane::Common {

class Sha256Verifier {
public:
    explicit Sha256Verifier(const FirmwareDescription::File& file) noexcept;

    void update(libtorrent::span<const unsigned char> data) noexcept;

    // Ends the computation; call it once. True only if the expected digest has exactly 32 bytes and
    // is that of the data.
    bool verify() noexcept;

private:
    const std::uint8_t* expected_;
    std::size_t expectedLength_;
    SHA256_CTX context_{};
    bool intact_;
};

}  // namespace Norv::Corvane::Common
