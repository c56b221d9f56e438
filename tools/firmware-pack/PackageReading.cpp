#include "PackageReading.h"

#include "Error.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

// Accepts every manifest as genuine and keeps its text.
class Recorder : public Common::IFirmwareDescriptionValidator {
public:
    boost::optional<bool> ValidateSignature(boost::string_view description) const override {
        text_.assign(description.data(), description.size());
        return true;
    }
    const std::string& text() const { return text_; }

private:
    mutable std::string text_;
};

libzip::archive openArchive(const std::string& path) {
    try {
        return libzip::archive(path, ZIP_RDONLY);
    } catch (const std::runtime_error& error) {
        throw PackError("cannot open " + printable(path) + ": " + error.what());
    }
}

}  // namespace

ReadPackage readPackage(const std::string& path) {
    ReadPackage read{Common::FirmwarePackage(openArchive(path)), "", std::nullopt, ""};
    const Recorder recorder;
    auto outcome = read.package.validateAndGetFirmwareDescription(recorder);
    read.text = recorder.text();
    if (const auto* const error = boost::get<std::error_code>(&outcome)) {
        read.error = error->message();
    } else {
        read.description = boost::get<Common::FirmwareDescription>(std::move(outcome));
    }
    return read;
}

}  // namespace Norv::Corvane::Pack
