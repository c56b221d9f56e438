#include "Norv/Corvane/Common/FirmwareZipValidator.h"

#include <utility>

#include "Log.h"

namespace Norv::Corvane::Common {

FirmwareZipValidator::FirmwareZipValidator(const IFirmwareDescriptionValidator& validator) noexcept
    : validator_(validator) {}

boost::optional<ValidatedFirmwareZip> FirmwareZipValidator::ValidateFirmwareZipFile(
    const boost::filesystem::path& path) {
    boost::optional<FirmwarePackage> package = FirmwarePackage::Create(path);
    if (!package) {
        return boost::none;
    }
    auto outcome = package->validateAndGetFirmwareDescription(validator_);
    if (const auto* const error = boost::get<std::error_code>(&outcome)) {
        Log::error("Invalid firmwareDescription: {}", error->message());
        return boost::none;
    }
    return ValidatedFirmwareZip{boost::get<FirmwareDescription>(std::move(outcome)),
                                *std::move(package)};
}

}  // namespace Norv::Corvane::Common
