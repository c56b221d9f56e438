// A minimal host. It checks that the package is genuine, meant for this device, not older, and
// undamaged. Then it installs the package, flushes it to the medium, and prints the outcome.

#include <Norv/Corvane/Common/FirmwareDescriptionValidator.h>
#include <Norv/Corvane/Common/FirmwareZipValidator.h>
#include <Norv/Corvane/Common/Installer.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <future>

using namespace Norv::Corvane::Common;
using Norv::Ombrel::Project::DeviceType;
using Norv::Ombrel::Project::Version;

// A real host reads these from the device.
const auto model = DeviceType::Type::QA01RTVN;
const char* const hardwareRevision = "A";
const Version installed = {1, 0, 0, 0};

bool meantForThisDevice(const FirmwareDescription& description) {
    const auto& revisions = description.supportedHwRevs;
    return description.deviceType.type == model &&
           std::count(revisions.begin(), revisions.end(), hardwareRevision) > 0 &&
           description.version >= installed;
}

// The installer writes each file before it knows its digest, so this reads all files beforehand.
bool isSound(const ValidatedFirmwareZip& firmware) {
    const auto& files = firmware.description.files;
    return std::all_of(files.begin(), files.end(), [&](const FirmwareDescription::File& file) {
        return firmware.package.validate(file) &&
               firmware.package.archive().stat(file.localFilePath).size == file.length;
    });
}

// Without this, a power cut within half a minute can leave empty files. Each file system that files
// go to needs a call; here there is only the target's.
bool flush(const char* target) {
    const int directory = open(target, O_RDONLY | O_CLOEXEC);
    const bool flushed = directory >= 0 && syncfs(directory) == 0;
    close(directory);
    return flushed;
}

bool install(const char* certificate, const char* path, const char* target) {
    FirmwareDescriptionValidator trusted;
    if (trusted.Open(certificate)) {  // the one certificate this device trusts, PEM
        return false;
    }
    auto firmware = FirmwareZipValidator(trusted).ValidateFirmwareZipFile(path);
    if (!firmware || !meantForThisDevice(firmware->description) || !isSound(*firmware)) {
        return false;  // the log has the reason only for the first of these
    }
    std::promise<bool> verdict;
    Installer installer(target);  // its destructor waits for its worker
    installer.Install(
        *std::move(firmware), [](unsigned int percent) { std::printf("%u %%\n", percent); },
        [&](bool success) { verdict.set_value(success); });
    return verdict.get_future().get() && flush(target);
}

int main(int argc, char** argv) try {
    if (argc != 4 || FirmwareDescriptionValidator::Init()) {
        return 2;
    }
    const bool success = install(argv[1], argv[2], argv[3]);
    FirmwareDescriptionValidator::Deinit();
    std::puts(success ? "installed" : "not installed");
    return success ? 0 : 1;
} catch (const std::exception& error) {  // a listed file that is not in the package
    std::fprintf(stderr, "not installed: %s\n", error.what());
    return 1;
}
