// Who waits for whom, and what is in the file when, between two processes.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <boost/json/error.hpp>
#include <boost/json/serialize.hpp>
#include <boost/system/system_error.hpp>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

#include "ChildProcess.h"
#include "Norv/Corvane/Common/FirmwareIndex.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

using namespace std::chrono_literals;
using Corvane::Test::ChildProcess;
using Corvane::Test::eventually;
using Corvane::Test::LockedFile;
using Lock = LockedFile::Lock;

// Of records that take the same number of bytes whatever the letter.
Firmwares listOf(char letter, std::size_t records) {
    const Firmwares::Firmware record{
        std::string(20, letter), Ombrel::Project::DeviceType::Type::None, {}, {}, ""};
    return {std::vector<Firmwares::Firmware>(records, record)};
}

std::string text(const Firmwares& firmwares) {
    return boost::json::serialize(boost::json::value_from(firmwares));
}

// What a load throws; success if nothing.
boost::system::error_code loadError(const std::filesystem::path& path) {
    try {
        Load(path);
        return {};
    } catch (const boost::system::system_error& error) {
        return error.code();
    }
}

// How many of the process's descriptors are of the file.
std::size_t descriptorsOf(const std::filesystem::path& file, pid_t process) {
    std::size_t count = 0;
    const auto all = "/proc/" + std::to_string(process) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(all)) {
        std::error_code gone;
        count += std::filesystem::read_symlink(entry, gone) == file ? 1U : 0U;
    }
    return count;
}

class FirmwareIndexLock : public testing::Test {
protected:
    const Corvane::Test::TemporaryDirectory directory_;
    const std::filesystem::path path_ = directory_.write("index.json", "[ ]").string();
    LockedFile file_{path_};

    ChildProcess saving(const Firmwares& firmwares) const {
        return ChildProcess([this, &firmwares] {
            Save(path_, firmwares);
            return 0;
        });
    }
    ChildProcess loading(const Firmwares& expected) const {
        return ChildProcess([this, &expected] { return Load(path_) == expected ? 0 : 1; });
    }
};

TEST_F(FirmwareIndexLock, IsAwaitedByALoadWhileAnotherProcessWrites) {
    const Firmwares firmwares = listOf('a', 10);
    file_.set(Lock::Exclusive);
    ChildProcess loader = loading(firmwares);
    EXPECT_EQ(loader.waitFor(200ms), std::nullopt);
    file_.write(text(firmwares));
    file_.set(Lock::None);
    EXPECT_EQ(loader.wait(), "exit 0");
}

TEST_F(FirmwareIndexLock, IsSharedByLoads) {
    const Firmwares firmwares = listOf('a', 10);
    file_.write(text(firmwares));
    file_.set(Lock::Shared);
    EXPECT_EQ(loading(firmwares).wait(), "exit 0");
}

TEST_F(FirmwareIndexLock, IsAwaitedByASaveThatHasEmptiedTheFileBefore) {
    const Firmwares firmwares = listOf('a', 10);
    for (const Lock lock : {Lock::Shared, Lock::Exclusive}) {
        file_.write("something");
        file_.set(lock);
        ChildProcess saver = saving(firmwares);
        EXPECT_TRUE(eventually([&] { return file_.isEmpty(); }));
        EXPECT_EQ(saver.waitFor(200ms), std::nullopt);
        EXPECT_TRUE(file_.isEmpty());
        file_.set(Lock::None);
        EXPECT_EQ(saver.wait(), "exit 0");
        EXPECT_EQ(Load(path_), firmwares);
    }
}

TEST_F(FirmwareIndexLock, MakesALoadThrowIfTheFileIsEmptiedWhileItWaits) {
    file_.write(text(listOf('a', 10)));
    file_.set(Lock::Exclusive);
    ChildProcess loader([this] { return loadError(path_) == boost::json::error::incomplete; });
    EXPECT_EQ(loader.waitFor(200ms), std::nullopt);
    file_.truncate();
    file_.set(Lock::None);
    EXPECT_EQ(loader.wait(), "exit 1");
}

// Bytes that a process is in the midst of at nearly every moment, however little it gets to run.
constexpr std::size_t longTime = std::size_t{16} << 20;

// Stops `worker` at many moments. Whenever it is in the midst of the file it has to hold `lock`.
void expectLockInTheMidst(ChildProcess& worker, const LockedFile& file,
                          const std::filesystem::path& path, std::size_t size, Lock lock) {
    int observed = 0;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (observed < 20 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
        worker.stop();
        if (Corvane::Test::positionWithin(worker.pid(), path, size) > 0) {
            ++observed;
            ASSERT_EQ(file.heldBy(worker.pid()), lock);
        }
        worker.resume();
    }
    EXPECT_EQ(observed, 20);
}

TEST_F(FirmwareIndexLock, IsHeldExclusivelyByASaveAsLongAsItWrites) {
    // Of one long text, so that writing takes nearly all the time of a save.
    Firmwares firmwares = listOf('a', 1);
    firmwares.firmwares[0].filename.assign(longTime, 'a');
    ChildProcess saver([&] {
        while (true) {
            Save(path_, firmwares);
        }
        return 0;
    });
    expectLockInTheMidst(saver, file_, path_, text(firmwares).size(), Lock::Exclusive);
}

