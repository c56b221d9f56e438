#include "Installation.h"

#include <utility>

namespace Norv::Corvane::Test {

const LogRecord canceled{spdlog::level::warn, "Firmware installation canceled", "operator()"};
const LogRecord cancelRequested{spdlog::level::info, "Request cancelation of firmware installation",
                                "Cancel"};
const LogRecord succeeded{spdlog::level::info, "Firmware installation succeded", "operator()"};

LogRecord failedOn(const std::string& localFilePath) {
    return {spdlog::level::err, "Failed to process: " + localFilePath, "operator()"};
}

std::function<void(unsigned int)> Verdicts::progress(std::function<void(unsigned int)> then) {
    return [this, then = std::move(then)](unsigned int percent) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            percentages_.push_back(percent);
        }
        if (then) {
            then(percent);
        }
    };
}

std::function<void(bool)> Verdicts::completion(std::function<void(bool)> then) {
    return [this, then = std::move(then)](bool success) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            completions_.push_back(success);
        }
        if (then) {
            then(success);
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        returned_ = true;
        changed_.notify_all();
    };
}

void Verdicts::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return returned_; });
}

std::vector<unsigned int> Verdicts::percentages() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return percentages_;
}

std::vector<bool> Verdicts::completions() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return completions_;
}

std::vector<bool> install(Common::ValidatedFirmwareZip firmware,
                          const boost::filesystem::path& target,
                          std::function<void(unsigned int)> onProgress) {
    Verdicts verdicts;
    {
        Common::Installer installer(target);
        installer.Install(std::move(firmware), verdicts.progress(std::move(onProgress)),
                          verdicts.completion());
    }
    return verdicts.completions();
}

std::vector<bool> FaultTest::installAll(const std::vector<Payload>& files) {
    writePackage(package(), files);
    return install(validated(package(), files), target());
}

}  // namespace Norv::Corvane::Test
