// Package files: opening, reading the manifest, checking the payload.
//
// Accepts every manifest, to reach what follows the signature. A digest that the package reports as
// right is computed again, independently of the library.

#include <openssl/evp.h>
#include <openssl/sha.h>
#include <spdlog/spdlog.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Check.h"
#include "FuzzTarget.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"

namespace {

using namespace Norv::Corvane::Common;

class Credulous : public IFirmwareDescriptionValidator {
public:
    boost::optional<bool> ValidateSignature(boost::string_view) const override { return true; }
};

// A file in memory; it has a path for as long as this lives.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : descriptor_(memfd_create("zip", 0)) {
        require(::write(descriptor_, data, size) == static_cast<ssize_t>(size), "a file in memory");
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(descriptor_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

// Small archives can hold large entries, and few inputs are worth the time.
constexpr zip_uint64_t maxEntrySize = zip_uint64_t{1} << 20;
constexpr std::size_t maxFiles = 16;

std::vector<std::uint8_t> digestOf(zip_t* archive, const std::string& name) {
    std::vector<std::uint8_t> content;
    zip_file_t* const entry = zip_fopen(archive, name.c_str(), 0);
    require(entry != nullptr, "an entry that was checked can be opened");
    std::uint8_t buffer[4096];
    for (zip_int64_t count; (count = zip_fread(entry, buffer, sizeof(buffer))) > 0;) {
        content.insert(content.end(), buffer, buffer + count);
    }
    zip_fclose(entry);
    std::vector<std::uint8_t> digest(SHA256_DIGEST_LENGTH);
    EVP_Digest(content.data(), content.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    return digest;
}

void checkFile(const FirmwarePackage& package, const FirmwareDescription::File& file) {
    try {
        if (package.archive().stat(file.localFilePath).size > maxEntrySize) {
            return;
        }
        if (package.validate(file)) {
            require(digestOf(package.archive().handle(), file.localFilePath) == file.hashValue,
                    "a file that passes has the digest that the manifest states");
        }
    } catch (const std::runtime_error&) {
        // The one exception that is announced: there is no such entry, or it cannot be opened.
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    spdlog::set_level(spdlog::level::off);
    const MemoryFile file(data, size);
    const Credulous validator;
    const auto firmware = FirmwareZipValidator(validator).ValidateFirmwareZipFile(file.path());
    if (firmware) {
        require(static_cast<bool>(firmware->package), "a validated package has a manifest");
        std::size_t files = 0;
        for (const auto& entry : firmware->description.files) {
            if (++files > maxFiles) {
                break;
            }
            checkFile(firmware->package, entry);
        }
    }
    return 0;
}
