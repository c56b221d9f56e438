// Archives that lie on purpose, one lie at a time.

#include <gmock/gmock.h>
#include <zip.h>

#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <csignal>
#include <ostream>
#include <utility>

#include "Installation.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "Process.h"
#include "RawArchive.h"

namespace Norv::Corvane::Test {
namespace {

namespace fs = boost::filesystem;
using testing::ElementsAre;

const std::string manifestEntry = "FirmwareDescription.xml";
const LogRecord noManifest{spdlog::level::err,
                           "Invalid firmwareDescription: missing file 'FirmwareDescription.xml'",
                           "ValidateFirmwareZipFile"};

// What a host sees of a package.
enum class Outcome {
    Refused,     // no package, or no manifest that passes
    ProcessEnd,  // passes, but the listed entry cannot be opened
    Failed,      // the installation says so
    Installed,   // and every byte is right
};

std::ostream& operator<<(std::ostream& stream, Outcome outcome) {
    constexpr const char* names[] = {"Refused", "ProcessEnd", "Failed", "Installed"};
    return stream << names[static_cast<int>(outcome)];
}

// What libzip makes of a lie depends on its release, but none installs other bytes than those that
// were packed: the digest decides. 1.11 reads nothing of an entry whose content is said to be
// empty. 1.12 ends a name at its first zero byte, and opens an entry only where one lies.
constexpr int libzip = LIBZIP_VERSION_MAJOR * 100 + LIBZIP_VERSION_MINOR;
constexpr bool endsNamesAtZero = libzip >= 112;
constexpr Outcome whereNoEntryLies = libzip >= 112 ? Outcome::ProcessEnd : Outcome::Failed;

class HostileEntries : public FaultTest {
protected:
    static std::vector<Payload> files() { return {{"app", noise(3000)}}; }

    static RawEntry app() { return {"app", files()[0].content}; }
    static RawEntry manifest() { return {manifestEntry, manifestOf(files())}; }

    bool passes() {
        const ExactText validator(manifestOf(files()));
        return Common::FirmwareZipValidator(validator)
            .ValidateFirmwareZipFile(package())
            .has_value();
    }

    std::vector<bool> installed() { return install(validated(package(), files()), target()); }

    // What becomes of the archive, tried with an empty target. Whatever is called a success has
    // installed the bytes that were packed.
    Outcome outcomeOf(const std::string& archive) {
        replaceContent(package(), archive);
        if (!passes()) {
            return Outcome::Refused;
        }
        try {
            validated(package(), files()).package.archive().open("app");
        } catch (const std::runtime_error&) {
            return Outcome::ProcessEnd;
        }
        fs::remove_all(target());
        if (installed() != std::vector<bool>{true}) {
            return Outcome::Failed;
        }
        EXPECT_EQ(readFile(target() / "app"), files()[0].content);
        return Outcome::Installed;
    }

