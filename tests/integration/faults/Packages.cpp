#include "Packages.h"

#include <fmt/format.h>
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <array>
#include <fstream>
#include <random>
#include <stdexcept>

#include "Norv/Corvane/Common/FirmwareZipValidator.h"

namespace Norv::Corvane::Test {
namespace {

using Common::FileKind;

std::string digestOf(const std::string& content) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const unsigned char*>(content.data()), content.size(), digest.data());
    std::array<unsigned char, 4 * (SHA256_DIGEST_LENGTH + 2) / 3 + 1> text{};
    const int length = EVP_EncodeBlock(text.data(), digest.data(), static_cast<int>(digest.size()));
    return std::string(text.begin(), text.begin() + length);
}

void add(zip_t* archive, const std::string& name, const std::string& content, Storage storage) {
    zip_source_t* const source = zip_source_buffer(archive, content.data(), content.size(), 0);
    const zip_int64_t index = zip_file_add(archive, name.c_str(), source, ZIP_FL_OVERWRITE);
    if (index < 0) {
        throw std::runtime_error(zip_strerror(archive));
    }
    const auto entry = static_cast<zip_uint64_t>(index);
    zip_set_file_compression(archive, entry,
                             storage == Storage::Stored ? ZIP_CM_STORE : ZIP_CM_DEFLATE, 0);
    // The same files give the same package, byte for byte.
    zip_file_set_mtime(archive, entry, 0, 0);
}

}  // namespace

std::string manifestOf(const std::vector<Payload>& files) {
    std::string entries;
    for (const Payload& file : files) {
        entries += fmt::format(
            "<File xsi:type=\"{0}\" LocalFilePath=\"{1}\" RemoteFilePath=\"{1}\" HashValue=\"{2}\" "
            "HashAlgorithm=\"sha256\" Length=\"{3}\"/>",
            file.kind == FileKind::Script ? "ScriptFileType" : "FirmwareFileType", file.name,
            digestOf(file.content), file.content.size());
    }
    return "<FirmwareDescription xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
           "<ManufacturerId Value=\"QV\"/><ModelId Value=\"1\"/><Version Value=\"1.2.3.4\"/>"
           "<SystemVersion Value=\"1.2.3.4\"/><ApplicationVersion Value=\"1.2.3.4\"/><Files>" +
           entries + "</Files></FirmwareDescription>";
}

void writePackage(const boost::filesystem::path& path, const std::vector<Payload>& files,
                  Storage storage) {
    int code = 0;
    zip_t* const archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    if (archive == nullptr) {
        throw std::runtime_error("cannot create " + path.native());
    }
    // Kept until the archive is closed: libzip reads the sources only then.
    const std::string manifest = manifestOf(files);
    for (const Payload& file : files) {
        add(archive, file.name, file.content, storage);
    }
    add(archive, "FirmwareDescription.xml", manifest, storage);
    if (zip_close(archive) != 0) {
        throw std::runtime_error(zip_strerror(archive));
    }
}

Common::ValidatedFirmwareZip validated(const boost::filesystem::path& path,
                                       const std::vector<Payload>& files) {
    const ExactText validator(manifestOf(files));
    auto firmware = Common::FirmwareZipValidator(validator).ValidateFirmwareZipFile(path);
    return std::move(firmware.value());
}

std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(generator());
    }
    return bytes;
}

void replaceContent(const boost::filesystem::path& path, const std::string& content) {
    std::ofstream stream(path.native(), std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + path.native());
    }
}

}  // namespace Norv::Corvane::Test
