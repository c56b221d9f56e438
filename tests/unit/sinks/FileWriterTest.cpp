#include "Norv/Corvane/Common/FileWriter.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "LogCapture.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using File = FirmwareDescription::File;
using Bytes = libtorrent::span<const unsigned char>;
using boost::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = boost::filesystem;

static_assert(std::is_same_v<decltype(&FileWriter::write), void (FileWriter::*)(Bytes, bool)>);
static_assert(std::is_same_v<decltype(&FileWriter::done), bool (FileWriter::*)()>);
static_assert(std::is_constructible_v<FileWriter, const path&, const File&>);
static_assert(!std::is_polymorphic_v<FileWriter>);
static_assert(sizeof(FileWriter) == sizeof(std::ofstream), "the stream is the whole state");

File fileAt(std::string installationPath) {
    File file;
    file.localFilePath = std::move(installationPath);
    return file;
}

Bytes bytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()),
            static_cast<std::ptrdiff_t>(text.size())};
}

std::string textOf(std::errc error) {
    return std::make_error_code(error).message();
}

LogRecord openError(std::string message) {
    return {spdlog::level::err, std::move(message), "FileWriter"};
}

class FileWriterTest : public testing::Test {
protected:
    // The verdict on writing "content" as the only chunk.
    static bool writeTo(const path& target, const File& file) {
        FileWriter writer(target, file);
        writer.write(bytes("content"), true);
        return writer.done();
    }

    TemporaryDirectory directory;
    LogCapture log;
};

TEST_F(FileWriterTest, CreatesMissingDirectories) {
    EXPECT_TRUE(writeTo(directory / "data/fw", fileAt("bin/deep/app")));
    EXPECT_THAT(directory.files(), ElementsAre("data/fw/bin/deep/app"));
    EXPECT_EQ(readFile(directory / "data/fw/bin/deep/app"), "content");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FileWriterTest, KeepsAnAbsoluteInstallationPathBelowTheTarget) {
    EXPECT_TRUE(writeTo(directory / "data/fw", fileAt("/bin/app")));
    EXPECT_THAT(directory.files(), ElementsAre("data/fw/bin/app"));
}

TEST_F(FileWriterTest, AcceptsATargetThatEndsInASlash) {
    EXPECT_TRUE(writeTo(directory / "data/fw/", fileAt("app")));
    EXPECT_THAT(directory.files(), ElementsAre("data/fw/app"));
}

// The system takes two slashes for one: only the log shows how a path was joined.
TEST_F(FileWriterTest, PutsASlashBetweenTargetAndInstallationPathOnlyIfThereIsNone) {
    directory.write("file", "");
    const auto parentOf = [this](const char* target, const char* installationPath) {
        const LogCapture attempt;
        EXPECT_FALSE(writeTo(directory / target, fileAt(installationPath)));
        const std::string message = attempt.records().at(0).message;
        const std::string before = "Failed to create directory " + directory.path().native() + "/";
        EXPECT_EQ(message.substr(0, before.size()), before);
        return message.substr(before.size(), message.find(" (") - before.size());
    };
    EXPECT_EQ(parentOf("file", "sub/app"), "file/sub");
    EXPECT_EQ(parentOf("file/", "sub/app"), "file/sub");
    EXPECT_EQ(parentOf("file", "/sub/app"), "file/sub");
    EXPECT_EQ(parentOf("file/", "/sub/app"), "file//sub");
}

TEST_F(FileWriterTest, WritesFirmwareThatIsNamedLikeAScript) {
    File file = fileAt("bin/Script.run");
    file.kind = FileKind::Firmware;
    EXPECT_TRUE(writeTo(directory.path(), file));
    EXPECT_EQ(readFile(directory / "bin/Script.run"), "content");
}

TEST_F(FileWriterTest, PrefersTheRemotePath) {
    File file = fileAt("local");
    file.remoteFilePath = "remote";
    EXPECT_TRUE(writeTo(directory.path(), file));
    EXPECT_THAT(directory.files(), ElementsAre("remote"));
}

