// SHA-256 digests of payload files, and the Base64 form in which a manifest states them.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Progress.h"

struct evp_md_ctx_st;

namespace Norv::Corvane::Pack {

// A digest over bytes that arrive in pieces. Throws `PackError` when libcrypto fails.
class Sha256 {
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void update(const void* data, std::size_t size);
    // The 32 digest bytes. Call it once, after the last update.
    std::vector<std::uint8_t> finish();

private:
    evp_md_ctx_st* context_;
};

struct FileDigest {
    std::vector<std::uint8_t> sha256;
    std::uint64_t length = 0;
};

// Reads the file once, in chunks. Throws `PackError` unless it is a readable regular file.
FileDigest digestFile(const std::string& path, Step* step = nullptr);

// The size of a readable regular file, without reading it. Throws `PackError` likewise.
std::uint64_t sizeOfFile(const std::string& path);

FileDigest digestBytes(std::string_view bytes);

// Base64 with padding and without line breaks; empty for no bytes.
std::string toBase64(const std::vector<std::uint8_t>& bytes);

}  // namespace Norv::Corvane::Pack
