#include "tessary/DecodeBase64.h"

#include <openssl/evp.h>

#include <climits>
#include <memory>

namespace {

struct ContextDeleter {
    void operator()(EVP_ENCODE_CTX* context) const noexcept { EVP_ENCODE_CTX_free(context); }
};

}  // namespace

bool DecodeBase64(const std::string& encoded, std::string& decoded) {
    decoded.clear();
    if (encoded.size() > INT_MAX) {
        return false;
    }
    const std::unique_ptr<EVP_ENCODE_CTX, ContextDeleter> context(EVP_ENCODE_CTX_new());
    if (!context) {
        return false;
    }
    EVP_DecodeInit(context.get());

    // EVP_DecodeUpdate works in blocks of 64 characters and may write up to 48 bytes for each.
    std::string buffer(encoded.size() / 4 * 3 + 51, '\0');
    auto* const out = reinterpret_cast<unsigned char*>(&buffer[0]);
    int written = 0;
    int tail = 0;
    const int state = EVP_DecodeUpdate(context.get(), out, &written,
                                       reinterpret_cast<const unsigned char*>(encoded.data()),
                                       static_cast<int>(encoded.size()));
    const bool complete = state >= 0 && EVP_DecodeFinal(context.get(), out + written, &tail) == 1;
    buffer.resize(static_cast<std::size_t>(written) + static_cast<std::size_t>(tail));
    decoded = std::move(buffer);
    return complete;
}
