// Installs a validated firmware package.
//
// An interface so that a host can test its own code without installing anything.

#pragma once

#include <functional>

#include "Norv/Corvane/Common/ValidatedFirmwareZip.h"
#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT IInstaller {
public:
    virtual ~IInstaller() = default;

    // Starts the installation and returns. `onProgress` receives a percentage, `onCompletion` the
    // verdict; neither may be empty, and both are called on another thread.
    virtual void Install(ValidatedFirmwareZip firmware,
                         std::function<void(unsigned int)> onProgress,
                         std::function<void(bool)> onCompletion) = 0;

    // Asks a running installation to stop after the file under way. Does not wait.
    virtual void Cancel() = 0;
};

}  // namespace Norv::Corvane::Common
