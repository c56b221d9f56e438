#include "Device.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <mutex>

#include "Error.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

// Stands in for the default logger and keeps the errors.
class Device::Log {
public:
    Log() : sink_(std::make_shared<Sink>()), previous_(spdlog::default_logger()) {
        spdlog::set_default_logger(std::make_shared<spdlog::logger>("", sink_));
        spdlog::default_logger()->set_level(spdlog::level::err);
    }
    ~Log() { spdlog::set_default_logger(previous_); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // The last error, or a general text.
    std::string reason() const { return printable(sink_->last); }

private:
    struct Sink : spdlog::sinks::base_sink<std::mutex> {
        std::string last = "no reason given";
        void sink_it_(const spdlog::details::log_msg& message) override {
            last.assign(message.payload.data(), message.payload.size());
        }
        void flush_() override {}
    };
    std::shared_ptr<Sink> sink_;
    std::shared_ptr<spdlog::logger> previous_;
};

Device::Device(const std::string& certificate)
    : log_(std::make_unique<Log>()),
      validator_(std::make_unique<Common::FirmwareDescriptionValidator>()) {
    if (Common::FirmwareDescriptionValidator::Init()) {
        throw PackError("the validation library does not start: " + log_->reason());
    }
    if (const std::error_code error = validator_->Open(certificate)) {
        const std::string reason = log_->reason();
        validator_.reset();
        Common::FirmwareDescriptionValidator::Deinit();
        throw PackError("a device cannot load the certificate " + printable(certificate) + ": " +
                        reason);
    }
}

Device::~Device() {
    validator_.reset();
    Common::FirmwareDescriptionValidator::Deinit();
}

Common::ValidatedFirmwareZip Device::validate(const std::string& package) const {
    auto zip = Common::FirmwareZipValidator(*validator_).ValidateFirmwareZipFile(package);
    if (!zip) {
        throw PackError("a device refuses the package: " + log_->reason());
    }
    return *std::move(zip);
}

std::vector<std::string> checkPayload(const Common::ValidatedFirmwareZip& package,
                                      const ProgressSink& progress) {
    std::vector<std::string> problems;
    Step step(progress, "verifying", package.description.totalLength);
    for (const auto& file : package.description.files) {
        const std::string name = printable(file.localFilePath);
        try {
            const zip_uint64_t size = package.package.archive().stat(file.localFilePath).size;
            if (size != file.length) {
                problems.push_back(name + " has " + std::to_string(size) +
                                   " bytes, the manifest says " + std::to_string(file.length));
            } else if (!package.package.validate(file)) {
                problems.push_back(name + " has another digest than the manifest says");
            }
        } catch (const std::runtime_error& error) {
            problems.push_back(name + " cannot be read: " + printable(error.what()));
        }
        step.advance(file.length);
    }
    return problems;
}

}  // namespace Norv::Corvane::Pack
