// Numbers that do not fit a 32-bit machine's types: file offsets, sizes that an archive declares,
// the largest chunks. Most of it could only go wrong there.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Norv/Corvane/Common/FileWriter.h"
#include "Norv/Corvane/Common/FirmwarePackage.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "Norv/Corvane/Common/Installer.h"
#include "Norv/Corvane/Common/ProgressCounter.h"
#include "PackageBuilder.h"
#include "TemporaryDirectory.h"
#include "ValidatorFixture.h"

namespace Norv::Corvane::Test {
namespace {

namespace fs = boost::filesystem;

static_assert(sizeof(off_t) == 8, "files of more than 2 GiB could not be opened");
static_assert(sizeof(unsigned int) == 4, "progress is counted modulo 2^32");
static_assert(sizeof(zip_int64_t) == 8, "an entry's index and size are wider than size_t");

constexpr std::uint64_t gibibyte = std::uint64_t{1} << 30;

// Little-endian numbers of at most 32 bits inside the bytes of an archive.
std::size_t number(const std::string& bytes, std::size_t at, std::size_t width) {
    std::size_t value = 0;
    for (std::size_t i = width; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(at + i));
    }
    return value;
}

std::string littleEndian(std::uint64_t value, std::size_t width) {
    std::string bytes;
    for (std::size_t i = 0; i < width; ++i) {
        bytes += static_cast<char>(value >> (8 * i) & 0xff);
    }
    return bytes;
}

void add(std::string& bytes, std::size_t at, std::size_t width, std::uint64_t more) {
    bytes.replace(at, width, littleEndian(number(bytes, at, width) + more, width));
}

// Positions in an archive without a comment.
std::size_t endRecord(const std::string& archive) {
    return archive.size() - 22;
}

std::vector<std::size_t> centralRecords(const std::string& archive) {
    std::vector<std::size_t> records;
    std::size_t at = number(archive, endRecord(archive) + 16, 4);
    while (archive.compare(at, 4, "PK\1\2") == 0) {
        records.push_back(at);
        at += 46 + number(archive, at + 28, 2) + number(archive, at + 30, 2) +
              number(archive, at + 32, 2);
    }
    return records;
}

std::string nameOf(const std::string& archive, std::size_t record) {
    return archive.substr(record + 46, number(archive, record + 28, 2));
}

// The archive's manifest declares `size` bytes, by the means for sizes of 4 GiB and more.
std::string withDeclaredManifestSize(std::string archive, std::uint64_t size) {
    for (const std::size_t record : centralRecords(archive)) {
        if (nameOf(archive, record) != "FirmwareDescription.xml") {
            continue;
        }
        const std::string extra = littleEndian(1, 2) + littleEndian(8, 2) + littleEndian(size, 8);
        archive.replace(record + 24, 4, littleEndian(0xffffffff, 4));
        archive.insert(record + 46 + number(archive, record + 28, 2), extra);
        add(archive, record + 30, 2, extra.size());
        add(archive, endRecord(archive) + 12, 4, extra.size());
        return archive;
    }
    throw std::runtime_error("no manifest in the archive");
}

// The archive behind a hole of `hole` bytes, all its offsets adjusted.
void writeBehindHole(const fs::path& path, std::string archive, std::uint64_t hole) {
    for (const std::size_t record : centralRecords(archive)) {
        add(archive, record + 42, 4, hole);
    }
    add(archive, endRecord(archive) + 16, 4, hole);
    std::ofstream stream(path.string(), std::ios::binary);
    stream.seekp(static_cast<std::streamoff>(hole));
    stream << archive;
}

class Width : public ValidatorFixture {
protected:
    TemporaryDirectory target;

    bool install(const fs::path& package) {
        auto firmware = Common::FirmwareZipValidator(validator).ValidateFirmwareZipFile(package);
        bool success = false;
        if (firmware) {
            Common::Installer installer(target.path());
            installer.Install(
                *std::move(firmware), [](unsigned int) {},
                [&](bool verdict) { success = verdict; });
        }
        return success;
    }
};

TEST_F(Width, InstallsOrRefusesAPackageWhoseEntriesLieBeyondTwoGigabytes) {
    const fs::path small = PackageBuilder().firmware("app", "the payload").build(directory);
    const fs::path large = directory / "large.zip";
    writeBehindHole(large, readFile(small), 3 * gibibyte);
    ASSERT_GT(fs::file_size(large), 3 * gibibyte);

    if (install(large)) {
        EXPECT_EQ(readFile(target / "app"), "the payload");
        return;
    }
    // A libzip that was built with narrow file offsets, such as Debian 12's for 32-bit ARM.
    EXPECT_EQ(sizeof(void*), 4U);
    EXPECT_THAT(log.records(), testing::ElementsAre(LogRecord{
                                   spdlog::level::err,
                                   "Faild to open " + large.string() +
                                       " (Read error: Value too large for defined data type)",
                                   "Create"}));
    EXPECT_THAT(target.files(), testing::IsEmpty());
}

TEST_F(Width, DoesNotCutADeclaredManifestSizeToTheMachinesWord) {
    const fs::path honest = PackageBuilder().firmware("app", "the payload").build(directory);
    const std::uint64_t length =
        Common::FirmwarePackage::Create(honest)->archive().stat("FirmwareDescription.xml").size;

    // Cut to 32 bits, each would be the length that the manifest really has.
    for (const std::uint64_t lie : {4 * gibibyte, 8 * gibibyte, std::uint64_t{1} << 62}) {
        const fs::path lying =
            directory.write("lying.zip", withDeclaredManifestSize(readFile(honest), lie + length));
        const auto package = Common::FirmwarePackage::Create(lying);
        ASSERT_TRUE(package);
        ASSERT_EQ(package->archive().stat("FirmwareDescription.xml").size, lie + length);
        const auto result = package->validateAndGetFirmwareDescription(validator);
        const auto* error = boost::get<std::error_code>(&result);
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(*error, Common::ValidationError::ValidationProcessError);
    }
}

TEST(WidthOfProgress, CountsTheLargestChunksThereAre) {
    unsigned int percent = 0;
    Common::ProgressCounter::SharedState state(4294967295U, [&](unsigned int p) { percent = p; });
    Common::ProgressCounter counter(state);
    // Only the size of a chunk is looked at.
    const unsigned char byte = 0;
    const libtorrent::span<const unsigned char> chunk(&byte, 2147483647);
    counter.write(chunk, false);
    counter.done();
    EXPECT_EQ(percent, 49U);
    counter.write(chunk, false);
    counter.done();
    EXPECT_EQ(percent, 100U);
    EXPECT_EQ(state.bytesWritten, 4294967294U);
}

TEST(WidthOfFiles, WritesAFileOfMoreThanTwoGigabytes) {
    if (sizeof(void*) > 4) {
        GTEST_SKIP() << "could only fail where pointers have 32 bits, and writes 2 GiB";
    }
    TemporaryDirectory target;
    Common::FirmwareDescription::File file;
    file.localFilePath = "large";
    Common::FileWriter writer(target.path(), file);
    const std::vector<unsigned char> chunk(262144, 'x');
    for (std::uint64_t written = 0; written <= 2 * gibibyte; written += chunk.size()) {
        writer.write(chunk, false);
    }
    writer.write({}, true);
    EXPECT_TRUE(writer.done());
    EXPECT_EQ(fs::file_size(target / "large"), 2 * gibibyte + chunk.size());
}

}  // namespace
}  // namespace Norv::Corvane::Test
