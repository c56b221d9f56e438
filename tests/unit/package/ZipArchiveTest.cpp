#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include "Archive.h"
#include "TemporaryDirectory.h"
#include "libzip/archive.h"

namespace {

using namespace Norv::Corvane::Test;
using Norv::Corvane::Pack::ArchiveEntry;
using Norv::Corvane::Pack::writeArchive;

static_assert(std::is_nothrow_move_constructible_v<libzip::archive>);
static_assert(std::is_nothrow_move_assignable_v<libzip::archive>);
static_assert(!std::is_copy_constructible_v<libzip::archive>);
static_assert(!std::is_copy_assignable_v<libzip::archive>);
static_assert(sizeof(libzip::archive) == sizeof(zip_t*));
static_assert(std::is_nothrow_move_constructible_v<libzip::file>);
static_assert(std::is_nothrow_move_assignable_v<libzip::file>);
static_assert(!std::is_copy_constructible_v<libzip::file>);
static_assert(sizeof(libzip::file) == sizeof(zip_file_t*));
static_assert(noexcept(std::declval<const libzip::archive&>().find(std::declval<std::string&>())));
static_assert(
    std::is_same_v<decltype(std::declval<const libzip::archive&>().stat("")), zip_stat_t>);
static_assert(
    std::is_same_v<decltype(std::declval<const libzip::archive&>().open("")), libzip::file>);
static_assert(std::is_same_v<decltype(std::declval<const libzip::archive&>().handle()), zip_t*>);

// The text of what `action` throws; none when it throws no `std::runtime_error`.
template <typename Action>
std::optional<std::string> errorOf(Action action) {
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return std::nullopt;
}

std::string libzipText(int error, int systemError) {
    zip_error_t both;
    zip_error_init(&both);
    zip_error_set(&both, error, systemError);
    const std::string text = zip_error_strerror(&both);
    zip_error_fini(&both);
    return text;
}

class ZipArchive : public testing::Test {
protected:
    std::string write(const std::vector<ArchiveEntry>& entries) const {
        const std::string path = (directory / "archive.zip").native();
        writeArchive(path, entries);
        return path;
    }

    libzip::archive openArchive(const std::vector<ArchiveEntry>& entries) const {
        return libzip::archive(write(entries), ZIP_RDONLY);
    }

