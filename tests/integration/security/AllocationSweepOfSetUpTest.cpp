// Lack of memory while the libraries are set up or a certificate is loaded ends in a code, and
// makes no text genuine later on.
//
// Bounded: every so many-th allocation of loading fails. CORVANE_ALLOCATION_STEP=1 is the full
// form.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <boost/optional/optional_io.hpp>
#include <cstdlib>
#include <new>

#include "AllocationFaults.h"
#include "Forgery.h"
#include "Keys.h"
#include "LeakCheckPause.h"
#include "ManifestMutations.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "Process.h"
#include "Sandbox.h"
#include "TrustStore.h"

namespace Norv::Corvane::Test {
namespace {

using Common::FirmwareDescriptionValidator;

// What children tell their parent.
struct Counts {
    unsigned long allocations;
    unsigned long failed;
    unsigned long genuine;
    unsigned long wrong;
};

class SharedCounts {
public:
    SharedCounts()
        : memory_(mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                       -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::bad_alloc();
        }
    }
    SharedCounts(const SharedCounts&) = delete;
    SharedCounts& operator=(const SharedCounts&) = delete;
    ~SharedCounts() { munmap(memory_, sizeof(Counts)); }

    Counts* operator->() const { return static_cast<Counts*>(memory_); }

private:
    void* memory_;
};

// The libraries are set up once in a process. And OpenSSL 3.0 releases a loader once too often when
// it gets no memory for what it opens, so that the next to load a certificate crashes. Each run
// therefore has a process of its own.
class AllocationSweepOfSetUp : public testing::Test {
protected:
    static void SetUpTestSuite() { logToNowhere(); }

    void SetUp() override {
        if (underValgrind()) {
            GTEST_SKIP() << "the libraries below lose memory when they lack it";
        }
        ASSERT_TRUE(inChild([&] {
            if (FirmwareDescriptionValidator::Init()) {
                std::abort();
            }
            const KeyFiles written = writeKey(ecKey(), directory);
            directory.write("path", written.certificate.native());
            directory.write("genuine", genuine());
            directory.write("attack", withHiddenElement(genuine(), "Files"));
        }));
        certificate = readFile(directory / "path");
    }

    // False when the child ends by a signal or an exception.
    static bool inChild(const std::function<void()>& work) { return measured(work).finished; }

    const TrustStore store{authorityKey()};
    const LeakCheckPause pause;
    const TemporaryDirectory directory;
    boost::filesystem::path certificate;
};

TEST_F(AllocationSweepOfSetUp, EndsInACodeOfInitAndMakesNoAttackGenuine) {
    const SharedCounts counts;
    const std::string honestText = readFile(directory / "genuine");
    const std::string attack = readFile(directory / "attack");
    ASSERT_TRUE(inChild([&] {
        counts->allocations = allocationsIn([] { FirmwareDescriptionValidator::Init(); });
    }));
    ASSERT_GT(counts->allocations, 0U);
    unsigned long runs = 0;
    for (const bool lasting : {false, true}) {
        for (unsigned long number = 1; number <= counts->allocations; ++number) {
            ++runs;
            const bool ended = inChild([&] {
                std::error_code error;
                withFault({number, lasting}, [&] { error = FirmwareDescriptionValidator::Init(); });
                FirmwareDescriptionValidator validator;
                const bool opened = !error && !validator.Open(certificate);
                counts->failed += error ? 1U : 0U;
                counts->genuine += opened && validator.ValidateSignature(honestText) == true;
                counts->wrong += opened && validator.ValidateSignature(attack) == true;
            });
            EXPECT_TRUE(ended) << "allocation " << number << (lasting ? " and all after it" : "");
        }
    }
    EXPECT_EQ(counts->wrong, 0U);
    EXPECT_GT(counts->failed, 0U);
    std::printf("%lu runs, %lu failed, %lu took the honest manifest\n", runs, counts->failed,
                counts->genuine);
}

TEST_F(AllocationSweepOfSetUp, EndsInACodeOfOpenAndMakesNoAttackGenuine) {
    const SharedCounts counts;
    const std::string honestText = readFile(directory / "genuine");
    const std::string attack = readFile(directory / "attack");
    ASSERT_TRUE(inChild([&] {
        FirmwareDescriptionValidator::Init();
        FirmwareDescriptionValidator validator;
        counts->allocations = allocationsIn([&] { validator.Open(certificate); });
    }));
    ASSERT_GT(counts->allocations, 0U);
    unsigned long runs = 0;
    for (const bool lasting : {false, true}) {
        for (unsigned long number = 1; number <= counts->allocations; number += sweepStep()) {
            ++runs;
            const bool ended = inChild([&] {
                FirmwareDescriptionValidator::Init();
                FirmwareDescriptionValidator validator;
                std::error_code error;
                withFault({number, lasting}, [&] { error = validator.Open(certificate); });
                counts->failed += error ? 1U : 0U;
                counts->genuine += validator.ValidateSignature(honestText) == true;
                counts->wrong += validator.ValidateSignature(attack) == true;
            });
            EXPECT_TRUE(ended) << "allocation " << number << (lasting ? " and all after it" : "");
        }
    }
    EXPECT_EQ(counts->wrong, 0U);
    EXPECT_GT(counts->failed, 0U);
    EXPECT_EQ(counts->failed + counts->genuine, runs) << "an open validator validates";
    std::printf("%lu runs, %lu failed\n", runs, counts->failed);
}

}  // namespace
}  // namespace Norv::Corvane::Test
