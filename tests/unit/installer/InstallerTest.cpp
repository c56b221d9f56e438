#include "Norv/Corvane/Common/Installer.h"

#include <gmock/gmock.h>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "Installation.h"
#include "InstallerFixture.h"
#include "VirtualSlot.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = boost::filesystem;

using OnProgress = std::function<void(unsigned int)>;
using OnCompletion = std::function<void(bool)>;

static_assert(std::is_abstract_v<IInstaller>);
static_assert(std::has_virtual_destructor_v<IInstaller>);
static_assert(std::is_same_v<decltype(&IInstaller::Install),
                             void (IInstaller::*)(ValidatedFirmwareZip, OnProgress, OnCompletion)>);
static_assert(std::is_same_v<decltype(&IInstaller::Cancel), void (IInstaller::*)()>);
static_assert(std::is_base_of_v<IInstaller, Installer>);
static_assert(std::is_constructible_v<Installer, path>);
static_assert(!std::is_copy_constructible_v<Installer>);
static_assert(!std::is_move_constructible_v<Installer>, "the worker refers to its installer");
static_assert(sizeof(Installer) == sizeof(void*) + sizeof(path) + sizeof(std::thread) +
                                       sizeof(std::weak_ptr<CancellationToken>));
static_assert(sizeof(CancellationToken) == sizeof(std::atomic<bool>));

TEST(VirtualSlots, OfTheInstallerAreDestructorInstallCancel) {
    EXPECT_EQ(virtualSlot(&IInstaller::Install), 2U) << "behind the two of the destructor";
    EXPECT_EQ(virtualSlot(&IInstaller::Cancel), 3U);
}

TEST(CancellationTokenTest, StartsWithoutARequest) {
    EXPECT_FALSE(CancellationToken().cancelRequested.load());
}

