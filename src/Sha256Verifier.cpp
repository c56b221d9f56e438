#include "Sha256Verifier.h"

#include <array>
#include <cstring>

namespace Norv::Corvane::Common {

Sha256Verifier::Sha256Verifier(const FirmwareDescription::File& file) noexcept
    : expected_(file.hashValue.data()),
      expectedLength_(file.hashValue.size()),
      intact_(SHA256_Init(&context_) == 1) {}

void Sha256Verifier::update(libtorrent::span<const unsigned char> data) noexcept {
    intact_ = intact_ &&
              SHA256_Update(&context_, data.data(), static_cast<std::size_t>(data.size())) == 1;
}

bool Sha256Verifier::verify() noexcept {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    return SHA256_Final(digest.data(), &context_) == 1 && intact_ &&
           expectedLength_ == digest.size() &&
           std::memcmp(expected_, digest.data(), digest.size()) == 0;
}

}  // namespace Norv::Corvane::Common
