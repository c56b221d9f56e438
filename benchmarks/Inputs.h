// What the benchmarks work on: keys, payload and signed packages, all made at run time.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Archive.h"
#include "Signature.h"

namespace Norv::Corvane::Benchmarks {

// A directory of its own, in memory where the system has such a file system, so that no disk is
// measured. Removed with everything in it on destruction.
class Scratch {
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// A fresh RSA key of 2048 bits with a certificate that it signed itself, as PEM files.
struct SigningKey {
    std::string key;
    std::string certificate;
};
SigningKey makeSigningKey(const std::string& directory);

// Bytes that deflate to a bit less than half, like program text and configuration do. Equal
// arguments give equal bytes.
std::string compressibleBytes(std::size_t size, unsigned seed);

// Bytes that do not deflate at all.
std::string randomBytes(std::size_t size, unsigned seed);

// Entries that together hold `size` bytes, half of them compressible and half random.
std::vector<Pack::ArchiveEntry> mixedPayload(std::size_t size, bool deflate);

// `count` entries of `size` bytes, a hundred to a directory, half of them compressible.
std::vector<Pack::ArchiveEntry> manyFiles(std::size_t count, std::size_t size);

// The signed manifest that lists `payload`, each file as firmware under its own name.
std::string signedManifest(const std::vector<Pack::ArchiveEntry>& payload,
                           const Pack::Signer& signer);

// Writes the package: the signed manifest, then the payload.
void writePackage(const std::string& path, std::vector<Pack::ArchiveEntry> payload,
                  const Pack::Signer& signer);

}  // namespace Norv::Corvane::Benchmarks
