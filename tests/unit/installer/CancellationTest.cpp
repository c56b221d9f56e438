#include <gmock/gmock.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Installation.h"
#include "LogCapture.h"
#include "Norv/Corvane/Common/Installer.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::IsEmpty;

const LogRecord requested{spdlog::level::info, "Request cancelation of firmware installation",
                          "Cancel"};
const LogRecord canceled{spdlog::level::warn, "Firmware installation canceled", "operator()"};
const LogRecord succeeded{spdlog::level::info, "Firmware installation succeded", "operator()"};

// Holds the worker at one place until the test has done something.
class Checkpoint {
public:
    // Called by the worker: says that it is here and waits.
    void pass() {
        reached_.set_value();
        proceed_.get_future().wait();
    }

    template <typename Action>
    void whileHeld(Action action) {
        reached_.get_future().wait();
        action();
        proceed_.set_value();
    }

private:
    std::promise<void> reached_;
    std::promise<void> proceed_;
};

// Does something in the middle of logging a record.
class CallingSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    explicit CallingSink(std::function<void()> action) : action_(std::move(action)) {}

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        if (message.payload == spdlog::string_view_t(requested.message)) {
            action_();
        }
    }
    void flush_() override {}

private:
    std::function<void()> action_;
};

class CancellationTest : public testing::Test {
protected:
    TemporaryDirectory target;
    LogCapture log;
    std::vector<unsigned int> progress;
    std::vector<bool> verdicts;
};

TEST_F(CancellationTest, HasNoEffectBeforeTheInstallation) {
    {
        Installer installer(target.path());
        installer.Cancel();
        EXPECT_THAT(log.records(), IsEmpty());
        installer.Install(unsignedPackage(PackageBuilder().firmware("a", "a")), nullptr,
                          [&](bool result) { verdicts.push_back(result); });
    }
    EXPECT_THAT(verdicts, ElementsAre(true));
    EXPECT_THAT(log.records(), ElementsAre(succeeded));
}

TEST_F(CancellationTest, FinishesTheFileUnderWayAndLeavesTheOthersUntouched) {
    Checkpoint checkpoint;
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder()
                                .script("Script.run", "echo ran > " + (target / "mark").native() +
                                                          std::string(4096, '\n'))
                                .firmware("second", "b")
                                .firmware("third", "c")),
            [&](unsigned int percent) {
                progress.push_back(percent);
                checkpoint.pass();
            },
            [&](bool result) { verdicts.push_back(result); });
        checkpoint.whileHeld([&] { installer.Cancel(); });
    }
    EXPECT_THAT(verdicts, ElementsAre(false));
    EXPECT_EQ(progress.size(), 1U);
    EXPECT_THAT(target.files(), ElementsAre("Script.run", "mark"));
    EXPECT_THAT(log.records(), ElementsAre(requested, canceled));
}

TEST_F(CancellationTest, FinishesTheFirstFileHoweverEarlyTheRequestComes) {
    for (int round = 0; round < 50; ++round) {
        const std::string name = "first" + std::to_string(round);
        {
            Installer installer(target.path());
            auto firmware = unsignedPackage(PackageBuilder().firmware(name, "1"));
            installer.Install(std::move(firmware), nullptr, [](bool) {});
            installer.Cancel();
        }
        ASSERT_EQ(readFile(target / name), "1");
    }
    EXPECT_THAT(log.records(), testing::Each(testing::AnyOf(requested, canceled, succeeded)));
}

TEST_F(CancellationTest, DoesNotInterruptARunningScript) {
    // The script opens the first pipe when it has started, and waits for the second one to end.
    const std::string started = (target / "started").native();
    const std::string proceed = (target / "proceed").native();
    ASSERT_EQ(mkfifo(started.c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(proceed.c_str(), 0600), 0);
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder()
                                .script("Script.run", "echo > " + started + "\ncat " + proceed +
                                                          " > " + (target / "mark").native() + "\n")
                                .firmware("later", "x")),
            nullptr, [&](bool result) { verdicts.push_back(result); });
        readFile(started);
        installer.Cancel();
        target.write("proceed", "the script went on\n");
    }
    EXPECT_EQ(readFile(target / "mark"), "the script went on\n");
    EXPECT_THAT(verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(requested, canceled));
    EXPECT_THAT(target.files(), testing::Not(testing::Contains("later")));
}

TEST_F(CancellationTest, DuringTheLastFileStillCancels) {
    Checkpoint checkpoint;
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder().firmware("only", std::string(2048, 'x'))),
            [&](unsigned int) { checkpoint.pass(); },
            [&](bool result) { verdicts.push_back(result); });
        checkpoint.whileHeld([&] { installer.Cancel(); });
    }
    EXPECT_THAT(verdicts, ElementsAre(false));
    EXPECT_THAT(target.files(), ElementsAre("only"));
    EXPECT_THAT(log.records(), ElementsAre(requested, canceled));
}

