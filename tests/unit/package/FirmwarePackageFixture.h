// Packages with the entries that a test wants.

#pragma once

#include <gmock/gmock.h>

#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Archive.h"
#include "LogCapture.h"
#include "Norv/Corvane/Common/FirmwarePackage.h"
#include "StubValidator.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

inline constexpr const char* manifestName = "FirmwareDescription.xml";
inline constexpr const char* soundManifest =
    R"(<FirmwareDescription><ManufacturerId Value="QV"/><ModelId Value="WOLMZB04"/>)"
    R"(<Version Value="1.2.3.4"/><SystemVersion Value="1.0.0.0"/>)"
    R"(<ApplicationVersion Value="1.0.0.1"/></FirmwareDescription>)";

class FirmwarePackageTest : public testing::Test {
protected:
    Common::FirmwarePackage packageOf(const std::vector<Pack::ArchiveEntry>& entries) const {
        const boost::filesystem::path file = directory / "package.zip";
        Pack::writeArchive(file.native(), entries);
        boost::optional<Common::FirmwarePackage> package = Common::FirmwarePackage::Create(file);
        return *std::move(package);
    }

    static std::error_code errorOf(const Common::FirmwarePackage& package,
                                   const Common::IFirmwareDescriptionValidator& validator) {
        const auto outcome = package.validateAndGetFirmwareDescription(validator);
        const auto* const error = boost::get<std::error_code>(&outcome);
        return error != nullptr ? *error : std::error_code();
    }

    std::error_code errorOfManifest(const std::string& text) const {
        return errorOf(packageOf({{manifestName, text}}), StubValidator(true));
    }

    TemporaryDirectory directory;
    LogCapture log;
};

}  // namespace Norv::Corvane::Test
