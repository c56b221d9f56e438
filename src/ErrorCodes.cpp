#include "Norv/Corvane/Common/ErrorCodes.h"

namespace Norv::Corvane::Common {
namespace detail {

class ParseFirmwareDescriptionError_category : public std::error_category {
public:
    const char* name() const noexcept override { return "ParseFirmwareDescriptionError"; }

    std::string message(int value) const override {
        switch (static_cast<ParseFirmwareDescriptionError>(value)) {
            case ParseFirmwareDescriptionError::Success:
                return "success";
            case ParseFirmwareDescriptionError::MissingManufacturerId:
                return "missing ManufacturerId";
            case ParseFirmwareDescriptionError::MissingModelId:
                return "missing ModelId";
            case ParseFirmwareDescriptionError::MissingVersion:
                return "missing Version";
            case ParseFirmwareDescriptionError::MissingSystemVersion:
                return "missing SystemVersion";
            case ParseFirmwareDescriptionError::MissingApplicationVersion:
                return "missing ApplicationVersion";
        }
        return "unknown";
    }
};

class ValidationError_category : public std::error_category {
public:
    const char* name() const noexcept override { return "ValidationError"; }

    std::string message(int value) const override {
        switch (static_cast<ValidationError>(value)) {
            case ValidationError::Success:
                return "success";
            case ValidationError::FailedToOpenValidator:
                return "failed to open validator";
            case ValidationError::MissingFirmwareDescriptionFile:
                return "missing file 'FirmwareDescription.xml'";
            case ValidationError::ValidationProcessError:
                return "error in validation process";
            case ValidationError::InvalidSignature:
                return "invalid signature";
            case ValidationError::XmlParsingFailed:
                return "parsing XML failed";
            case ValidationError::MissingFirmwareDescriptionTag:
                return "missing or empty FirmwareDescription tag";
        }
        return "unknown error";
    }
};

class XmlSecError_category : public std::error_category {
public:
    const char* name() const noexcept override { return "XmlSecError"; }

    std::string message(int value) const override {
        switch (static_cast<XmlSecError>(value)) {
            case XmlSecError::Success:
                return "success";
            case XmlSecError::InitFailed:
                return "init failed";
            case XmlSecError::WrongVersion:
                return "wrong version";
            case XmlSecError::CryptoAppInitFailed:
                return "CryptoAppInit failed";
            case XmlSecError::CryptoInitFailed:
                return "CryptoInit failed";
            case XmlSecError::CertLoadingFailed:
                return "cert loading failed";
        }
        return "unknown error";
    }
};

}  // namespace detail

std::error_code make_error_code(ParseFirmwareDescriptionError error) noexcept {
    static const detail::ParseFirmwareDescriptionError_category category;
    return {static_cast<int>(error), category};
}

std::error_code make_error_code(ValidationError error) noexcept {
    static const detail::ValidationError_category category;
    return {static_cast<int>(error), category};
}

std::error_code make_error_code(XmlSecError error) noexcept {
    static const detail::XmlSecError_category category;
    return {static_cast<int>(error), category};
}

}  // namespace Norv::Corvane::Common