    // Lets the process really end.
    void expectProcessEnd() {
        GTEST_FLAG_SET(death_test_style, deathTestStyle());
        EXPECT_EXIT(installed(), testing::KilledBySignal(SIGABRT), "");
    }
};

TEST_F(HostileEntries, ArchivesWrittenHereAreGoodWithoutALie) {
    EXPECT_EQ(outcomeOf(rawArchive({app(), manifest()})), Outcome::Installed);
}

TEST_F(HostileEntries, FirstOfTwoManifestsIsReadAndNoOther) {
    const RawEntry forged{manifestEntry, manifestOf({{"app", "forged"}})};
    EXPECT_EQ(outcomeOf(rawArchive({forged, manifest(), app()})), Outcome::Refused);
    EXPECT_EQ(outcomeOf(rawArchive({manifest(), forged, app()})), Outcome::Installed);
}

TEST_F(HostileEntries, FirstOfTwoFilesOfOneNameIsReadAndHasToHaveTheDigest) {
    const RawEntry forged{"app", noise(3000, 2)};
    EXPECT_EQ(outcomeOf(rawArchive({forged, app(), manifest()})), Outcome::Failed);
    EXPECT_EQ(outcomeOf(rawArchive({app(), forged, manifest()})), Outcome::Installed);
}

TEST_F(HostileEntries, NameWithAZeroByteIsAnotherNameOrTheOneBeforeIt) {
    const std::string suffix("\0.bak", 5);
    const RawEntry other{"app" + suffix, noise(3000, 2)};
    EXPECT_EQ(outcomeOf(rawArchive({other, app(), manifest()})),
              endsNamesAtZero ? Outcome::Failed : Outcome::Installed);
    EXPECT_EQ(outcomeOf(rawArchive({{"app" + suffix, app().data}, manifest()})),
              endsNamesAtZero ? Outcome::Installed : Outcome::ProcessEnd);
    EXPECT_EQ(outcomeOf(rawArchive({app(), {manifestEntry + suffix, manifest().data}})),
              endsNamesAtZero ? Outcome::Installed : Outcome::Refused);
}

TEST_F(HostileEntries, NameInTheLocalHeaderIsNotBelieved) {
    RawEntry other = app();
    other.localName = "other";
    EXPECT_EQ(outcomeOf(rawArchive({other, manifest()})), Outcome::Installed);
}

TEST_F(HostileEntries, EncryptedFileEndsTheProcess) {
    RawEntry encrypted = app();
    encrypted.flags = 1;
    EXPECT_EQ(outcomeOf(rawArchive({encrypted, manifest()})), Outcome::ProcessEnd);
    expectProcessEnd();
}

TEST_F(HostileEntries, EncryptedManifestIsNone) {
    RawEntry encrypted = manifest();
    encrypted.flags = 1;
    replaceContent(package(), rawArchive({app(), encrypted}));
    const LogCapture log;
    EXPECT_FALSE(passes());
    EXPECT_THAT(log.records(), ElementsAre(noManifest));
}

TEST_F(HostileEntries, UnknownCompressionOfAFileEndsTheProcess) {
    for (const std::uint16_t method :
         {std::uint16_t{1}, std::uint16_t{97}, std::uint16_t{0xfffe}}) {
        RawEntry unknown = app();
        unknown.method = method;
        EXPECT_EQ(outcomeOf(rawArchive({unknown, manifest()})), Outcome::ProcessEnd);
        expectProcessEnd();
    }
}

TEST_F(HostileEntries, UnknownCompressionOfTheManifestIsNone) {
    RawEntry unknown = manifest();
    unknown.method = 97;
    replaceContent(package(), rawArchive({app(), unknown}));
    const LogCapture log;
    EXPECT_FALSE(passes());
    EXPECT_THAT(log.records(), ElementsAre(noManifest));
}

TEST_F(HostileEntries, SizeOfTheDataDecidesAndThatOfTheContentIsOnlyAClaim) {
    const auto size = static_cast<std::uint32_t>(files()[0].content.size());
    for (const std::uint32_t lie :
         {0U, 1U, size - 1, size + 1, 2 * size, 0x7fffffffU, 0xfffffffeU}) {
        SCOPED_TRACE(lie);
        RawEntry liar = app();
        liar.size = lie;
        EXPECT_EQ(outcomeOf(rawArchive({liar, manifest()})),
                  lie == 0 && libzip >= 111 ? Outcome::Failed : Outcome::Installed);
        liar.compressedSize = lie;
        const Outcome outcome = lie > size + 1 ? whereNoEntryLies : Outcome::Failed;
        EXPECT_EQ(outcomeOf(rawArchive({liar, manifest()})), outcome);
        liar.size.reset();
        EXPECT_EQ(outcomeOf(rawArchive({liar, manifest()})), outcome);
    }
}

TEST_F(HostileEntries, OneReadOfTheClaimedSizeIsTheManifest) {
    const auto size = static_cast<std::uint32_t>(manifest().data.size());
    for (const std::uint32_t lie : {0U, 1U, size - 1, size + 1, 64U << 20, 0xfffffffeU}) {
        SCOPED_TRACE(lie);
        RawEntry liar = manifest();
        liar.size = lie;
        // A larger size cuts nothing off, unless it is above the bound.
        const bool whole = lie > size && lie <= 64U << 20;
        EXPECT_EQ(outcomeOf(rawArchive({app(), liar})),
                  whole ? Outcome::Installed : Outcome::Refused);
        liar.compressedSize = lie;
        EXPECT_EQ(outcomeOf(rawArchive({app(), liar})), Outcome::Refused);
        // The size tells how much to read: what the data would have beyond it is not missed.
        liar.size.reset();
        const bool missed = lie < size || (lie > size + 1 && libzip >= 112);
        EXPECT_EQ(outcomeOf(rawArchive({app(), liar})),
                  missed ? Outcome::Refused : Outcome::Installed);
    }
}

TEST_F(HostileEntries, ChecksumDoesNotDecide) {
    // The digest does, over the same bytes.
    RawEntry liar = app();
    liar.checksum = 0x12345678;
    EXPECT_EQ(outcomeOf(rawArchive({liar, manifest()})), Outcome::Installed);
    liar.data = noise(3000, 2);
    EXPECT_EQ(outcomeOf(rawArchive({liar, manifest()})), Outcome::Failed);
}

TEST_F(HostileEntries, ManifestIsRefusedUnlessItsZip64SizeIsTrue) {
    const std::uint64_t size = manifest().data.size();
    RawEntry liar = manifest();
    liar.size = liar.compressedSize = 0xffffffff;
    liar.extra = zip64Sizes(size, size);
    EXPECT_EQ(outcomeOf(rawArchive({app(), liar})), Outcome::Installed);
    for (const std::uint64_t lie :
         {std::uint64_t{0}, std::uint64_t{1} << 32, std::uint64_t{1} << 62, ~std::uint64_t{0}}) {
        SCOPED_TRACE(lie);
        liar.extra = zip64Sizes(lie, size);
        EXPECT_EQ(outcomeOf(rawArchive({app(), liar})), Outcome::Refused);
    }
    liar.extra = zip64Sizes(size, std::uint64_t{1} << 62);
    EXPECT_EQ(outcomeOf(rawArchive({app(), liar})),
              libzip >= 112 ? Outcome::Refused : Outcome::Installed);
    for (const std::uint64_t lie : {std::uint64_t{0}, ~std::uint64_t{0}}) {
        SCOPED_TRACE(lie);
        liar.extra = zip64Sizes(size, lie);
        EXPECT_EQ(outcomeOf(rawArchive({app(), liar})), Outcome::Refused);
    }
}

TEST_F(HostileEntries, Zip64DirectoriesThatLieAreRefused) {
    const std::size_t end = rawArchive({app(), manifest()}).size() - 22;
    for (const std::uint64_t lie :
         {std::uint64_t{3}, std::uint64_t{1} << 32, std::uint64_t{1} << 60, ~std::uint64_t{0}}) {
        for (const std::string& record :
             {zip64End(lie, 200, 3033, end), zip64End(2, lie, 3033, end),
              zip64End(2, 200, lie, end), zip64End(2, 200, 3033, lie)}) {
            RawEnd pointer;
            pointer.count = 0xffff;
            pointer.directorySize = pointer.directoryOffset = 0xffffffff;
            pointer.before = record;
            EXPECT_EQ(outcomeOf(rawArchive({app(), manifest()}, pointer)), Outcome::Refused) << lie;
        }
    }
}

TEST_F(HostileEntries, DirectoryCountsThatLieAreRefused) {
    for (const std::uint16_t lie : {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{3},
                                    std::uint16_t{0xfffe}, std::uint16_t{0xffff}}) {
        RawEnd liar;
        liar.count = lie;
        EXPECT_EQ(outcomeOf(rawArchive({app(), manifest()}, liar)), Outcome::Refused) << lie;
        EXPECT_EQ(outcomeOf(rawArchive({manifest(), app()}, liar)), Outcome::Refused) << lie;
    }
}

TEST_F(HostileEntries, OffsetsThatLieNeverInstallOtherBytes) {
    const auto ofTheManifest =
        static_cast<std::uint32_t>(rawArchive({app()}).size() - rawArchive({}).size() - 46 - 3);
    for (const auto& [lie, outcome] : {std::pair<std::uint32_t, Outcome>{1, whereNoEntryLies},
                                       {30, whereNoEntryLies},
                                       {3000, whereNoEntryLies},
                                       {ofTheManifest, Outcome::Failed},
                                       {0x7fffffff, Outcome::ProcessEnd},
                                       {0xfffffffe, Outcome::ProcessEnd}}) {
        RawEntry liar = app();
        liar.offset = lie;
        EXPECT_EQ(outcomeOf(rawArchive({liar, manifest()})), outcome) << lie;
    }
}

TEST_F(HostileEntries, LengthInTheManifestDoesNotDecide) {
    // The digest does; the length only feeds the percentage.
    std::string text = manifestOf(files());
    text.replace(text.find("Length=\"3000\""), 13, "Length=\"1\"");
    replaceContent(package(), rawArchive({app(), {manifestEntry, text}}));
    const ExactText validator(text);
    auto firmware = Common::FirmwareZipValidator(validator).ValidateFirmwareZipFile(package());
    ASSERT_TRUE(firmware);
    EXPECT_THAT(install(*std::move(firmware), target()), ElementsAre(true));
    EXPECT_EQ(readFile(target() / "app"), files()[0].content);
}

TEST_F(HostileEntries, SixtyFiveThousandEntriesTakeNoTimeToSpeakOf) {
    // One more than the plain format can count: libzip writes the records of zip64.
    writePackage(package(), files());
    int code = 0;
    zip_t* const archive = zip_open(package().c_str(), 0, &code);
    ASSERT_NE(archive, nullptr);
    for (int i = 2; i < 65536; ++i) {
        zip_source_t* const source = zip_source_buffer(archive, nullptr, 0, 0);
        ASSERT_GE(zip_file_add(archive, fmt::format("e{}", i).c_str(), source, 0), 0);
    }
    ASSERT_EQ(zip_close(archive), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(installed(), ElementsAre(true));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(readFile(target() / "app"), files()[0].content);
}

TEST_F(HostileEntries, ManifestOfManyMebibytesIsNotRead) {
    // Too much of one letter, which takes little room in the package.
    const std::string bomb((64 << 20) + 1, 'x');
    int code = 0;
    zip_t* const archive = zip_open(package().c_str(), ZIP_CREATE, &code);
    ASSERT_NE(archive, nullptr);
    zip_source_t* const source = zip_source_buffer(archive, bomb.data(), bomb.size(), 0);
    ASSERT_GE(zip_file_add(archive, manifestEntry.c_str(), source, 0), 0);
    ASSERT_EQ(zip_close(archive), 0);
    const LogCapture log;
    EXPECT_FALSE(passes());
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::err,
                                      "Invalid firmwareDescription: error in validation process",
                                      "ValidateFirmwareZipFile"}));
}

}  // namespace
}  // namespace Norv::Corvane::Test