TEST_F(CancellationTest, IsLoggedBeforeItIsReported) {
    Checkpoint checkpoint;
    std::vector<LogRecord> before;
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder().firmware("only", std::string(2048, 'x'))),
            [&](unsigned int) { checkpoint.pass(); }, [&](bool) { before = log.records(); });
        checkpoint.whileHeld([&] { installer.Cancel(); });
    }
    EXPECT_THAT(before, ElementsAre(requested, canceled));
}

TEST_F(CancellationTest, IsLoggedBeforeItTakesEffect) {
    std::promise<void> logging;
    std::promise<void> atSecondFile;
    std::future_status second = std::future_status::timeout;
    spdlog::default_logger()->sinks().push_back(std::make_shared<CallingSink>([&] {
        logging.set_value();
        second = atSecondFile.get_future().wait_for(std::chrono::seconds(20));
    }));
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder()
                                .firmware("first", std::string(2048, 'x'))
                                .firmware("second", std::string(2048, 'y'))),
            [&](unsigned int percent) {
                percent < 100 ? logging.get_future().wait() : atSecondFile.set_value();
            },
            [](bool) {});
        installer.Cancel();
    }
    EXPECT_EQ(second, std::future_status::ready) << "the worker stopped before the second file";
}

TEST_F(CancellationTest, LogsTheRequestEachTimeButCancelsOnce) {
    Checkpoint checkpoint;
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder().firmware("only", std::string(2048, 'x'))),
            [&](unsigned int) { checkpoint.pass(); },
            [&](bool result) { verdicts.push_back(result); });
        checkpoint.whileHeld([&] {
            installer.Cancel();
            installer.Cancel();
        });
    }
    EXPECT_THAT(verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(requested, requested, canceled));
}

TEST_F(CancellationTest, OfAFailingFileIsStillAFailure) {
    Checkpoint checkpoint;
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder()
                                .firmware("a", std::string(2048, 'x'))
                                .firmware("b", "damaged")
                                .flipBit("b")),
            [](unsigned int) {},
            [&](bool result) {
                verdicts.push_back(result);
                checkpoint.pass();
            });
        checkpoint.whileHeld([&] { installer.Cancel(); });
    }
    EXPECT_THAT(verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::err, "Failed to process: b", "operator()"},
                            requested));
}

TEST_F(CancellationTest, DuringTheVerdictIsLoggedAndChangesNothing) {
    Checkpoint checkpoint;
    {
        Installer installer(target.path());
        installer.Install(unsignedPackage(PackageBuilder().firmware("a", "a")), nullptr,
                          [&](bool result) {
                              verdicts.push_back(result);
                              checkpoint.pass();
                          });
        checkpoint.whileHeld([&] { installer.Cancel(); });
    }
    EXPECT_THAT(verdicts, ElementsAre(true));
    EXPECT_THAT(log.records(), ElementsAre(requested, succeeded));
}

TEST_F(CancellationTest, IsSilentOnceTheWorkerHasEnded) {
    std::promise<void> ended;
    {
        Installer installer(target.path());
        installer.Install(unsignedPackage(PackageBuilder().firmware("a", "a")), nullptr,
                          [&](bool result) {
                              verdicts.push_back(result);
                              ended.set_value_at_thread_exit();
                          });
        ended.get_future().wait();
        installer.Cancel();
    }
    EXPECT_THAT(verdicts, ElementsAre(true));
    EXPECT_THAT(log.records(), ElementsAre(succeeded));
}

TEST_F(CancellationTest, IsSilentOnceAFailedWorkerHasEnded) {
    std::promise<void> ended;
    {
        Installer installer(target.path());
        installer.Install(unsignedPackage(PackageBuilder().firmware("a", "a").flipBit("a")),
                          nullptr, [&](bool) { ended.set_value_at_thread_exit(); });
        ended.get_future().wait();
        installer.Cancel();
    }
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::err, "Failed to process: a", "operator()"}));
}

TEST_F(CancellationTest, ReachesOneInstallationOnly) {
    Checkpoint checkpoint;
    std::vector<bool> others;
    {
        Installer other(target / "other");
        Installer installer(target / "one");
        installer.Install(
            unsignedPackage(PackageBuilder().firmware("a", std::string(2048, 'x'))),
            [&](unsigned int) { checkpoint.pass(); },
            [&](bool result) { verdicts.push_back(result); });
        checkpoint.whileHeld([&] {
            installer.Cancel();
            other.Install(unsignedPackage(PackageBuilder().firmware("b", "b")), nullptr,
                          [&](bool result) { others.push_back(result); });
        });
    }
    EXPECT_THAT(verdicts, ElementsAre(false));
    EXPECT_THAT(others, ElementsAre(true));
}

}  // namespace
