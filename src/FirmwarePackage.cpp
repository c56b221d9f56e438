#include "Norv/Corvane/Common/FirmwarePackage.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "Log.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Sha256Verifier.h"

namespace Norv::Corvane::Common {
namespace {

constexpr const char* manifestName = "FirmwareDescription.xml";
constexpr zip_uint64_t maxManifestSize = zip_uint64_t{64} << 20;
constexpr std::size_t digestStep = std::size_t{512} << 10;

// An open entry, and the size that the archive declares for it.
struct Manifest {
    libzip::file entry;
    zip_uint64_t size;
};

boost::optional<Manifest> openManifest(const libzip::archive& archive) {
    try {
        libzip::file entry = archive.open(manifestName);
        return Manifest{std::move(entry), archive.stat(manifestName).size};
    } catch (const std::exception&) {
        return boost::none;
    }
}

// The text that one read delivers, with a zero byte behind it. The declared size is only a claim:
// fresh zeroed memory is not taken from the system before something is written there.
class ManifestBuffer {
public:
    explicit ManifestBuffer(Manifest manifest)
        : bytes_(allocate(static_cast<std::size_t>(manifest.size) + 1)) {
        if (bytes_ == nullptr) {
            throw std::bad_alloc();
        }
        const auto size = static_cast<std::size_t>(manifest.size);
        const zip_int64_t count = manifest.entry.read(bytes_.get(), size);
        size_ = count < 0 ? 0 : static_cast<std::size_t>(count);
        bytes_.get()[size_] = '\0';
    }

    boost::string_view text() const noexcept { return {bytes_.get(), size_}; }

private:
    // NOLINTBEGIN(cppcoreguidelines-no-malloc): nothing else zeroes memory without touching it.
    struct Deleter {
        void operator()(char* bytes) const noexcept { std::free(bytes); }
    };
    static char* allocate(std::size_t size) { return static_cast<char*>(std::calloc(size, 1)); }
    // NOLINTEND(cppcoreguidelines-no-malloc)

    std::unique_ptr<char, Deleter> bytes_;
    std::size_t size_ = 0;
};

}  // namespace

boost::optional<FirmwarePackage> FirmwarePackage::Create(const boost::filesystem::path& path) {
    try {
        return FirmwarePackage(libzip::archive(path.native(), ZIP_RDONLY));
    } catch (const std::exception& error) {
        Log::error("Faild to open {} ({})", path.native(), error.what());
        return boost::none;
    }
}

FirmwarePackage::FirmwarePackage(libzip::archive archive) noexcept : archive_(std::move(archive)) {}

FirmwarePackage::operator bool() const noexcept {
    return archive_.find(manifestName) >= 0;
}

bool FirmwarePackage::validate(const FirmwareDescription::File& file) const {
    libzip::file entry = archive_.open(file.localFilePath);
    switch (file.hashAlgorithm) {
        case HashAlgorithm::SHA256:
            return validateSHA256(std::move(entry), file);
    }
    std::abort();
}

bool FirmwarePackage::validateSHA256(libzip::file entry,
                                     const FirmwareDescription::File& file) const {
    Sha256Verifier verifier(file);
    // Not on the stack: callers may run on threads with a small one.
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[digestStep]);
    zip_int64_t count = 0;
    while ((count = entry.read(buffer.get(), digestStep)) > 0) {
        verifier.update({buffer.get(), static_cast<std::ptrdiff_t>(count)});
    }
    return count == 0 && verifier.verify();
}

boost::variant<FirmwareDescription, std::error_code>
FirmwarePackage::validateAndGetFirmwareDescription(
    const IFirmwareDescriptionValidator& validator) const {
    boost::optional<Manifest> manifest = openManifest(archive_);
    if (!manifest) {
        return make_error_code(ValidationError::MissingFirmwareDescriptionFile);
    }
    if (manifest->size > maxManifestSize) {
        return make_error_code(ValidationError::ValidationProcessError);
    }
    const ManifestBuffer buffer(*std::move(manifest));
    const boost::string_view text = buffer.text();

    const boost::optional<bool> genuine = validator.ValidateSignature(text);
    if (!genuine) {
        return make_error_code(ValidationError::ValidationProcessError);
    }
    if (!*genuine) {
        return make_error_code(ValidationError::InvalidSignature);
    }
    pugi::xml_document document;
    if (!document.load_string(text.data())) {
        return make_error_code(ValidationError::XmlParsingFailed);
    }
    const pugi::xml_node description = document.child("FirmwareDescription");
    if (!description) {
        return make_error_code(ValidationError::MissingFirmwareDescriptionTag);
    }
    return parseFirmwareDescription(description);
}

}  // namespace Norv::Corvane::Common
