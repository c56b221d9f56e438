#include "Norv/Corvane/Common/ProgressCounter.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

namespace {

using Norv::Corvane::Common::ProgressCounter;
using State = ProgressCounter::SharedState;
using Bytes = libtorrent::span<const unsigned char>;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(
    std::is_same_v<decltype(&ProgressCounter::write), void (ProgressCounter::*)(Bytes, bool)>);
static_assert(std::is_same_v<decltype(&ProgressCounter::done), bool (ProgressCounter::*)()>);
static_assert(std::is_constructible_v<State, unsigned int, std::function<void(unsigned int)>>);
static_assert(std::is_constructible_v<ProgressCounter, State&>);
static_assert(!std::is_polymorphic_v<ProgressCounter>);
static_assert(sizeof(ProgressCounter) == sizeof(State*));

class ProgressCounterTest : public testing::Test {
protected:
    State stateOf(unsigned int total) {
        return {total, [this](unsigned int percent) { reports.push_back(percent); }};
    }

    // Passes one file of `size` bytes, as the installer does: in chunks, none for an empty file.
    static bool pass(State& state, std::size_t size) {
        static const std::vector<unsigned char> chunk(262144);
        ProgressCounter counter(state);
        while (size > 0) {
            const std::size_t count = std::min(size, chunk.size());
            counter.write({chunk.data(), static_cast<std::ptrdiff_t>(count)}, count < chunk.size());
            size -= count;
        }
        return counter.done();
    }

    std::vector<unsigned int> reports;
};

TEST_F(ProgressCounterTest, ReportsWholeKiBAfterEachFile) {
    State state = stateOf(10240);
    EXPECT_TRUE(pass(state, 3000));
    EXPECT_THAT(reports, ElementsAre(20));
    EXPECT_TRUE(pass(state, 7240));
    EXPECT_THAT(reports, ElementsAre(20, 100));
}

TEST_F(ProgressCounterTest, ReportsNothingWhileThePercentageIsStillZero) {
    State state = stateOf(10240);
    EXPECT_TRUE(pass(state, 1000));
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_TRUE(pass(state, 9240));
    EXPECT_THAT(reports, ElementsAre(100));
}

TEST_F(ProgressCounterTest, NeverReportsAnInstallationOfLessThanOneKiB) {
    State state = stateOf(500);
    EXPECT_TRUE(pass(state, 500));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ProgressCounterTest, ExceedsOneHundredWhenMorePassesThanWasAnnounced) {
    State state = stateOf(2048);
    EXPECT_TRUE(pass(state, 4096));
    EXPECT_THAT(reports, ElementsAre(200));
}

TEST_F(ProgressCounterTest, ReportsAChangedPercentageOnly) {
    State state = stateOf(1024 * 1024);
    EXPECT_TRUE(pass(state, 512 * 1024));
    EXPECT_TRUE(pass(state, 1024));
    EXPECT_THAT(reports, ElementsAre(50));
}

TEST_F(ProgressCounterTest, ReportsNothingForAnEmptyFile) {
    State state = stateOf(4096);
    EXPECT_TRUE(pass(state, 0));
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_TRUE(pass(state, 2048));
    EXPECT_TRUE(pass(state, 0));
    EXPECT_THAT(reports, ElementsAre(50));
}

TEST_F(ProgressCounterTest, ReportsAsAFileEndsAndNeverPerChunk) {
    State state = stateOf(1024 * 1024);
    ProgressCounter counter(state);
    const std::vector<unsigned char> chunk(262144);
    counter.write(chunk, false);
    counter.write(chunk, false);
    counter.write({chunk.data(), 1}, true);
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_TRUE(counter.done());
    EXPECT_THAT(reports, ElementsAre(50));
}

TEST_F(ProgressCounterTest, CarriesTheRemainderOfAKiBIntoTheNextFile) {
    State state = stateOf(2048);
    EXPECT_TRUE(pass(state, 1023));
    EXPECT_TRUE(pass(state, 1));
    EXPECT_THAT(reports, ElementsAre(50));
}

TEST_F(ProgressCounterTest, DoesNotForceAFinalHundred) {
    State state = stateOf(10 * 1024);
    EXPECT_TRUE(pass(state, 10 * 1024 - 1));
    EXPECT_THAT(reports, ElementsAre(90));
}

TEST_F(ProgressCounterTest, CutsPercentagesOff) {
    State state = stateOf(3 * 1024);
    EXPECT_TRUE(pass(state, 2 * 1024));
    EXPECT_THAT(reports, ElementsAre(66));
}

TEST_F(ProgressCounterTest, CountsAnythingBelowTwoKiBAsATotalOfOne) {
    for (const unsigned int total : {0U, 1U, 1023U, 1024U, 2047U}) {
        EXPECT_EQ(stateOf(total).totalKiB, 1U) << total;
    }
    EXPECT_EQ(stateOf(2048).totalKiB, 2U);
    EXPECT_EQ(stateOf(UINT32_MAX).totalKiB, 4194303U);
}

TEST_F(ProgressCounterTest, DoesNotOverflowAtTheLargestTotal) {
    State state = stateOf(UINT32_MAX);
    state.bytesWritten = UINT32_MAX - 1024;
    EXPECT_TRUE(pass(state, 1024));
    EXPECT_THAT(reports, ElementsAre(100));
}

TEST_F(ProgressCounterTest, CountsBytesModuloTwoToThe32) {
    State state = stateOf(4096);
    state.bytesWritten = UINT32_MAX;
    EXPECT_TRUE(pass(state, 2049));
    EXPECT_EQ(state.bytesWritten, 2048U);
    EXPECT_THAT(reports, ElementsAre(50));
}

TEST_F(ProgressCounterTest, ReportsALowerPercentageOnceTheBytesHaveWrapped) {
    State state = stateOf(4096);
    EXPECT_TRUE(pass(state, 3072));
    state.bytesWritten = UINT32_MAX;
    EXPECT_TRUE(pass(state, 1025));
    EXPECT_THAT(reports, ElementsAre(75, 25));
}

TEST_F(ProgressCounterTest, ThrowsForAnEmptyCallbackOnlyWhenAReportIsDue) {
    State state(10240, nullptr);
    EXPECT_TRUE(pass(state, 10));
    EXPECT_THROW(pass(state, 5000), std::bad_function_call);
    EXPECT_EQ(state.lastPercent, 0U) << "nothing was reported";
}

TEST_F(ProgressCounterTest, RemembersAPercentageOnlyAfterItWasTaken) {
    State state(2048, [](unsigned int) { throw 1; });
    EXPECT_THROW(pass(state, 1024), int);
    EXPECT_EQ(state.lastPercent, 0U);
}

TEST_F(ProgressCounterTest, KeepsItsFieldsInOrder) {
    State state = stateOf(2048);
    const auto& [totalKiB, onProgress, bytesWritten, lastPercent] = state;
    EXPECT_EQ(totalKiB, 2U);
    EXPECT_EQ(bytesWritten, 0U);
    EXPECT_EQ(lastPercent, 0U);
    onProgress(7);
    EXPECT_THAT(reports, ElementsAre(7));
    EXPECT_LT(static_cast<const void*>(&bytesWritten), static_cast<const void*>(&lastPercent));
}

}  // namespace