    TemporaryDirectory directory;
};

TEST_F(ZipArchive, ThrowsLibzipsTextForAMissingFile) {
    const std::string path = (directory / "missing.zip").native();
    const auto text = errorOf([&] { libzip::archive(path, ZIP_RDONLY); });
    EXPECT_EQ(text, libzipText(ZIP_ER_NOENT, ENOENT));
    EXPECT_NE(text, "");
}

TEST_F(ZipArchive, ThrowsLibzipsTextForAFileThatIsNoArchive) {
    const std::string path = directory.write("text", "just some text\n").native();
    EXPECT_EQ(errorOf([&] { libzip::archive(path, ZIP_RDONLY); }), libzipText(ZIP_ER_NOZIP, 0));
}

TEST_F(ZipArchive, ThrowsTheSystemsReasonAsWell) {
    boost::filesystem::create_symlink("loop", directory / "loop");
    const auto text = errorOf([&] { libzip::archive((directory / "loop").native(), ZIP_RDONLY); });
    EXPECT_THAT(text.value_or(""),
                testing::EndsWith(": " + std::generic_category().message(ELOOP)));
}

TEST_F(ZipArchive, FindsEntriesByTheirExactFullName) {
    const libzip::archive archive = openArchive({{"first", "1"}, {"dir/second", "2"}});
    EXPECT_EQ(archive.find("first"), 0);
    EXPECT_EQ(archive.find("dir/second"), 1);
}

TEST_F(ZipArchive, FindsNothingByAnyOtherName) {
    const libzip::archive archive = openArchive({{"dir/name", "1"}});
    for (const char* name : {"", "name", "dir", "dir/", "dir/Name", "DIR/NAME", "/dir/name"}) {
        EXPECT_LT(archive.find(name), 0) << name;
    }
    EXPECT_GE(archive.find("NAME", ZIP_FL_NOCASE | ZIP_FL_NODIR), 0) << "flags are passed on";
}

TEST_F(ZipArchive, OpensAndStatesEntriesWithTheFlagsItIsGiven) {
    const libzip::archive archive = openArchive({{"dir/name", "data"}});
    constexpr zip_flags_t flags = ZIP_FL_NOCASE | ZIP_FL_NODIR;
    EXPECT_EQ(archive.open("NAME", flags).read(10), "data");
    EXPECT_EQ(archive.stat("NAME", flags).size, 4U);
}

TEST_F(ZipArchive, StatesTheUncompressedSize) {
    const libzip::archive archive = openArchive({{"zeros", std::string(100000, '\0')}, {"no", ""}});
    EXPECT_EQ(archive.stat("zeros").size, 100000U);
    EXPECT_LT(archive.stat("zeros").comp_size, 100000U);
    EXPECT_EQ(archive.stat("no").size, 0U);
}

TEST_F(ZipArchive, ThrowsTheArchivesTextForAMissingEntry) {
    const libzip::archive archive = openArchive({{"entry", "data"}});
    EXPECT_EQ(errorOf([&] { archive.open("other"); }), libzipText(ZIP_ER_NOENT, 0));
    EXPECT_EQ(errorOf([&] { archive.stat("other"); }), libzipText(ZIP_ER_NOENT, 0));
    EXPECT_EQ(archive.open("entry").read(10), "data") << "the archive stays usable";
}

TEST_F(ZipArchive, ReadsIntoABufferUntilTheEnd) {
    const libzip::archive archive = openArchive({{"entry", "abcde"}});
    libzip::file entry = archive.open("entry");
    std::string buffer(3, '\0');
    EXPECT_EQ(entry.read(&buffer[0], 3), 3);
    EXPECT_EQ(buffer, "abc");
    EXPECT_EQ(entry.read(&buffer[0], 3), 2);
    EXPECT_EQ(buffer.substr(0, 2), "de");
    EXPECT_EQ(entry.read(&buffer[0], 3), 0);
}

TEST_F(ZipArchive, CutsAStringToWhatOneReadDelivered) {
    const libzip::archive archive = openArchive({{"entry", "abcde"}});
    libzip::file entry = archive.open("entry");
    EXPECT_EQ(entry.read(2), "ab");
    EXPECT_EQ(entry.read(100), "cde");
    EXPECT_EQ(entry.read(100), "");
    EXPECT_EQ(archive.open("entry").read(0), "");
}

TEST_F(ZipArchive, ReadsAnEmptyStringOnError) {
    // The checksum does not fit: found out when the end is reached.
    const std::string path = write({{"entry", "abcde", false}});
    std::string bytes = readFile(path);
    bytes[bytes.find("abcde")] = 'X';
    directory.write("archive.zip", bytes);

    const libzip::archive archive(path, ZIP_RDONLY);
    libzip::file entry = archive.open("entry");
    EXPECT_EQ(entry.read(5), "Xbcde");
    EXPECT_EQ(entry.read(5), "");
    char buffer = 0;
    EXPECT_LT(entry.read(&buffer, 1), 0);
}

TEST_F(ZipArchive, HandsItsHandleOverWhenItIsMoved) {
    libzip::archive source = openArchive({{"entry", "data"}});
    zip_t* const handle = source.handle();
    ASSERT_NE(handle, nullptr);
    {
        libzip::archive target = std::move(source);
        EXPECT_EQ(source.handle(), nullptr);
        EXPECT_EQ(target.handle(), handle);
        EXPECT_EQ(target.open("entry").read(10), "data");
    }
    // Nothing is left to close: a second zip_close of the handle would crash.
}

TEST_F(ZipArchive, ClosesTheOldHandleWhenANewOneReplacesIt) {
    libzip::archive archive = openArchive({{"entry", "old"}});
    const std::string other = (directory / "other.zip").native();
    writeArchive(other, {{"entry", "new"}});
    archive = libzip::archive(other, ZIP_RDONLY);
    EXPECT_EQ(archive.open("entry").read(10), "new");
}

TEST_F(ZipArchive, MovesOpenEntries) {
    const libzip::archive archive = openArchive({{"entry", "data"}, {"other", "more"}});
    libzip::file source = archive.open("entry");
    libzip::file target = std::move(source);
    EXPECT_EQ(target.read(2), "da");
    source = archive.open("other");
    EXPECT_EQ(source.read(10), "more");
    EXPECT_EQ(target.read(10), "ta");
}

// Data of an entry that lives until libzip lets go of it.
zip_int64_t supply(void* released, void* data, zip_uint64_t length, zip_source_cmd_t command) {
    switch (command) {
        case ZIP_SOURCE_FREE:
            *static_cast<bool*>(released) = true;
            return 0;
        case ZIP_SOURCE_STAT: {
            auto* const status = static_cast<zip_stat_t*>(data);
            zip_stat_init(status);
            return static_cast<zip_int64_t>(length);
        }
        case ZIP_SOURCE_SUPPORTS:
            return ZIP_SOURCE_SUPPORTS_READABLE;
        default:
            return -1;
    }
}

TEST_F(ZipArchive, ThrowsAnArchiveAwayThatCannotBeClosed) {
    bool released = false;
    {
        const libzip::archive archive((directory / "new.zip").native(), ZIP_CREATE);
        zip_source_t* const source = zip_source_function(archive.handle(), supply, &released);
        ASSERT_GE(zip_file_add(archive.handle(), "entry", source, 0), 0);
        EXPECT_FALSE(released);
    }
    EXPECT_TRUE(released) << "the source that could not be read was let go";
    EXPECT_FALSE(boost::filesystem::exists(directory / "new.zip"));
}

}  // namespace