TEST_F(InstallerTest, DoesNothingUntilItIsAsked) {
    { const Installer idle(target / "missing"); }
    EXPECT_THAT(target.files(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(InstallerTest, InstallsEveryFileAndSaysSo) {
    const auto report = install(PackageBuilder()
                                    .file(Pack::PayloadKind::Firmware, "z", "bin/app", "program")
                                    .firmware("etc/settings", "values")
                                    .script("setup.sh", "exit 1\n"));
    EXPECT_THAT(report.verdicts, ElementsAre(true));
    EXPECT_THAT(target.files(), ElementsAre("bin/app", "etc/settings", "setup.sh"));
    EXPECT_EQ(installed("bin/app"), "program");
    EXPECT_EQ(installed("etc/settings"), "values");
    EXPECT_EQ(installed("setup.sh"), "exit 1\n");
    EXPECT_THAT(log.records(), ElementsAre(succeeded));
}

TEST_F(InstallerTest, SucceedsAtOnceWithoutFiles) {
    const auto report = install(PackageBuilder());
    EXPECT_THAT(report.verdicts, ElementsAre(true));
    EXPECT_THAT(report.progress, IsEmpty());
    EXPECT_THAT(log.records(), ElementsAre(succeeded));
}

TEST_F(InstallerTest, HasNothingToCancelWithoutFiles) {
    for (int round = 0; round < 50; ++round) {
        bool verdict = false;
        {
            Installer installer(target.path());
            installer.Install(unsignedPackage(PackageBuilder()), nullptr,
                              [&](bool result) { verdict = result; });
            installer.Cancel();
        }
        ASSERT_TRUE(verdict);
    }
}

TEST_F(InstallerTest, InstallsInManifestOrder) {
    const std::string note = "echo \"$0\" >> " + (target / "order").native() + "\n";
    const auto report = install(PackageBuilder()
                                    .script("c/Script.run", note)
                                    .script("a/Script.run", note)
                                    .script("b/Script.run", note));
    EXPECT_THAT(report.verdicts, ElementsAre(true));
    EXPECT_EQ(installed("order"), (target / "c/Script.run").native() + "\n" +
                                      (target / "a/Script.run").native() + "\n" +
                                      (target / "b/Script.run").native() + "\n");
}

TEST_F(InstallerTest, ReportsProgressAfterEachFile) {
    const auto report = install(PackageBuilder()
                                    .firmware("a", std::string(3000, 'a'))
                                    .firmware("b", std::string(4192, 'b'))
                                    .firmware("c", "")
                                    .firmware("d", std::string(3048, 'd')));
    EXPECT_THAT(report.progress, ElementsAre(20, 70, 100));
    EXPECT_THAT(report.verdicts, ElementsAre(true));
}

TEST_F(InstallerTest, CountsTowardsTheLengthsThatTheManifestStates) {
    const auto report = install(
        PackageBuilder()
            .firmware("a", std::string(4096, 'a'))
            .editManifest([](Pack::Manifest& manifest) { manifest.files[0].length = 2048; }));
    EXPECT_THAT(report.progress, ElementsAre(200));
    EXPECT_THAT(report.verdicts, ElementsAre(true)) << "the digest alone decides";
}

TEST_F(InstallerTest, CallsBothCallbacksOnOneOtherThread) {
    std::vector<std::thread::id> threads;
    const auto note = [&](auto) { threads.push_back(std::this_thread::get_id()); };
    {
        Installer installer(target.path());
        installer.Install(unsignedPackage(PackageBuilder().firmware("a", std::string(2048, 'a'))),
                          note, note);
    }
    ASSERT_EQ(threads.size(), 2U);
    EXPECT_EQ(threads[0], threads[1]);
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST_F(InstallerTest, ReportsProgressOnceTheScriptHasRun) {
    std::string mark;
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder().script(
                "Script.run",
                "echo ran > " + (target / "mark").native() + std::string(2048, '\n'))),
            [&](unsigned int) { mark = installed("mark"); }, [](bool) {});
    }
    EXPECT_EQ(mark, "ran\n");
}

TEST_F(InstallerTest, WritesButDoesNotRunFirmwareNamedLikeAScriptAndScriptsNamedOtherwise) {
    const std::string mark = "touch " + (target / "mark").native() + "\n";
    const auto report = install(
        PackageBuilder().firmware("Script.run", mark).script("install.sh", mark).firmware("z", ""));
    EXPECT_THAT(report.verdicts, ElementsAre(true));
    EXPECT_THAT(target.files(), ElementsAre("Script.run", "install.sh", "z"));
    EXPECT_EQ(installed("Script.run"), mark);
    EXPECT_EQ(installed("install.sh"), mark);
}

TEST_F(InstallerTest, LogsSuccessAfterTheVerdict) {
    std::vector<LogRecord> before;
    {
        Installer installer(target.path());
        installer.Install(unsignedPackage(PackageBuilder()), nullptr,
                          [&](bool) { before = log.records(); });
    }
    EXPECT_THAT(before, IsEmpty());
    EXPECT_THAT(log.records(), ElementsAre(succeeded));
}

class InstallerSizes : public InstallerTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(InstallerSizes, ArriveOnDiskByteForByte) {
    std::string data(GetParam(), '\0');
    unsigned int state = 1;
    for (char& byte : data) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    const auto report = install(PackageBuilder().firmware("before", "x").firmware("app", data));
    EXPECT_THAT(report.verdicts, ElementsAre(true));
    EXPECT_TRUE(installed("app") == data);
}

INSTANTIATE_TEST_SUITE_P(AroundTheChunkSize, InstallerSizes,
                         testing::Values(0, 1, 262143, 262144, 262145, 2 * 262144,
                                         3 * 262144 + 12345));

TEST_F(InstallerTest, NeedsNoProgressCallbackWhileNoReportIsDue) {
    std::vector<bool> verdicts;
    {
        Installer installer(target.path());
        installer.Install(unsignedPackage(PackageBuilder().firmware("a", "x")), nullptr,
                          [&](bool result) { verdicts.push_back(result); });
    }
    EXPECT_THAT(verdicts, ElementsAre(true));
}

TEST_F(InstallerTest, WaitsForEveryFileBeforeItIsGone) {
    std::promise<void> proceed;
    std::future<void> mayProceed = proceed.get_future();
    std::vector<bool> verdicts;
    std::thread helper;
    {
        Installer installer(target.path());
        installer.Install(
            unsignedPackage(PackageBuilder()
                                .firmware("a", std::string(2048, 'a'))
                                .firmware("b", "b")
                                .firmware("c", "c")),
            [&](unsigned int) {
                if (mayProceed.valid()) {
                    mayProceed.get();
                }
            },
            [&](bool result) { verdicts.push_back(result); });
        helper = std::thread([&] { proceed.set_value(); });
    }
    EXPECT_THAT(verdicts, ElementsAre(true)) << "the destructor waits, and does not cancel";
    EXPECT_THAT(target.files(), ElementsAre("a", "b", "c"));
    helper.join();
}

// The open files of this process that have this path.
std::size_t openHandles(const path& file) {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        boost::system::error_code gone;
        count += fs::read_symlink(entry.path(), gone) == file ? 1U : 0U;
    }
    return count;
}

TEST_F(InstallerTest, HasTheWorkerReleaseEverythingAsItEnds) {
    TemporaryDirectory directory;
    const path package =
        PackageBuilder().firmware("app", "data").withoutSignature().build(directory);
    auto firmware = unsignedPackage(PackageBuilder().firmware("app", "data"));
    firmware.package = FirmwarePackage(libzip::archive(package.native(), ZIP_RDONLY));
    ASSERT_EQ(openHandles(package), 1U);

    std::thread::id worker;
    std::thread::id releasedOn;
    std::size_t handlesAtVerdict = 0;
    std::shared_ptr<int> held(new int(0), [&](const int* value) {
        delete value;
        releasedOn = std::this_thread::get_id();
    });
    {
        Installer installer(target.path());
        installer.Install(std::move(firmware), nullptr, [&, captured = std::move(held)](bool) {
            worker = std::this_thread::get_id();
            handlesAtVerdict = openHandles(package);
        });
    }
    EXPECT_EQ(handlesAtVerdict, 1U);
    EXPECT_EQ(openHandles(package), 0U);
    EXPECT_EQ(releasedOn, worker);
    EXPECT_NE(releasedOn, std::this_thread::get_id());
}

}  // namespace
