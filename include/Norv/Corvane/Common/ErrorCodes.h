// The reasons for which a firmware package is refused, as `std::error_code` values.
//
// Three enumerations, each with a category of its own; 0 is success in all of them. The message
// texts are part of the interface: callers show and log them. Enumerators convert to
// `std::error_code` implicitly. Everything here is safe to use from any thread.

#pragma once

#include <string>
#include <system_error>

#include "Norv/Export.h"

namespace Norv::Corvane::Common {

// Why a manifest could not be turned into a `FirmwareDescription`.
enum class ParseFirmwareDescriptionError : int {
    Success = 0,
    MissingManufacturerId = 1,
    MissingModelId = 2,
    MissingVersion = 3,
    MissingSystemVersion = 4,
    MissingApplicationVersion = 5,
};

// Why a package's manifest was refused.
enum class ValidationError : int {
    Success = 0,
    // Not reported by this library; for callers whose own set-up of a validator failed.
    FailedToOpenValidator = 1,
    MissingFirmwareDescriptionFile = 2,
    // The signature could not be checked, so there is no verdict on it.
    ValidationProcessError = 3,
    // The signature was checked and is wrong.
    InvalidSignature = 4,
    XmlParsingFailed = 5,
    MissingFirmwareDescriptionTag = 6,
};

// Why the signature check could not be set up.
enum class XmlSecError : int {
    Success = 0,
    InitFailed = 1,
    WrongVersion = 2,
    CryptoAppInitFailed = 3,
    CryptoInitFailed = 4,
    CertLoadingFailed = 5,
};

NORV_EXPORT std::error_code make_error_code(ParseFirmwareDescriptionError error) noexcept;
NORV_EXPORT std::error_code make_error_code(ValidationError error) noexcept;
NORV_EXPORT std::error_code make_error_code(XmlSecError error) noexcept;

}  // namespace Norv::Corvane::Common

namespace std {

template <>
struct is_error_code_enum<Norv::Corvane::Common::ParseFirmwareDescriptionError> : true_type {};
template <>
struct is_error_code_enum<Norv::Corvane::Common::ValidationError> : true_type {};
template <>
struct is_error_code_enum<Norv::Corvane::Common::XmlSecError> : true_type {};

}  // namespace std