TEST_F(FileWriterTest, AppendsChunksInOrder) {
    FileWriter writer(directory.path(), fileAt("app"));
    writer.write(bytes("one "), false);
    writer.write(bytes("two "), false);
    writer.write(bytes("three"), true);
    EXPECT_TRUE(writer.done());
    EXPECT_EQ(readFile(directory / "app"), "one two three");
}

TEST_F(FileWriterTest, WritesBytesAsTheyAre) {
    const std::string_view data("\0\r\n\x1a\xff", 5);
    FileWriter writer(directory.path(), fileAt("app"));
    writer.write(bytes(data), true);
    EXPECT_TRUE(writer.done());
    EXPECT_EQ(readFile(directory / "app"), data);
}

TEST_F(FileWriterTest, FlushesTheLastChunkAndNoOther) {
    FileWriter writer(directory.path(), fileAt("app"));
    writer.write(bytes("buffered "), false);
    EXPECT_EQ(readFile(directory / "app"), "");
    writer.write(bytes("flushed"), true);
    EXPECT_EQ(readFile(directory / "app"), "buffered flushed");
    EXPECT_TRUE(writer.done());
}

TEST_F(FileWriterTest, WritesAFileThatEndsInAFullChunkAsItIsClosed) {
    FileWriter writer(directory.path(), fileAt("app"));
    const std::string chunk(262144, 'x');
    writer.write(bytes(chunk), false);
    EXPECT_TRUE(writer.done());
    EXPECT_EQ(readFile(directory / "app"), chunk);
}

TEST_F(FileWriterTest, LeavesAnEmptyFileForNoChunks) {
    FileWriter writer(directory.path(), fileAt("app"));
    EXPECT_TRUE(writer.done());
    EXPECT_THAT(directory.files(), ElementsAre("app"));
    EXPECT_EQ(readFile(directory / "app"), "");
}

TEST_F(FileWriterTest, OverwritesAnExistingFileFromTheStart) {
    directory.write("app", "something longer than the new content");
    EXPECT_TRUE(writeTo(directory.path(), fileAt("app")));
    EXPECT_EQ(readFile(directory / "app"), "content");
}

TEST_F(FileWriterTest, TruncatesAnExistingFileEvenIfNothingIsWritten) {
    directory.write("app", "old");
    EXPECT_TRUE(FileWriter(directory.path(), fileAt("app")).done());
    EXPECT_EQ(readFile(directory / "app"), "");
}

TEST_F(FileWriterTest, KeepsWhatWasWrittenWhenItIsNeverDone) {
    { FileWriter(directory.path(), fileAt("app")).write(bytes("partial"), false); }
    EXPECT_EQ(readFile(directory / "app"), "partial");
}

TEST_F(FileWriterTest, FailsToOpenWhenTheParentIsAFile) {
    directory.write("fw/bin", "a file");
    EXPECT_FALSE(writeTo(directory / "fw", fileAt("bin/app")));
    EXPECT_THAT(log.records(),
                ElementsAre(openError("Failde to open file " + (directory / "fw/bin").native())));
    EXPECT_EQ(readFile(directory / "fw/bin"), "a file");
}

TEST_F(FileWriterTest, FailsToCreateADirectoryBelowAFile) {
    directory.write("fw/bin", "a file");
    const path parent = directory / "fw/bin/sub";
    boost::system::error_code reason;
    fs::create_directories(parent, reason);
    ASSERT_TRUE(reason);

    EXPECT_FALSE(writeTo(directory / "fw", fileAt("bin/sub/app")));
    EXPECT_THAT(log.records(),
                ElementsAre(openError("Failed to create directory " + parent.native() + " (" +
                                      reason.message() + ")")));
}

TEST_F(FileWriterTest, FailsForAnEmptyTargetAndABareName) {
    EXPECT_FALSE(writeTo("", fileAt("app")));
    EXPECT_THAT(log.records(), ElementsAre(openError("Failed to create directory  (" +
                                                     textOf(std::errc::invalid_argument) + ")")));
    EXPECT_FALSE(fs::exists("app"));
}

