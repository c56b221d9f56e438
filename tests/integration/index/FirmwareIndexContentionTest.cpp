// Many processes save and load one index at once.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <boost/json/error.hpp>
#include <boost/system/system_error.hpp>
#include <chrono>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "Norv/Corvane/Common/FirmwareIndex.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

using Clock = std::chrono::steady_clock;
using Corvane::Test::ChildProcess;

constexpr int writers = 8;
constexpr int readers = 8;
constexpr auto duration = std::chrono::seconds(4);

// What a writer saves in its n-th turn: from one record to several write buffers full of them, all
// of the same length, so that a part of one document could continue another.
Firmwares document(int writer, int turn) {
    constexpr std::size_t counts[writers] = {1, 2, 20, 60, 61, 150, 300, 7};
    char name[40];
    std::snprintf(name, sizeof name, "%d %08d", writer, turn);
    const Firmwares::Firmware record{
        name, Ombrel::Project::DeviceType::Type::QA01RTVN, {1, 2, 3, 4}, {"A1"}, "5e1d"};
    return {std::vector<Firmwares::Firmware>(counts[writer], record)};
}

// What the processes count, in memory that they share.
struct Tally {
    int saved[writers];
    int complete[readers];
    int truncated[readers];
    char fault[readers][200];
};

struct Unmapper {
    void operator()(Tally* tally) const noexcept { ::munmap(tally, sizeof *tally); }
};

std::unique_ptr<Tally, Unmapper> sharedTally() {
    void* const memory =
        ::mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return std::unique_ptr<Tally, Unmapper>(static_cast<Tally*>(memory));
}

// True if it is one that document() makes.
bool isWhole(const Firmwares& firmwares) {
    int writer = -1;
    int turn = -1;
    return !firmwares.firmwares.empty() &&
           std::sscanf(firmwares.firmwares[0].filename.c_str(), "%d %d", &writer, &turn) == 2 &&
           writer >= 0 && writer < writers && firmwares == document(writer, turn);
}

int write(const std::filesystem::path& path, int writer, Tally& tally) {
    std::minstd_rand random(static_cast<unsigned>(writer) + 1);
    for (const auto end = Clock::now() + duration; Clock::now() < end;) {
        Save(path, document(writer, tally.saved[writer]++));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    }
    return 0;
}

int read(const std::filesystem::path& path, int reader, Tally& tally) {
    std::minstd_rand random(static_cast<unsigned>(reader) + 100);
    const auto failed = [&](const char* what) {
        std::snprintf(tally.fault[reader], sizeof tally.fault[reader], "%s", what);
        return 1;
    };
    for (const auto end = Clock::now() + duration; Clock::now() < end;) {
        try {
            const auto firmwares = Load(path);
            if (!firmwares || !isWhole(*firmwares)) {
                return failed("neither a document that was saved nor an exception");
            }
            ++tally.complete[reader];
        } catch (const boost::system::system_error& error) {
            // An end, or a hole of zeros at the start where an overtaken writer went on.
            if (error.code() != boost::json::error::incomplete &&
                error.code() != boost::json::error::syntax) {
                return failed(error.what());
            }
            ++tally.truncated[reader];
        } catch (const std::exception& error) {
            return failed(error.what());
        }
        // Readers that never pause would keep every writer out.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
    }
    return 0;
}

TEST(FirmwareIndexContention, GivesEachReaderAWholeDocumentOrTheExceptionOfATruncatedOne) {
    const Corvane::Test::TemporaryDirectory directory;
    const std::filesystem::path path = (directory / "index.json").string();
    Save(path, document(0, 0));
    const auto tally = sharedTally();

    std::vector<std::unique_ptr<ChildProcess>> processes;
    for (int i = 0; i < writers; ++i) {
        processes.push_back(std::make_unique<ChildProcess>([&] { return write(path, i, *tally); }));
    }
    for (int i = 0; i < readers; ++i) {
        processes.push_back(std::make_unique<ChildProcess>([&] { return read(path, i, *tally); }));
    }
    for (const auto& process : processes) {
        EXPECT_EQ(process->waitFor(std::chrono::seconds(45)), "exit 0");
    }

    for (int i = 0; i < readers; ++i) {
        EXPECT_STREQ(tally->fault[i], "");
        EXPECT_GT(tally->saved[i], 0);
        EXPECT_GT(tally->complete[i] + tally->truncated[i], 0);
        RecordProperty("reader_" + std::to_string(i),
                       std::to_string(tally->complete[i]) + " complete, " +
                           std::to_string(tally->truncated[i]) + " truncated");
    }
    int complete = 0;
    int truncated = 0;
    int saved = 0;
    for (int i = 0; i < readers; ++i) {
        complete += tally->complete[i];
        truncated += tally->truncated[i];
        saved += tally->saved[i];
    }
    std::printf("%d saves; %d loads of a whole document, %d of a truncated one\n", saved, complete,
                truncated);
    EXPECT_GT(complete, 0);

    // Every other writer emptied the file before the last one had the lock.
    const auto last = Load(path);
    ASSERT_TRUE(last);
    EXPECT_TRUE(isWhole(*last));
}

}  // namespace
}  // namespace Norv::Corvane::Common::FirmwareIndex
