#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>
#include <future>
#include <string>
#include <vector>

#include "Norv/Corvane/Common/Installer.h"
#include "Road.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = boost::filesystem;

class HappyRoad : public Road {};

TEST_F(HappyRoad, LeadsFromASignedPackageToAnInstalledSystem) {
    const std::string image = noise(5 * 1024 * 1024);
    const auto report =
        travel(PackageBuilder()
                   .file(Pack::PayloadKind::Firmware, "payload/0", "/boot/image", image)
                   .firmware("etc/settings", std::string(1024 * 1024, 's'))
                   .script("update/PostScript.run",
                           "wc -c < \"${0%/update/*}/boot/image\" > \"${0%/update/*}/seen\"\n"));
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(true));
    EXPECT_THAT(report->progress, ElementsAre(83, 100));
    EXPECT_THAT(target.files(),
                ElementsAre("boot/image", "etc/settings", "seen", "update/PostScript.run"));
    EXPECT_TRUE(installed("boot/image") == image);
    EXPECT_EQ(std::stoi(installed("seen")), 5 * 1024 * 1024);
    EXPECT_THAT(log.records(), ElementsAre(succeeded));
}

class RoadOfSizes : public Road, public testing::WithParamInterface<std::size_t> {};

TEST_P(RoadOfSizes, IsTheSameWhetherStoredOrCompressed) {
    const std::string data = noise(GetParam());
    for (const PackageBuilder& package : {PackageBuilder(), PackageBuilder().stored()}) {
        const auto report = travel(PackageBuilder(package).firmware("app", data));
        ASSERT_TRUE(report);
        EXPECT_THAT(report->verdicts, ElementsAre(true));
        EXPECT_TRUE(installed("app") == data);
    }
    EXPECT_THAT(log.records(), ElementsAre(succeeded, succeeded));
}

INSTANTIATE_TEST_SUITE_P(AroundTheChunkSize, RoadOfSizes,
                         testing::Values(0, 1, 262144, 262144 + 1, 4 * 262144,
                                         3 * 1024 * 1024 + 7));

TEST_F(HappyRoad, CallsBackInOrder) {
    std::vector<std::string> calls;
    auto firmware = zipValidator.ValidateFirmwareZipFile(PackageBuilder()
                                                             .firmware("a", noise(1024))
                                                             .script("Script.run", "exit 0\n")
                                                             .firmware("b", noise(3 * 1024))
                                                             .build(directory));
    ASSERT_TRUE(firmware);
    {
        Common::Installer installer(target.path());
        installer.Install(
            *std::move(firmware),
            [&](unsigned int percent) { calls.push_back(std::to_string(percent)); },
            [&](bool result) { calls.emplace_back(result ? "true" : "false"); });
    }
    EXPECT_THAT(calls, ElementsAre("25", "100", "true"));
}

TEST_F(HappyRoad, CanBeTakenAgainOverAnEarlierInstallation) {
    const auto versionOf = [](const std::string& text) {
        return PackageBuilder().firmware("app", text).script("Script.run", "exit 0\n");
    };
    EXPECT_THAT(travel(versionOf("a long first version"))->verdicts, ElementsAre(true));
    EXPECT_THAT(travel(versionOf("second"))->verdicts, ElementsAre(true));
    EXPECT_EQ(installed("app"), "second");
}

TEST_F(HappyRoad, StopsBetweenFilesOnRequest) {
    auto firmware = zipValidator.ValidateFirmwareZipFile(PackageBuilder()
                                                             .firmware("first", noise(300000))
                                                             .firmware("second", noise(300000))
                                                             .firmware("third", "3")
                                                             .build(directory));
    ASSERT_TRUE(firmware);
    std::promise<void> reached;
    std::promise<void> proceed;
    std::vector<bool> verdicts;
    {
        Common::Installer installer(target.path());
        installer.Install(
            *std::move(firmware),
            [&](unsigned int percent) {
                EXPECT_EQ(percent, 49U);
                reached.set_value();
                proceed.get_future().wait();
            },
            [&](bool result) { verdicts.push_back(result); });
        reached.get_future().wait();
        installer.Cancel();
        proceed.set_value();
    }
    EXPECT_THAT(verdicts, ElementsAre(false));
    EXPECT_THAT(target.files(), ElementsAre("first"));
    EXPECT_EQ(installed("first").size(), 300000U);
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::info,
                                      "Request cancelation of firmware installation", "Cancel"},
                            LogRecord{spdlog::level::warn, "Firmware installation canceled",
                                      "operator()"}));
}

TEST_F(HappyRoad, InstallsWhatWasValidatedWhateverBecomesOfTheFile) {
    const auto package = PackageBuilder().firmware("app", "genuine").build(directory);
    auto firmware = zipValidator.ValidateFirmwareZipFile(package);
    ASSERT_TRUE(firmware);
    fs::rename(PackageBuilder().firmware("app", "other!!").build(directory, "other.zip"), package);
    EXPECT_THAT(installAndWait(*std::move(firmware), target.path()).verdicts, ElementsAre(true));
    EXPECT_EQ(installed("app"), "genuine");
}

TEST_F(HappyRoad, TakesTwoInstallationsAtOnce) {
    auto one = zipValidator.ValidateFirmwareZipFile(
        PackageBuilder().firmware("app", noise(600000, 1)).build(directory, "one.zip"));
    auto two = zipValidator.ValidateFirmwareZipFile(
        PackageBuilder().firmware("app", noise(600000, 2)).build(directory, "two.zip"));
    ASSERT_TRUE(one && two);
    std::promise<bool> first;
    std::promise<bool> second;
    {
        Common::Installer installerOne(target / "one");
        Common::Installer installerTwo(target / "two");
        installerOne.Install(
            *std::move(one), [](unsigned int) {}, [&](bool result) { first.set_value(result); });
        installerTwo.Install(
            *std::move(two), [](unsigned int) {}, [&](bool result) { second.set_value(result); });
    }
    EXPECT_TRUE(first.get_future().get());
    EXPECT_TRUE(second.get_future().get());
    EXPECT_TRUE(installed("one/app") == noise(600000, 1));
    EXPECT_TRUE(installed("two/app") == noise(600000, 2));
}

TEST_F(HappyRoad, EndsWithoutAnyFilesToo) {
    const auto report = travel(PackageBuilder());
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(true));
    EXPECT_THAT(report->progress, IsEmpty());
    EXPECT_THAT(target.files(), IsEmpty());
}

}  // namespace
