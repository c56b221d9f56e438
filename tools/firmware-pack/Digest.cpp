#include "Digest.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Descriptor.h"
#include "Error.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

constexpr std::size_t chunkSize = 256 * 1024;

[[noreturn]] void failReading(const std::string& path, const char* reason) {
    throw PackError("cannot read " + printable(path) + ": " + reason);
}

}  // namespace

Sha256::Sha256() : context_(EVP_MD_CTX_new()) {
    if (context_ == nullptr || EVP_DigestInit_ex(context_, EVP_sha256(), nullptr) != 1) {
        EVP_MD_CTX_free(context_);
        throw PackError("SHA-256 is not available");
    }
}

Sha256::~Sha256() {
    EVP_MD_CTX_free(context_);
}

void Sha256::update(const void* data, std::size_t size) {
    if (EVP_DigestUpdate(context_, data, size) != 1) {
        throw PackError("SHA-256 failed");
    }
}

std::vector<std::uint8_t> Sha256::finish() {
    std::vector<std::uint8_t> digest(32);
    if (EVP_DigestFinal_ex(context_, digest.data(), nullptr) != 1) {
        throw PackError("SHA-256 failed");
    }
    return digest;
}

namespace {

// A regular file that is open for reading, and its size.
struct OpenFile {
    Descriptor descriptor;
    std::uint64_t size;
};

OpenFile openRegularFile(const std::string& path) {
    // A pipe without a writer would block an ordinary open for ever.
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) {
        failReading(path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        failReading(path, "not a regular file");
    }
    return {std::move(file), static_cast<std::uint64_t>(status.st_size)};
}

}  // namespace

std::uint64_t sizeOfFile(const std::string& path) {
    return openRegularFile(path).size;
}

FileDigest digestFile(const std::string& path, Step* step) {
    const OpenFile file = openRegularFile(path);
    Sha256 sha256;
    std::uint64_t length = 0;
    std::vector<char> chunk(chunkSize);
    for (;;) {
        const ssize_t count = ::read(file.descriptor.get(), chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            failReading(path, std::strerror(errno));
        }
        if (count == 0) {
            return {sha256.finish(), length};
        }
        sha256.update(chunk.data(), static_cast<std::size_t>(count));
        length += static_cast<std::uint64_t>(count);
        if (step != nullptr) {
            step->advance(static_cast<std::uint64_t>(count));
        }
    }
}

FileDigest digestBytes(std::string_view bytes) {
    Sha256 sha256;
    sha256.update(bytes.data(), bytes.size());
    return {sha256.finish(), bytes.size()};
}

std::string toBase64(const std::vector<std::uint8_t>& bytes) {
    // EVP_EncodeBlock ends its output with a zero byte.
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

}  // namespace Norv::Corvane::Pack