TEST_F(FileWriterTest, FailsForAnEmptyInstallationPath) {
    fs::create_directory(directory / "fw");
    File file = fileAt("app");
    file.remoteFilePath = "";
    EXPECT_FALSE(writeTo(directory / "fw", file));
    EXPECT_THAT(log.records(),
                ElementsAre(openError("Failde to open file " + directory.path().native())));
    EXPECT_THAT(directory.files(), IsEmpty());
}

TEST_F(FileWriterTest, TakesAMissingTargetForTheFileWhenTheInstallationPathIsEmpty) {
    File file = fileAt("app");
    file.remoteFilePath = "";
    EXPECT_TRUE(writeTo(directory / "fw", file));
    EXPECT_THAT(directory.files(), ElementsAre("fw"));
    EXPECT_EQ(readFile(directory / "fw"), "content");
}

TEST_F(FileWriterTest, FailsToOpenAPathThatNamesADirectory) {
    fs::create_directories(directory / "fw/app");
    EXPECT_FALSE(writeTo(directory / "fw", fileAt("app")));
    EXPECT_THAT(log.records(),
                ElementsAre(openError("Failde to open file " + (directory / "fw").native())));
}

TEST_F(FileWriterTest, ReportsAFailedConstructionWithoutAnyChunk) {
    fs::create_directories(directory / "app");
    EXPECT_FALSE(FileWriter(directory.path(), fileAt("app")).done());
}

// A device that takes no byte stands for a full disk: opening succeeds, writing does not.
TEST_F(FileWriterTest, RemembersAFailedFlushWithoutLoggingIt) {
    fs::create_symlink("/dev/full", directory / "app");
    FileWriter writer(directory.path(), fileAt("app"));
    writer.write(bytes("lost"), true);
    EXPECT_FALSE(writer.done());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FileWriterTest, ReportsWhatFailsOnlyWhenTheFileIsClosed) {
    fs::create_symlink("/dev/full", directory / "app");
    FileWriter writer(directory.path(), fileAt("app"));
    writer.write(bytes("buffered until the end"), false);
    EXPECT_FALSE(writer.done());
    EXPECT_THAT(log.records(), IsEmpty());
}

// The size limit of the process stands for a disk that fills up and has room again later.
TEST_F(FileWriterTest, SkipsEveryChunkAfterAFailedOne) {
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tight{1024, before.rlim_max};

    FileWriter writer(directory.path(), fileAt("app"));
    setrlimit(RLIMIT_FSIZE, &tight);
    writer.write(bytes(std::string(2048, 'x')), true);
    setrlimit(RLIMIT_FSIZE, &before);
    writer.write(bytes("too late"), true);
    const bool verdict = writer.done();
    static_cast<void>(std::signal(SIGXFSZ, ignored));

    EXPECT_FALSE(verdict);
    EXPECT_EQ(readFile(directory / "app").find("too late"), std::string::npos);
    EXPECT_TRUE(fs::exists(directory / "app")) << "what was written stays";
}

TEST_F(FileWriterTest, ThrowsWhenTheStateOfTheDirectoryCannotBeTold) {
    fs::create_symlink("loop", directory / "loop");
    EXPECT_THROW(FileWriter(directory.path(), fileAt("loop/app")), fs::filesystem_error);
    EXPECT_THROW(FileWriter(directory.path(), fileAt(std::string(300, 'x') + "/app")),
                 fs::filesystem_error);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FileWriterTest, FollowsASymbolicLinkToADirectory) {
    fs::create_directory(directory / "real");
    fs::create_symlink("real", directory / "link");
    EXPECT_TRUE(writeTo(directory.path(), fileAt("link/app")));
    EXPECT_EQ(readFile(directory / "real/app"), "content");
}

TEST_F(FileWriterTest, NormalisesNothing) {
    // Through the link, ".." is not the directory that the link is in.
    fs::create_directories(directory / "other/sub");
    fs::create_directory(directory / "fw");
    fs::create_symlink("../other/sub", directory / "fw/link");
    EXPECT_TRUE(writeTo(directory / "fw", fileAt("link/./../app")));
    EXPECT_EQ(readFile(directory / "other/app"), "content");
    EXPECT_FALSE(fs::exists(directory / "fw/app"));
}

}  // namespace
