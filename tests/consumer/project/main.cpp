// An outside program: touches every family of the public interface through an installed library,
// and says with its exit status whether what came back is right.

#include <Norv/Corvane/Common/ErrorCodes.h>
#include <Norv/Corvane/Common/FileWriter.h>
#include <Norv/Corvane/Common/FirmwareDescriptionValidator.h>
#include <Norv/Corvane/Common/FirmwareZipValidator.h>
#include <Norv/Corvane/Common/Installer.h>
#include <Norv/Ombrel/Project/DeviceType.h>
#include <Norv/Ombrel/Project/MacAddress.h>
#include <Norv/Ombrel/Project/Version.h>
#include <fmt/format.h>

#include <boost/filesystem/operations.hpp>
#include <cstdio>
#include <stdexcept>

namespace common = Norv::Corvane::Common;
namespace project = Norv::Ombrel::Project;

namespace {

int failures = 0;

void check(bool holds, const char* what) {
    std::printf("%s: %s\n", holds ? "ok" : "WRONG", what);
    failures += holds ? 0 : 1;
}

void useValues() {
    const auto version = project::Version::parse("1.2.3.4");
    check(version && project::to_string(*version) == "1.2.3.4", "versions are parsed");
    const auto mac = project::MacAddress::parse("001a2b3c4d5e");
    check(mac && fmt::format("{}", *mac) == "00:1a:2b:3c:4d:5e", "fmt writes MAC addresses");
    check(common::make_error_code(common::ValidationError::InvalidSignature).value() == 4,
          "error codes cross the library's border");
}

void useManifest() {
    pugi::xml_document document;
    document.load_string("<FirmwareDescription/>");
    const auto result = common::parseFirmwareDescription(document.child("FirmwareDescription"));
    const auto* error = boost::get<std::error_code>(&result);
    check(
        error != nullptr && *error == common::ParseFirmwareDescriptionError::MissingManufacturerId,
        "manifests are parsed");
}

void useSink(const boost::filesystem::path& directory) {
    common::FirmwareDescription::File file;
    file.localFilePath = "sub/file";
    common::FileWriter writer(directory, file);
    const unsigned char data[] = {'a', 'b', 'c'};
    writer.write(data, true);
    check(writer.done() && boost::filesystem::file_size(directory / "sub/file") == 3,
          "a sink takes libtorrent's span");
}

void useValidator(const boost::filesystem::path& directory) {
    check(!common::FirmwareDescriptionValidator::Init(), "the XML libraries come up");
    {
        common::FirmwareDescriptionValidator validator;
        check(validator.Open(directory / "none.pem") == common::XmlSecError::CertLoadingFailed,
              "a missing certificate is refused");
        common::FirmwareZipValidator zipValidator(validator);
        check(!zipValidator.ValidateFirmwareZipFile(directory / "none.zip"),
              "a missing package is refused");
        common::Installer installer(directory);
        installer.Cancel();
    }
    common::FirmwareDescriptionValidator::Deinit();
}

void useZip(const boost::filesystem::path& directory) {
    try {
        libzip::archive archive((directory / "none.zip").native(), ZIP_RDONLY);
        check(false, "exceptions cross the library's border");
    } catch (const std::runtime_error&) {
        check(true, "exceptions cross the library's border");
    }
}

}  // namespace

int main() {
    const auto directory =
        boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
    boost::filesystem::create_directory(directory);
    useValues();
    useManifest();
    useSink(directory);
    useValidator(directory);
    useZip(directory);
    boost::filesystem::remove_all(directory);
    return failures == 0 ? 0 : 1;
}
