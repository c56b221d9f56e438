#include "Norv/Corvane/Common/FirmwarePackage.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "Log.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Sha256Verifier.h"

namespace Norv::Corvane::Common {
namespace {

constexpr const char* manifestName = "FirmwareDescription.xml";
constexpr zip_uint64_t maxManifestSize = zip_uint64_t{64} << 20;
constexpr std::size_t manifestStep = std::size_t{256} << 10;
constexpr std::size_t digestStep = std::size_t{512} << 10;

// At most `size` bytes, none when reading fails. The declared size is the archive's word only, so
// memory is taken as data really arrives and not on the strength of that word.
std::string readManifest(libzip::file entry, std::size_t size) {
    std::string text;
    while (text.size() < size) {
        const std::size_t before = text.size();
        const std::size_t step = std::min(manifestStep, size - before);
        text.resize(before + step);
        const zip_int64_t count = entry.read(&text[before], step);
        text.resize(count < 0 ? 0 : before + static_cast<std::size_t>(count));
        if (count <= 0) {
            break;
        }
    }
    return text;
}

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
    boost::optional<libzip::file> entry;
    zip_uint64_t size = 0;
    try {
        entry = archive_.open(manifestName);
        size = archive_.stat(manifestName).size;
    } catch (const std::exception&) {
        return make_error_code(ValidationError::MissingFirmwareDescriptionFile);
    }
    if (size > maxManifestSize) {
        return make_error_code(ValidationError::ValidationProcessError);
    }
    const std::string text = readManifest(*std::move(entry), static_cast<std::size_t>(size));

    const boost::optional<bool> genuine = validator.ValidateSignature(text);
    if (!genuine) {
        return make_error_code(ValidationError::ValidationProcessError);
    }
    if (!*genuine) {
        return make_error_code(ValidationError::InvalidSignature);
    }
    pugi::xml_document document;
    if (!document.load_string(text.c_str())) {
        return make_error_code(ValidationError::XmlParsingFailed);
    }
    const pugi::xml_node description = document.child("FirmwareDescription");
    if (!description) {
        return make_error_code(ValidationError::MissingFirmwareDescriptionTag);
    }
    return parseFirmwareDescription(description);
}

}  // namespace Norv::Corvane::Common
