// Cancellation at every moment of an installation: one completion each time, and always the same
// verdict and log lines.
//
// A named pipe in the place of an installed file, or of what a script reads, holds the installation
// at a known moment: the worker waits until the test has read, or closed, the other end.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <thread>

#include "Installation.h"

namespace Norv::Corvane::Test {
namespace {

namespace fs = boost::filesystem;
using Common::FileKind;
using Common::Installer;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

// How often each case is tried; a full run sets more.
int repetitions() {
    const char* const text = std::getenv("CORVANE_REPETITIONS");
    return text == nullptr ? 5 : std::atoi(text);
}

// Each one is worth a progress report, and more than a named pipe takes at once.
std::vector<Payload> tenFiles() {
    std::vector<Payload> files;
    for (int i = 0; i < 10; ++i) {
        files.push_back(
            {fmt::format("file{}", i), std::string(100 << 10, static_cast<char>('a' + i))});
    }
    return files;
}

// A named pipe that stops who opens it for writing, or for reading.
class Barrier {
public:
    explicit Barrier(const fs::path& path) : path_(path) { mkfifo(path.c_str(), 0600); }

    // Blocks until a writer has come; then returns what it writes until it closes. A writer of more
    // than 64 KiB is still at it during `meanwhile`.
    std::string drain(const std::function<void()>& meanwhile) const {
        const int descriptor = open(path_.c_str(), O_RDONLY);
        meanwhile();
        std::string content;
        char buffer[4096];
        for (ssize_t count; (count = read(descriptor, buffer, sizeof(buffer))) > 0;) {
            content.append(buffer, static_cast<std::size_t>(count));
        }
        close(descriptor);
        return content;
    }

    // Blocks until a reader has come, which then reads the end of the file.
    void release(const std::function<void()>& meanwhile) const {
        const int descriptor = open(path_.c_str(), O_WRONLY);
        meanwhile();
        close(descriptor);
    }

private:
    fs::path path_;
};

class Cancellation : public FaultTest {
protected:
    void SetUp() override { fs::create_directory(target()); }

    // Which of the ten files exist, as a number.
    std::size_t installedFiles() const {
        std::size_t count = 0;
        while (fs::exists(target() / fmt::format("file{}", count))) {
            ++count;
        }
        return count;
    }

    void clearTarget() const {
        fs::remove_all(target());
        fs::create_directory(target());
    }
};

TEST_F(Cancellation, BeforeTheStartHasNoEffect) {
    writePackage(package(), tenFiles());
    for (int round = 0; round < repetitions(); ++round) {
        auto firmware = validated(package(), tenFiles());
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Cancel();
            installer.Install(std::move(firmware), verdicts.progress(), verdicts.completion());
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(true));
        EXPECT_THAT(log.records(), ElementsAre(succeeded));
        EXPECT_EQ(installedFiles(), 10U);
        clearTarget();
    }
}

class CancellationDuringAFile : public Cancellation, public testing::WithParamInterface<int> {};

TEST_P(CancellationDuringAFile, FinishesThatFileAndNoOther) {
    const auto number = static_cast<std::size_t>(GetParam());
    const std::vector<Payload> files = tenFiles();
    writePackage(package(), files);
    for (int round = 0; round < repetitions(); ++round) {
        const Barrier barrier(target() / files[number].name);
        auto firmware = validated(package(), files);
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress(), verdicts.completion());
            EXPECT_EQ(barrier.drain([&] { installer.Cancel(); }), files[number].content);
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(false));
        EXPECT_EQ(verdicts.percentages().size(), number + 1);
        EXPECT_THAT(log.records(), ElementsAre(cancelRequested, canceled));
        EXPECT_EQ(installedFiles(), number + 1);
        clearTarget();
    }
}

INSTANTIATE_TEST_SUITE_P(OfTen, CancellationDuringAFile, testing::Range(0, 10));

TEST_F(Cancellation, DuringAScriptLetsItFinish) {
    const fs::path pipe = directory / "pipe";
    const Barrier barrier(pipe);
    const std::string script =
        fmt::format("cat {}\necho done > {}/effect\n", pipe.native(), target().native());
    const std::vector<Payload> files{{"Script.run", script, FileKind::Script}, {"later", "x"}};
    writePackage(package(), files);
    for (int round = 0; round < repetitions(); ++round) {
        auto firmware = validated(package(), files);
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress(), verdicts.completion());
            barrier.release([&] { installer.Cancel(); });
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(false));
        EXPECT_THAT(log.records(), ElementsAre(cancelRequested, canceled));
        EXPECT_EQ(readFile(target() / "effect"), "done\n");
        EXPECT_FALSE(fs::exists(target() / "later"));
        clearTarget();
    }
}

