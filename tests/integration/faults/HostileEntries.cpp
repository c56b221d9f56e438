// Archives that lie on purpose, one lie at a time.

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <csignal>

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

class HostileEntries : public FaultTest {
protected:
    static std::vector<Payload> files() { return {{"app", noise(3000)}}; }

    static RawEntry app() { return {"app", files()[0].content}; }
    static RawEntry manifest() { return {manifestEntry, manifestOf(files())}; }

    void write(const std::string& archive) { replaceContent(package(), archive); }

    bool passes() {
        const ExactText validator(manifestOf(files()));
        return Common::FirmwareZipValidator(validator)
            .ValidateFirmwareZipFile(package())
            .has_value();
    }

    std::vector<bool> installed() { return install(validated(package(), files()), target()); }

    // A listed entry that cannot be opened ends the process.
    void expectProcessEnd() {
        GTEST_FLAG_SET(death_test_style, deathTestStyle());
        EXPECT_EXIT(installed(), testing::KilledBySignal(SIGABRT), "");
    }
};

TEST_F(HostileEntries, ArchivesWrittenHereAreGoodWithoutALie) {
    write(rawArchive({app(), manifest()}));
    EXPECT_THAT(installed(), ElementsAre(true));
    EXPECT_EQ(readFile(target() / "app"), files()[0].content);
}

TEST_F(HostileEntries, TwoManifestsAreNeverReadAsOneAndUsedAsTheOther) {
    const RawEntry forged{manifestEntry, manifestOf({{"app", "forged"}})};
    for (const auto& entries : {std::vector<RawEntry>{forged, manifest(), app()},
                                std::vector<RawEntry>{manifest(), forged, app()}}) {
        write(rawArchive(entries));
        if (passes()) {
            EXPECT_THAT(installed(), ElementsAre(true));
            EXPECT_EQ(readFile(target() / "app"), files()[0].content);
        }
    }
}

TEST_F(HostileEntries, TwoFilesOfOneNameAreDecidedByTheDigest) {
    const RawEntry forged{"app", noise(3000, 2)};
    for (const auto& entries : {std::vector<RawEntry>{forged, app(), manifest()},
                                std::vector<RawEntry>{app(), forged, manifest()}}) {
        write(rawArchive(entries));
        if (passes() && installed() == std::vector<bool>{true}) {
            EXPECT_EQ(readFile(target() / "app"), files()[0].content);
        }
    }
}

TEST_F(HostileEntries, ZeroByteInANameHidesNothing) {
    const std::string hidden("app\0.bak", 8);
    write(rawArchive({{hidden, noise(3000, 2)}, app(), manifest()}));
    if (passes() && installed() == std::vector<bool>{true}) {
        EXPECT_EQ(readFile(target() / "app"), files()[0].content);
    }
    const LogCapture log;
    write(rawArchive({app(), {manifestEntry + std::string("\0.bak", 5), manifest().data}}));
    if (passes()) {
        EXPECT_THAT(installed(), ElementsAre(true));
    }
}

TEST_F(HostileEntries, NameInTheLocalHeaderIsNotBelieved) {
    RawEntry other = app();
    other.localName = "other";
    write(rawArchive({other, manifest()}));
    EXPECT_THAT(installed(), ElementsAre(true));
    EXPECT_EQ(readFile(target() / "app"), files()[0].content);
}

TEST_F(HostileEntries, EncryptedFileEndsTheProcess) {
    RawEntry encrypted = app();
    encrypted.flags = 1;
    write(rawArchive({encrypted, manifest()}));
    EXPECT_TRUE(passes());
    expectProcessEnd();
}

TEST_F(HostileEntries, EncryptedManifestIsNone) {
    RawEntry encrypted = manifest();
    encrypted.flags = 1;
    write(rawArchive({app(), encrypted}));
    const LogCapture log;
    EXPECT_FALSE(passes());
    EXPECT_THAT(log.records(), ElementsAre(noManifest));
}

TEST_F(HostileEntries, UnknownCompressionOfAFileEndsTheProcess) {
    for (const std::uint16_t method :
         {std::uint16_t{1}, std::uint16_t{97}, std::uint16_t{0xfffe}}) {
        RawEntry unknown = app();
        unknown.method = method;
        write(rawArchive({unknown, manifest()}));
        EXPECT_TRUE(passes());
        expectProcessEnd();
    }
}

