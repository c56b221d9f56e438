#include "Inputs.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <stdlib.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <utility>

#include "Digest.h"
#include "Manifest.h"

namespace Norv::Corvane::Benchmarks {
namespace {

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
};
struct CertificateDeleter {
    void operator()(X509* certificate) const noexcept { X509_free(certificate); }
};
struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

FilePtr createFile(const std::string& path) {
    FilePtr file(std::fopen(path.c_str(), "wb"));
    require(file != nullptr, "a file of the benchmark could not be created");
    return file;
}

Pack::FileDigest digestOf(const Pack::ArchiveEntry& entry) {
    if (const auto* const source = std::get_if<Pack::SourceFile>(&entry.content)) {
        return Pack::digestFile(source->path);
    }
    return Pack::digestBytes(std::get<std::string>(entry.content));
}

Pack::ArchiveEntry entryOf(std::string name, std::string bytes, bool deflate = true) {
    return {std::move(name), std::move(bytes), deflate, std::nullopt};
}

}  // namespace

Scratch::Scratch() {
    const std::filesystem::path memory = "/dev/shm";
    const std::filesystem::path base =
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    path_ = base / "corvane-benchmark-XXXXXX";
    require(mkdtemp(&path_[0]) != nullptr, "no directory for the benchmark");
}

Scratch::~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

SigningKey makeSigningKey(const std::string& directory) {
    const SigningKey files{directory + "/key.pem", directory + "/certificate.pem"};
    const std::unique_ptr<EVP_PKEY, KeyDeleter> key(EVP_RSA_gen(2048));
    const std::unique_ptr<X509, CertificateDeleter> certificate(X509_new());
    require(key && certificate, "no key");

    X509* const x509 = certificate.get();
    const unsigned char name[] = "Benchmark";
    X509_set_version(x509, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(x509), 1);
    X509_gmtime_adj(X509_getm_notBefore(x509), -3600);
    X509_gmtime_adj(X509_getm_notAfter(x509), 24 * 3600);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(x509), "CN", MBSTRING_ASC, name, -1, -1, 0);
    X509_set_issuer_name(x509, X509_get_subject_name(x509));
    X509_set_pubkey(x509, key.get());
    require(X509_sign(x509, key.get(), EVP_sha256()) > 0, "no certificate");

    require(PEM_write_PrivateKey(createFile(files.key).get(), key.get(), nullptr, nullptr, 0,
                                 nullptr, nullptr) == 1 &&
                PEM_write_X509(createFile(files.certificate).get(), x509) == 1,
            "the key could not be written");
    return files;
}

std::string compressibleBytes(std::size_t size, unsigned seed) {
    static constexpr std::array<const char*, 16> words = {
        "interface", "address", "gateway", "update", "0x", "firmware", "control", "=",
        "\n",        "value",   "; ",      "state",  "::", "return ",  "12",      "sensor"};
    std::minstd_rand random(seed);
    std::string bytes;
    bytes.reserve(size + 16);
    while (bytes.size() < size) {
        const auto number = static_cast<unsigned>(random());
        bytes += words[(number >> 8) % words.size()];
        bytes += static_cast<char>('a' + (number >> 16) % 26);
        bytes += static_cast<char>('a' + (number >> 21) % 26);
    }
    bytes.resize(size);
    return bytes;
}

std::string randomBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes;
    bytes.reserve(size + 4);
    while (bytes.size() < size) {
        const auto number = static_cast<std::uint32_t>(random());
        bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    bytes.resize(size);
    return bytes;
}

std::vector<Pack::ArchiveEntry> mixedPayload(std::size_t size, bool deflate) {
    const std::size_t quarter = size / 4;
    return {entryOf("boot/kernel.img", compressibleBytes(quarter, 1), deflate),
            entryOf("boot/secure.img", randomBytes(quarter, 2), deflate),
            entryOf("rootfs/system.img", compressibleBytes(quarter, 3), deflate),
            entryOf("rootfs/media.img", randomBytes(size - 3 * quarter, 4), deflate)};
}

std::vector<Pack::ArchiveEntry> manyFiles(std::size_t count, std::size_t size) {
    std::vector<Pack::ArchiveEntry> entries;
    for (std::size_t i = 0; i < count; ++i) {
        const auto seed = static_cast<unsigned>(i + 1);
        entries.push_back(
            entryOf("part-" + std::to_string(i / 100) + "/file-" + std::to_string(i),
                    i % 2 == 0 ? compressibleBytes(size, seed) : randomBytes(size, seed)));
    }
    return entries;
}

std::string signedManifest(const std::vector<Pack::ArchiveEntry>& payload,
                           const Pack::Signer& signer) {
    Pack::Manifest manifest;
    manifest.manufacturerId = "QV";
    manifest.modelId = "QA01RTVN";
    manifest.version = manifest.systemVersion = manifest.applicationVersion = "4.2.1.7";
    manifest.supportedHwRevs = {"A1", "B3"};
    for (const Pack::ArchiveEntry& entry : payload) {
        Pack::FileDigest digest = digestOf(entry);
        manifest.files.push_back({Pack::PayloadKind::Firmware, entry.name, entry.name,
                                  std::move(digest.sha256), digest.length});
    }
    return signer.sign(Pack::toXml(manifest));
}

void writePackage(const std::string& path, std::vector<Pack::ArchiveEntry> payload,
                  const Pack::Signer& signer) {
    std::string manifest = signedManifest(payload, signer);
    payload.insert(payload.begin(), entryOf(Pack::manifestEntryName, std::move(manifest)));
    Pack::writeArchive(path, payload);
}

}  // namespace Norv::Corvane::Benchmarks
