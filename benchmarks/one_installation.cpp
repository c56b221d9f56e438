// A whole installation and nothing around it, for counting its instructions.

#include <spdlog/spdlog.h>

#include <atomic>

#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "Norv/Corvane/Common/Installer.h"

// CERTIFICATE PACKAGE TARGET
int main(int argc, char** argv) {
    using namespace Norv::Corvane::Common;

    spdlog::set_level(spdlog::level::off);
    FirmwareDescriptionValidator validator;
    if (argc != 4 || FirmwareDescriptionValidator::Init() || validator.Open(argv[1])) {
        return 2;
    }
    auto firmware = FirmwareZipValidator(validator).ValidateFirmwareZipFile(argv[2]);
    if (!firmware) {
        return 1;
    }
    std::atomic<bool> installed{false};
    {
        Installer installer(argv[3]);
        installer.Install(
            *std::move(firmware), [](unsigned) {},
            [&installed](bool verdict) { installed = verdict; });
    }
    return installed ? 0 : 1;
}
