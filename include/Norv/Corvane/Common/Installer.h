// Installs the payload of a validated package below a target directory, on a thread of its own.
//
// One object, one installation: a second `Install` on the same object ends the process. Both
// callbacks run on the worker thread; `Install`, `Cancel` and the destructor are called from one
// thread at a time. The destructor waits for the whole installation and does not cancel it.
//
// Every file is read once, checked against its signed digest, written, and run if it is a script.
// The first failure ends the installation; what is installed by then stays. A file is written while
// its digest is computed, so a payload that turns out wrong has already replaced the old file. To
// prevent that, check every file with `FirmwarePackage::validate` beforehand. A failure that no
// verdict can express (a listed entry that is not in the archive, a directory that may not be
// searched, a callback that throws, memory that runs out) ends the process instead, so success is
// never reported by mistake.

#pragma once

#include <boost/filesystem/path.hpp>
#include <memory>
#include <thread>

#include "Norv/Corvane/Common/CancellationToken.h"
#include "Norv/Corvane/Common/IInstaller.h"
#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT Installer : public IInstaller {
public:
    // Starts nothing. Missing directories are created as files need them.
    explicit Installer(boost::filesystem::path targetDirectory);

    Installer(const Installer&) = delete;
    Installer& operator=(const Installer&) = delete;

    ~Installer() override;

    // `onProgress` is called after a file, if the whole percentage has changed since the last call.
    // `onCompletion` is called exactly once: true when every file was installed and every script
    // succeeded, false on the first failure or on cancellation. Throws `std::system_error` when no
    // thread can be started; then neither callback is called.
    void Install(ValidatedFirmwareZip firmware, std::function<void(unsigned int)> onProgress,
                 std::function<void(bool)> onCompletion) override;

    // Has no effect before `Install` and after the worker has ended. The worker always finishes the
    // file under way, including a running script.
    void Cancel() override;

private:
    boost::filesystem::path targetDirectory_;
    std::thread worker_;
    std::weak_ptr<CancellationToken> cancellation_;
};

}  // namespace Norv::Corvane::Common