TEST_F(HostileEntries, UnknownCompressionOfTheManifestIsNone) {
    RawEntry unknown = manifest();
    unknown.method = 97;
    write(rawArchive({app(), unknown}));
    const LogCapture log;
    EXPECT_FALSE(passes());
    EXPECT_THAT(log.records(), ElementsAre(noManifest));
}

TEST_F(HostileEntries, SizesThatLieNeverInstallOtherBytes) {
    const auto size = static_cast<std::uint32_t>(files()[0].content.size());
    for (const std::uint32_t lie :
         {0U, 1U, size - 1, size + 1, 2 * size, 0x7fffffffU, 0xfffffffeU}) {
        for (const int fields : {1, 2, 3}) {
            RawEntry liar = app();
            if ((fields & 1) != 0) {
                liar.size = lie;
            }
            if ((fields & 2) != 0) {
                liar.compressedSize = lie;
            }
            write(rawArchive({liar, manifest()}));
            if (passes() && installed() == std::vector<bool>{true}) {
                EXPECT_EQ(readFile(target() / "app"), files()[0].content) << lie;
            }
        }
    }
}

TEST_F(HostileEntries, ManifestSizesThatLieAreRefusedOrHarmless) {
    const auto size = static_cast<std::uint32_t>(manifest().data.size());
    for (const std::uint32_t lie : {0U, size - 1, size + 1, 64U << 20, 0xfffffffeU}) {
        RawEntry liar = manifest();
        liar.size = lie;
        write(rawArchive({app(), liar}));
        if (passes() && installed() == std::vector<bool>{true}) {
            EXPECT_EQ(readFile(target() / "app"), files()[0].content) << lie;
        }
    }
}

TEST_F(HostileEntries, WrongChecksumNeverInstallsOtherBytes) {
    RawEntry liar = app();
    liar.checksum = 0x12345678;
    write(rawArchive({liar, manifest()}));
    installed();
    EXPECT_EQ(readFile(target() / "app"), files()[0].content);
}

TEST_F(HostileEntries, Zip64SizesThatLieAreRefusedOrHarmless) {
    for (const std::uint64_t lie :
         {std::uint64_t{0}, std::uint64_t{1} << 32, std::uint64_t{1} << 62, ~std::uint64_t{0}}) {
        RawEntry liar = manifest();
        liar.size = liar.compressedSize = 0xffffffff;
        liar.extra = zip64Sizes(lie, manifest().data.size());
        write(rawArchive({app(), liar}));
        EXPECT_FALSE(passes()) << lie;
        liar.extra = zip64Sizes(manifest().data.size(), lie);
        write(rawArchive({app(), liar}));
        // The size of stored data is not needed to read it.
        if (passes()) {
            EXPECT_THAT(installed(), ElementsAre(true));
            EXPECT_EQ(readFile(target() / "app"), files()[0].content) << lie;
        }
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
            write(rawArchive({app(), manifest()}, pointer));
            EXPECT_FALSE(passes()) << lie;
        }
    }
}

TEST_F(HostileEntries, DirectoryCountsThatLieAreRefusedOrHarmless) {
    for (const std::uint16_t lie : {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{3},
                                    std::uint16_t{0xfffe}, std::uint16_t{0xffff}}) {
        RawEnd liar;
        liar.count = lie;
        write(rawArchive({app(), manifest()}, liar));
        if (passes() && installed() == std::vector<bool>{true}) {
            EXPECT_EQ(readFile(target() / "app"), files()[0].content) << lie;
        }
    }
}

TEST_F(HostileEntries, OffsetsThatLieNeverInstallOtherBytes) {
    for (const std::uint32_t lie : {1U, 30U, 3000U, 0x7fffffffU, 0xfffffffeU}) {
        RawEntry liar = app();
        liar.offset = lie;
        write(rawArchive({liar, manifest()}));
        if (!passes()) {
            continue;
        }
        bool opens = true;
        try {
            validated(package(), files()).package.archive().open("app");
        } catch (const std::runtime_error&) {
            opens = false;  // would end the process
        }
        if (opens && installed() == std::vector<bool>{true}) {
            EXPECT_EQ(readFile(target() / "app"), files()[0].content) << lie;
        }
    }
}

TEST_F(HostileEntries, LengthInTheManifestDoesNotDecide) {
    // The digest does; the length only feeds the percentage.
    std::string text = manifestOf(files());
    text.replace(text.find("Length=\"3000\""), 13, "Length=\"1\"");
    write(rawArchive({app(), {manifestEntry, text}}));
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
