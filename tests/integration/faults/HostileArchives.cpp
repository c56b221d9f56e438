// Damaged and hostile packages: never a crash, a hang or a success with other bytes than were
// packed.

#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <boost/filesystem/operations.hpp>

#include <cstdlib>
#include <functional>
#include <random>

#include "Installation.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"

namespace Norv::Corvane::Test {
namespace {

namespace fs = boost::filesystem;
using Common::FirmwareZipValidator;
using Common::ValidatedFirmwareZip;

struct Tally {
    unsigned tried = 0;
    unsigned refused = 0;      // not a package, or no manifest that passes
    unsigned processEnds = 0;  // passes, but a listed entry cannot be opened
    unsigned failed = 0;       // installation says so
    unsigned installed = 0;    // and every byte is right
};

// How many further random mutations to try; a full run sets more.
unsigned randomMutations() {
    const char* const text = std::getenv("CORVANE_MUTATIONS");
    return text == nullptr ? 500 : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

class HostileArchive : public FaultTest {
protected:
    HostileArchive() : validator_(manifestOf(files())) { spdlog::set_level(spdlog::level::off); }

    ~HostileArchive() override {
        spdlog::set_level(spdlog::level::info);
        RecordProperty("tried", static_cast<int>(tally_.tried));
        std::printf("tried %u: refused %u, process ends %u, failed %u, installed %u\n",
                    tally_.tried, tally_.refused, tally_.processEnds, tally_.failed,
                    tally_.installed);
    }

    static std::vector<Payload> files() {
        return {{"bin/app", noise(700)}, {"empty", ""}, {"notes.txt", std::string(900, 'n')}};
    }

    // The bytes of an intact package.
    std::string intact(Storage storage) {
        writePackage(package(), files(), storage);
        return readFile(package());
    }

    // Validates and installs the package `bytes`, and checks whatever is called a success.
    void attempt(const std::string& bytes) {
        ++tally_.tried;
        replaceContent(package(), bytes);
        auto firmware = FirmwareZipValidator(validator_).ValidateFirmwareZipFile(package());
        if (!firmware) {
            ++tally_.refused;
        } else if (!everyEntryOpens(*firmware)) {
            ++tally_.processEnds;
        } else {
            judge(install(*std::move(firmware), target()));
        }
    }

    const Tally& tally() const { return tally_; }

private:
    // The installer ends the process over an entry that cannot be opened; that is asked here first
    // so that thousands of cases need no process each.
    static bool everyEntryOpens(const ValidatedFirmwareZip& firmware) {
        try {
            for (const auto& file : firmware.description.files) {
                firmware.package.archive().open(file.localFilePath);
            }
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    void judge(const std::vector<bool>& completions) {
        ASSERT_EQ(completions.size(), 1U);
        if (!completions.front()) {
            ++tally_.failed;
        } else {
            ++tally_.installed;
            for (const Payload& file : files()) {
                ASSERT_TRUE(fs::exists(target() / file.name)) << file.name;
                ASSERT_EQ(readFile(target() / file.name), file.content) << file.name;
            }
        }
        fs::remove_all(target());
    }

    ExactText validator_;
    Tally tally_;
};

void setEachByte(const std::string& bytes, const std::function<void(const std::string&)>& attempt) {
    std::string damaged = bytes;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const auto original = static_cast<unsigned char>(bytes[at]);
        for (const unsigned char value :
             {static_cast<unsigned char>(0x00), static_cast<unsigned char>(0xff),
              static_cast<unsigned char>(~original), static_cast<unsigned char>(original ^ 1)}) {
            if (value != original) {
                damaged[at] = static_cast<char>(value);
                attempt(damaged);
                if (testing::Test::HasFatalFailure()) {
                    FAIL() << "byte " << at << " set to " << static_cast<int>(value);
                }
            }
        }
        damaged[at] = bytes[at];
    }
}

TEST_F(HostileArchive, AnyByteOfAStoredPackageMayBeDamaged) {
    setEachByte(intact(Storage::Stored), [this](const std::string& bytes) { attempt(bytes); });
    EXPECT_GT(tally().refused, 0U);
    EXPECT_GT(tally().processEnds, 0U);
    EXPECT_GT(tally().failed, 0U);
    EXPECT_GT(tally().installed, 0U);
}

TEST_F(HostileArchive, AnyByteOfADeflatedPackageMayBeDamaged) {
    setEachByte(intact(Storage::Deflated), [this](const std::string& bytes) { attempt(bytes); });
    EXPECT_GT(tally().failed, 0U);
}

TEST_F(HostileArchive, MayEndAtAnyByte) {
    for (const Storage storage : {Storage::Stored, Storage::Deflated}) {
        const std::string bytes = intact(storage);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            attempt(bytes.substr(0, size));
            ASSERT_FALSE(HasFatalFailure()) << "cut to " << size;
        }
    }
    // The directory is at the end of the file: without it there is no package.
    EXPECT_EQ(tally().refused, tally().tried);
}

TEST_F(HostileArchive, MayBeDamagedInSeveralPlaces) {
    std::mt19937 generator(20240229);
    const std::string bytes = intact(Storage::Deflated);
    for (unsigned round = 0; round < randomMutations(); ++round) {
        std::string damaged = bytes;
        for (unsigned count = 1 + generator() % 4; count > 0; --count) {
            const std::size_t at = generator() % damaged.size();
            switch (generator() % 3) {
                case 0:
                    damaged[at] = static_cast<char>(generator());
                    break;
                case 1:
                    damaged.insert(at, 1 + generator() % 8, static_cast<char>(generator()));
                    break;
                default:
                    damaged.erase(at, 1 + generator() % 8);
                    break;
            }
        }
        attempt(damaged);
        ASSERT_FALSE(HasFatalFailure()) << "round " << round;
    }
}

}  // namespace
}  // namespace Norv::Corvane::Test
