// Opens a firmware package and lets it pass only if its manifest is signed and readable.
//
// Holds a reference to the signature validator, which the caller owns, sets up and keeps alive.
// Used from one thread at a time, like that validator. Does not examine the payload: each file's
// digest is checked while it is installed.

#pragma once

#include "Norv/Corvane/Common/IFirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/IFirmwareZipValidator.h"
#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT FirmwareZipValidator : public IFirmwareZipValidator {
public:
    explicit FirmwareZipValidator(const IFirmwareDescriptionValidator& validator) noexcept;

    boost::optional<ValidatedFirmwareZip> ValidateFirmwareZipFile(
        const boost::filesystem::path& path) override;

private:
    const IFirmwareDescriptionValidator& validator_;
};

}  // namespace Norv::Corvane::Common
