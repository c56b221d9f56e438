// The installer's worker with sinks that only take notes, in place of the real ones: which calls it
// makes, in which order.

#include <gmock/gmock.h>

#include <fmt/format.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Installation.h"
#include "LogCapture.h"
#include "Norv/Corvane/Common/FileWriter.h"
#include "Norv/Corvane/Common/ProgressCounter.h"
#include "Norv/Corvane/Common/ScriptRunner.h"
#include "TemporaryDirectory.h"

namespace {

// Written by one worker, read after its end.
struct Journal {
    std::vector<std::string> calls;
    // The sink whose `done` fails.
    std::string failing;

    bool done(const std::string& sink) {
        calls.push_back(sink + " done");
        return sink != failing;
    }
} journal;

}  // namespace

namespace Norv::Corvane::Common {

FileWriter::FileWriter(const boost::filesystem::path& targetDir,
                       const FirmwareDescription::File& file) {
    journal.calls.push_back(
        fmt::format("writer for {} in {}", file.localFilePath, targetDir.native()));
}

void FileWriter::write(libtorrent::span<const unsigned char> data, bool last) {
    journal.calls.push_back(fmt::format("writer {} {}", data.size(), last));
}

bool FileWriter::done() {
    return journal.done("writer");
}

ScriptRunner::ScriptRunner(const boost::filesystem::path& targetDir,
                           const FirmwareDescription::File& file) {
    journal.calls.push_back(
        fmt::format("runner for {} in {}", file.localFilePath, targetDir.native()));
}

void ScriptRunner::write(libtorrent::span<const unsigned char> data, bool last) {
    journal.calls.push_back(fmt::format("runner {} {}", data.size(), last));
}

bool ScriptRunner::done() {
    return journal.done("runner");
}

ProgressCounter::SharedState::SharedState(unsigned int total, std::function<void(unsigned int)>) {
    journal.calls.push_back(fmt::format("progress of {}", total));
}

ProgressCounter::ProgressCounter(SharedState& state) noexcept : state_(state) {
    journal.calls.emplace_back("counter");
}

void ProgressCounter::write(libtorrent::span<const unsigned char> data, bool last) {
    state_.bytesWritten += static_cast<unsigned int>(data.size());
    journal.calls.push_back(fmt::format("counter {} {}", data.size(), last));
}

bool ProgressCounter::done() {
    return journal.done("counter");
}

}  // namespace Norv::Corvane::Common

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using Calls = std::vector<std::string>;
using testing::ElementsAre;

class SinkContract : public testing::Test {
protected:
    void SetUp() override { journal = Journal(); }

    static bool install(const PackageBuilder& package) {
        const InstallationReport report = installAndWait(unsignedPackage(package), "/target");
        return report.verdicts == std::vector<bool>{true};
    }

    static PackageBuilder fileOf(std::size_t size) {
        return PackageBuilder().firmware("file", std::string(size, 'x'));
    }

    // What an installation of one file of `total` bytes does, `chunks` being its middle part.
    static Calls expected(std::size_t total, const Calls& chunks, const Calls& end) {
        Calls calls{fmt::format("progress of {}", total), "writer for file in /target",
                    "runner for file in /target", "counter"};
        for (const std::string& chunk : chunks) {
            for (const char* sink : {"writer ", "runner ", "counter "}) {
                calls.push_back(sink + chunk);
            }
        }
        calls.insert(calls.end(), end.begin(), end.end());
        return calls;
    }

    const Calls allDone{"writer done", "runner done", "counter done"};
    LogCapture log;
};

TEST_F(SinkContract, ShortFileIsOneLastChunk) {
    EXPECT_TRUE(install(fileOf(5)));
    EXPECT_EQ(journal.calls, expected(5, {"5 true"}, allDone));
}

TEST_F(SinkContract, EmptyFileIsNoChunkAtAll) {
    EXPECT_TRUE(install(fileOf(0)));
    EXPECT_EQ(journal.calls, expected(0, {}, allDone));
}

TEST_F(SinkContract, FileOfOneWholeChunkHasNoLastChunk) {
    EXPECT_TRUE(install(fileOf(262144)));
    EXPECT_EQ(journal.calls, expected(262144, {"262144 false"}, allDone));
}

TEST_F(SinkContract, FileOneByteShorterIsOneLastChunk) {
    EXPECT_TRUE(install(fileOf(262143)));
    EXPECT_EQ(journal.calls, expected(262143, {"262143 true"}, allDone));
}

TEST_F(SinkContract, FileOneByteLongerEndsInALastChunkOfOneByte) {
    EXPECT_TRUE(install(fileOf(262145)));
    EXPECT_EQ(journal.calls, expected(262145, {"262144 false", "1 true"}, allDone));
}

TEST_F(SinkContract, StoredAndCompressedFilesArriveInTheSameChunks) {
    EXPECT_TRUE(install(fileOf(600000).stored()));
    EXPECT_EQ(journal.calls,
              expected(600000, {"262144 false", "262144 false", "75712 true"}, allDone));
}

TEST_F(SinkContract, NoSinkIsDoneWhenTheDigestDiffers) {
    EXPECT_FALSE(install(fileOf(5).flipBit("file")));
    EXPECT_EQ(journal.calls, expected(5, {"5 true"}, {}));
}

TEST_F(SinkContract, FirstSinkThatFailsIsTheLastOneAsked) {
    journal.failing = "writer";
    EXPECT_FALSE(install(fileOf(5)));
    EXPECT_EQ(journal.calls, expected(5, {"5 true"}, {"writer done"}));

    journal = Journal();
    journal.failing = "runner";
    EXPECT_FALSE(install(fileOf(5)));
    EXPECT_EQ(journal.calls, expected(5, {"5 true"}, {"writer done", "runner done"}));

    journal = Journal();
    journal.failing = "counter";
    EXPECT_FALSE(install(fileOf(5)));
    EXPECT_EQ(journal.calls, expected(5, {"5 true"}, allDone));
}

TEST_F(SinkContract, EachFileGetsSinksOfItsOwnOnOneProgress) {
    EXPECT_TRUE(install(PackageBuilder().firmware("a", "1").script("b", "22")));
    EXPECT_EQ(journal.calls,
              (Calls{"progress of 3", "writer for a in /target", "runner for a in /target",
                     "counter", "writer 1 true", "runner 1 true", "counter 1 true", "writer done",
                     "runner done", "counter done", "writer for b in /target",
                     "runner for b in /target", "counter", "writer 2 true", "runner 2 true",
                     "counter 2 true", "writer done", "runner done", "counter done"}));
}

TEST_F(SinkContract, PackageWithoutFilesNeedsNoSinks) {
    EXPECT_TRUE(install(PackageBuilder()));
    EXPECT_THAT(journal.calls, ElementsAre("progress of 0"));
}

}  // namespace
