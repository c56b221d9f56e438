// The shortest host there is: validate a package, install it, say how it went.

#include <Norv/Corvane/Common/FirmwareDescriptionValidator.h>
#include <Norv/Corvane/Common/FirmwareZipValidator.h>
#include <Norv/Corvane/Common/Installer.h>

#include <cstdio>
#include <future>

using namespace Norv::Corvane::Common;

int main(int argc, char** argv) {
    if (argc != 4 || FirmwareDescriptionValidator::Init()) {
        return 2;
    }
    std::promise<bool> verdict;
    {
        FirmwareDescriptionValidator trusted;
        if (trusted.Open(argv[1])) {  // the one certificate this device trusts, PEM
            return 2;
        }
        auto package = FirmwareZipValidator(trusted).ValidateFirmwareZipFile(argv[2]);
        if (!package) {
            return 1;  // the log says why
        }
        Installer installer(argv[3]);
        installer.Install(
            *std::move(package), [](unsigned int percent) { std::printf("%u %%\n", percent); },
            [&](bool success) { verdict.set_value(success); });
    }  // the installer's destructor waits for its worker
    FirmwareDescriptionValidator::Deinit();
    return verdict.get_future().get() ? 0 : 1;
}
