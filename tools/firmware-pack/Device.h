// A device's own check of a package: the library's.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/ValidatedFirmwareZip.h"
#include "Progress.h"

namespace Norv::Corvane::Pack {

// A device that trusts one certificate. At most one at a time in a process, and none if somebody
// else has called the validator's `Init`. While it lives, it takes its reasons from what the
// library logs.
class Device {
public:
    // Throws `PackError` when the certificate cannot be loaded.
    explicit Device(const std::string& certificate);
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // What the device reads from a package that it would install. Throws `PackError` with the
    // reason when it would not.
    Common::ValidatedFirmwareZip validate(const std::string& package) const;

private:
    class Log;
    std::unique_ptr<Log> log_;
    std::unique_ptr<Common::FirmwareDescriptionValidator> validator_;
};

// What is wrong with the payload of a package whose manifest is genuine, one sentence each: files
// that are missing, that cannot be read, or that have another digest or length.
std::vector<std::string> checkPayload(const Common::ValidatedFirmwareZip& package,
                                      const ProgressSink& progress);

}  // namespace Norv::Corvane::Pack