TEST_F(FirmwareIndexLock, IsHeldSharedByALoadAsLongAsItReads) {
    // Of blanks, so that reading takes nearly all the time of a load.
    const std::string content = "[" + std::string(longTime, ' ') + "]";
    file_.write(content);
    ChildProcess loader([&] {
        while (true) {
            Load(path_);
        }
        return 0;
    });
    expectLockInTheMidst(loader, file_, path_, content.size(), Lock::Shared);
}

TEST_F(FirmwareIndexLock, IsFreeAfterASaveAndALoad) {
    Save(path_, listOf('a', 10));
    EXPECT_EQ(saving(listOf('b', 10)).waitFor(10s), "exit 0");
    EXPECT_EQ(Load(path_), listOf('b', 10));
    EXPECT_EQ(saving(listOf('c', 10)).waitFor(10s), "exit 0");
}

TEST_F(FirmwareIndexLock, IsFreeAfterALoadThatThrew) {
    file_.write("[");
    EXPECT_EQ(loadError(path_), boost::json::error::incomplete);
    EXPECT_EQ(saving(listOf('a', 1)).waitFor(10s), "exit 0");
}

TEST_F(FirmwareIndexLock, IsFreeAfterItsHolderWasKilled) {
    ChildProcess holder([this] {
        LockedFile own(path_);
        own.set(Lock::Exclusive);
        ::pause();
        return 0;
    });
    ASSERT_TRUE(eventually([&] { return file_.heldBy(holder.pid()) == Lock::Exclusive; }));
    const Firmwares firmwares = listOf('a', 10);
    file_.write(text(firmwares));
    ChildProcess loader = loading(firmwares);
    EXPECT_EQ(loader.waitFor(200ms), std::nullopt);
    holder.kill();
    EXPECT_EQ(loader.waitFor(10s), "exit 0");
    EXPECT_EQ(saving(firmwares).waitFor(10s), "exit 0");
}

TEST_F(FirmwareIndexLock, LetsNothingSurviveBehindAShorterDocument) {
    file_.set(Lock::Exclusive);
    const Firmwares firmwares = listOf('b', 2);
    ChildProcess saver = saving(firmwares);
    ASSERT_TRUE(eventually([&] { return file_.isEmpty(); }));
    // The saver waits. Another one has emptied the file before it, and writes now.
    file_.write(text(listOf('a', 100)));
    file_.set(Lock::None);
    EXPECT_EQ(saver.wait(), "exit 0");
    EXPECT_EQ(Load(path_), firmwares);
}

TEST_F(FirmwareIndexLock, LeavesAFileAloneThatTakesItsPlaceWhileASaveWaits) {
    file_.set(Lock::Exclusive);
    ChildProcess saver = saving(listOf('b', 2));
    // The one that it inherits, the one that it writes with, and the one that it locks with.
    ASSERT_TRUE(eventually([&] { return descriptorsOf(path_, saver.pid()) == 3; }));
    const Firmwares firmwares = listOf('a', 10);
    Save(path_.string() + ".new", firmwares);
    std::filesystem::rename(path_.string() + ".new", path_);
    EXPECT_EQ(saver.waitFor(200ms), std::nullopt);
    file_.set(Lock::None);
    EXPECT_EQ(saver.wait(), "exit 0");
    EXPECT_EQ(Load(path_), firmwares);
}

TEST_F(FirmwareIndexLock, LetsNoProcessThatIsKilledHalfWayLeaveAMixture) {
    file_.set(Lock::Exclusive);
    ChildProcess saver([this] {
        // Ends the process by a signal in the midst of its document.
        const rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        Save(path_, listOf('b', 200));
        return 0;
    });
    ASSERT_TRUE(eventually([&] { return file_.isEmpty(); }));
    file_.write(text(listOf('a', 200)));
    file_.set(Lock::None);
    EXPECT_EQ(saver.wait(), "signal " + std::to_string(SIGXFSZ));
    EXPECT_EQ(std::filesystem::file_size(path_), 4096u);
    EXPECT_EQ(loadError(path_), boost::json::error::incomplete);

    // The lock went with it.
    const Firmwares firmwares = listOf('c', 3);
    EXPECT_EQ(saving(firmwares).waitFor(10s), "exit 0");
    EXPECT_EQ(Load(path_), firmwares);
}

TEST_F(FirmwareIndexLock, LetsASaveRepairAFileWithAHole) {
    // What a writer leaves that was overtaken by another one's opening, if that dies then.
    file_.write(std::string(8191, '\0') + text(listOf('a', 10)));
    EXPECT_EQ(loadError(path_), boost::json::error::syntax);
    Save(path_, listOf('b', 1));
    EXPECT_EQ(Load(path_), listOf('b', 1));
}

TEST_F(FirmwareIndexLock, DoesNotNoticeAFullDisk) {
    ChildProcess saver([this] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        Save(path_, listOf('b', 200));
        return 0;
    });
    EXPECT_EQ(saver.wait(), "exit 0");
    EXPECT_EQ(loadError(path_), boost::json::error::incomplete);
}

}  // namespace
}  // namespace Norv::Corvane::Common::FirmwareIndex
