// An open firmware package: a zip archive with a signed manifest and payload files.
//
// Owns the archive, which is opened read-only and closed on destruction. Movable, not copyable; a
// moved-from package holds nothing and may only be destroyed or assigned to. Used from one thread
// at a time. Nothing here trusts the archive: the caller's validator checks the manifest, and
// digests check the payload.

#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>
#include <boost/variant.hpp>
#include <system_error>

#include "Norv/Corvane/Common/FirmwareDescription.h"
#include "Norv/Corvane/Common/IFirmwareDescriptionValidator.h"
#include "Norv/Export.h"
#include "libzip/archive.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT FirmwarePackage {
public:
    // Opens the package file at `path`. On failure returns no package and logs one error.
    static boost::optional<FirmwarePackage> Create(const boost::filesystem::path& path);

    explicit FirmwarePackage(libzip::archive archive) noexcept;

    // Whether there is an entry named exactly "FirmwareDescription.xml".
    explicit operator bool() const noexcept;

    // Whether the entry `file.localFilePath` has the digest that `file` states; its length is not
    // compared. Throws `std::runtime_error` when there is no such entry.
    bool validate(const FirmwareDescription::File& file) const;

    // As above, for an entry that is already open; it is read to its end and closed. A read error
    // is a mismatch.
    bool validateSHA256(libzip::file entry, const FirmwareDescription::File& file) const;

    // Reads the manifest, has `validator` check its signature, and parses it. Returns the first
    // failure: a `ValidationError`, or the parser's `ParseFirmwareDescriptionError`. Does not read
    // the payload. A manifest of more than 64 MiB is not read at all
    // (`ValidationError::ValidationProcessError`).
    boost::variant<FirmwareDescription, std::error_code> validateAndGetFirmwareDescription(
        const IFirmwareDescriptionValidator& validator) const;

    // The open archive, for reading payload entries. The package keeps ownership.
    const libzip::archive& archive() const noexcept { return archive_; }

private:
    libzip::archive archive_;
};

}  // namespace Norv::Corvane::Common
