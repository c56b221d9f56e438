#include "Installation.h"

#include <stdexcept>
#include <utility>

#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "Norv/Corvane/Common/Installer.h"
#include "StubValidator.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

InstallationReport installAndWait(Common::ValidatedFirmwareZip firmware,
                                  const boost::filesystem::path& target) {
    InstallationReport report;
    {
        Common::Installer installer(target);
        installer.Install(
            std::move(firmware), [&](unsigned int percent) { report.progress.push_back(percent); },
            [&](bool succeeded) { report.verdicts.push_back(succeeded); });
    }
    return report;
}

Common::ValidatedFirmwareZip unsignedPackage(PackageBuilder builder) {
    const TemporaryDirectory directory;
    const StubValidator signatures(true);
    auto firmware = Common::FirmwareZipValidator(signatures)
                        .ValidateFirmwareZipFile(builder.withoutSignature().build(directory));
    if (!firmware) {
        throw std::runtime_error("the package is refused even without a look at its signature");
    }
    return *std::move(firmware);
}

}  // namespace Norv::Corvane::Test