TEST_F(Cancellation, OfAFileThatFailsIsAFailure) {
    const fs::path pipe = directory / "pipe";
    const Barrier barrier(pipe);
    const std::vector<Payload> files{
        {"Script.run", fmt::format("cat {}\nexit 1\n", pipe.native()), FileKind::Script}};
    writePackage(package(), files);
    for (int round = 0; round < repetitions(); ++round) {
        auto firmware = validated(package(), files);
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress(), verdicts.completion());
            barrier.release([&] { installer.Cancel(); });
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(false));
        EXPECT_THAT(log.records(), ElementsAre(cancelRequested, failedOn("Script.run")));
    }
}

TEST_F(Cancellation, FromInsideTheProgressCallbackEndsAfterThatFile) {
    writePackage(package(), tenFiles());
    for (int round = 0; round < repetitions(); ++round) {
        auto firmware = validated(package(), tenFiles());
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress([&](unsigned int percent) {
                if (percent == 30) {
                    installer.Cancel();
                }
            }),
                              verdicts.completion());
            verdicts.wait();
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(false));
        EXPECT_THAT(verdicts.percentages(), ElementsAre(10, 20, 30));
        EXPECT_THAT(log.records(), ElementsAre(cancelRequested, canceled));
        EXPECT_EQ(installedFiles(), 3U);
        clearTarget();
    }
}

TEST_F(Cancellation, FromInsideTheCompletionCallbackComesTooLate) {
    writePackage(package(), tenFiles());
    for (int round = 0; round < repetitions(); ++round) {
        auto firmware = validated(package(), tenFiles());
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress(),
                              verdicts.completion([&](bool) { installer.Cancel(); }));
            verdicts.wait();
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(true));
        EXPECT_THAT(log.records(), ElementsAre(cancelRequested, succeeded));
        EXPECT_EQ(installedFiles(), 10U);
        clearTarget();
    }
}

TEST_F(Cancellation, TwiceIsLoggedTwiceAndAnsweredOnce) {
    const std::vector<Payload> files = tenFiles();
    writePackage(package(), files);
    for (int round = 0; round < repetitions(); ++round) {
        const Barrier barrier(target() / files[4].name);
        auto firmware = validated(package(), files);
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress(), verdicts.completion());
            barrier.drain([&] {
                installer.Cancel();
                installer.Cancel();
            });
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(false));
        EXPECT_THAT(log.records(), ElementsAre(cancelRequested, cancelRequested, canceled));
        clearTarget();
    }
}

TEST_F(Cancellation, AfterTheEndIsSilent) {
    writePackage(package(), tenFiles());
    for (int round = 0; round < repetitions(); ++round) {
        auto firmware = validated(package(), tenFiles());
        const LogCapture log;
        Verdicts verdicts;
        {
            std::atomic<pid_t> worker{0};
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress(),
                              verdicts.completion([&](bool) { worker = gettid(); }));
            verdicts.wait();
            while (fs::exists(fmt::format("/proc/self/task/{}", worker.load()))) {
                std::this_thread::yield();
            }
            installer.Cancel();
        }
        EXPECT_THAT(verdicts.completions(), ElementsAre(true));
        EXPECT_THAT(log.records(), ElementsAre(succeeded));
        clearTarget();
    }
}

// No barrier: the request meets the worker wherever it is. Either it came in time or it did not.
TEST_F(Cancellation, AtAnyMomentIsAnsweredOnce) {
    writePackage(package(), tenFiles());
    for (int round = 0; round < 4 * repetitions(); ++round) {
        auto firmware = validated(package(), tenFiles());
        const LogCapture log;
        Verdicts verdicts;
        {
            Installer installer(target());
            installer.Install(std::move(firmware), verdicts.progress(), verdicts.completion());
            std::this_thread::sleep_for(std::chrono::microseconds(37 * (round % 50)));
            installer.Cancel();
        }
        ASSERT_EQ(verdicts.completions().size(), 1U);
        if (verdicts.completions().front()) {
            EXPECT_EQ(installedFiles(), 10U);
            EXPECT_THAT(log.records(),
                        testing::AnyOf(ElementsAre(succeeded),
                                       UnorderedElementsAre(cancelRequested, succeeded)));
        } else {
            EXPECT_GE(installedFiles(), 1U);
            EXPECT_THAT(log.records(), ElementsAre(cancelRequested, canceled));
        }
        clearTarget();
    }
}

}  // namespace
}  // namespace Norv::Corvane::Test
