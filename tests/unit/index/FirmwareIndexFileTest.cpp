// Saving and loading the index on real files, by one process at a time.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <boost/interprocess/exceptions.hpp>
#include <boost/json/error.hpp>
#include <boost/system/system_error.hpp>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>

#include "Norv/Corvane/Common/FirmwareIndex.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

using Ombrel::Project::DeviceType;
using Type = DeviceType::Type;

class FirmwareIndexFile : public testing::Test {
protected:
    std::filesystem::path path(const std::string& name = "index.json") const {
        return (directory_ / name).string();
    }
    std::filesystem::path write(const std::string& text) const {
        return directory_.write("index.json", text).string();
    }
    std::string content() const { return Corvane::Test::readFile(directory_ / "index.json"); }

    // What the JSON library says of the file; success if nothing.
    boost::system::error_code loadError(const std::string& text) const {
        try {
            Load(write(text));
        } catch (const boost::system::system_error& error) {
            return error.code();
        }
        return {};
    }

private:
    Corvane::Test::TemporaryDirectory directory_;
};

Firmwares example() {
    return {{{"rootfs.img", Type::QA01RTVN, {4, 2, 1, 7}, {"A1", "B3"}, "0c2f"},
             {"bootloader.bin", Type::RTVNUY01, {1, 0, 0, 0}, {}, "5e1d"}}};
}

TEST_F(FirmwareIndexFile, IsWrittenCompactlyOnOneLineWithoutItsEnd) {
    Save(path(), example());
    EXPECT_EQ(content(), R"([{"filename":"rootfs.img","type":"QVQA01RTVN","version":"4.2.1.7",)"
                         R"("supportedHwRevs":["A1","B3"],"sha256":"0c2f"},)"
                         R"({"filename":"bootloader.bin","type":"QVRTVNUY01","version":"1.0.0.0",)"
                         R"("supportedHwRevs":[],"sha256":"5e1d"}])");
}

TEST_F(FirmwareIndexFile, LoadsWhatWasSaved) {
    Save(path(), example());
    EXPECT_EQ(Load(path()), example());
}

TEST_F(FirmwareIndexFile, SavesAnEmptyListAsTwoCharacters) {
    Save(path(), {});
    EXPECT_EQ(content(), "[]");
    const auto loaded = Load(path());
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(loaded->firmwares.empty());
}

TEST_F(FirmwareIndexFile, IsReplacedByAShorterDocumentWithNothingLeftBehind) {
    Firmwares firmwares = example();
    firmwares.firmwares.resize(200, firmwares.firmwares.front());
    Save(path(), firmwares);
    Save(path(), example());
    EXPECT_EQ(Load(path()), example());
    Save(path(), {});
    EXPECT_EQ(content(), "[]");
}

TEST_F(FirmwareIndexFile, LosesTheQualifierOnTheWay) {
    Firmwares firmwares = example();
    firmwares.firmwares[0].type.qualifier = "lab";
    Save(path(), firmwares);
    EXPECT_EQ(Load(path()), example());
}

TEST_F(FirmwareIndexFile, IsEmptyOptionalWhenThereIsNoFile) {
    EXPECT_EQ(Load(path()), std::nullopt);
    EXPECT_EQ(Load(path("no/such/directory")), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(FirmwareIndexFile, IsEmptyOptionalForADirectoryAndOtherIrregularFiles) {
    EXPECT_EQ(Load(path().parent_path()), std::nullopt);
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(Load(path("fifo")), std::nullopt);
    EXPECT_EQ(Load("/dev/null"), std::nullopt);
    std::filesystem::create_symlink("nowhere", path("dangling"));
    EXPECT_EQ(Load(path("dangling")), std::nullopt);
}

TEST_F(FirmwareIndexFile, IsReachedThroughASymbolicLink) {
    std::filesystem::create_symlink("index.json", path("link"));
    Save(path("link"), example());
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_EQ(Load(path()), example());
    EXPECT_EQ(Load(path("link")), example());
}

TEST_F(FirmwareIndexFile, ThrowsWhenThePathCannotBeExamined) {
    EXPECT_THROW(Load(path(std::string(5000, 'a'))), std::filesystem::filesystem_error);
}

TEST_F(FirmwareIndexFile, ThrowsWhenItIsSavedIntoAMissingDirectory) {
    try {
        Save(path("missing/index.json"), example());
        FAIL();
    } catch (const boost::interprocess::interprocess_exception& error) {
        EXPECT_EQ(error.get_native_error(), ENOENT);
    }
}

TEST_F(FirmwareIndexFile, ThrowsWhenItIsSavedOverADirectory) {
    try {
        Save(path().parent_path(), example());
        FAIL();
    } catch (const boost::interprocess::interprocess_exception& error) {
        EXPECT_EQ(error.get_native_error(), EISDIR);
    }
}

TEST_F(FirmwareIndexFile, ThrowsForAnEmptyFile) {
    EXPECT_EQ(loadError(""), boost::json::error::incomplete);
}

TEST_F(FirmwareIndexFile, ThrowsWithoutAFreeDescriptor) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "UndefinedBehaviorSanitizer looks at objects through a pipe of its own";
#endif
    const std::filesystem::path file = write("[]");
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    boost::system::error_code code;
    try {
        Load(file);
    } catch (const boost::system::system_error& error) {
        code = error.code();
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(code, boost::json::error::not_array);
    EXPECT_EQ(Load(file), Firmwares{});
}

TEST_F(FirmwareIndexFile, ThrowsForEveryTruncationOfADocument) {
    Save(path(), example());
    const std::string text = content();
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_EQ(loadError(text.substr(0, length)), boost::json::error::incomplete) << length;
    }
}

TEST_F(FirmwareIndexFile, ThrowsForAByteOrderMark) {
    EXPECT_EQ(loadError("\xef\xbb\xbf[]"), boost::json::error::syntax);
}

TEST_F(FirmwareIndexFile, ThrowsForWhatStrictJsonForbids) {
    EXPECT_EQ(loadError("[] // comment"), boost::json::error::extra_data);
    EXPECT_EQ(loadError("/* comment */ []"), boost::json::error::syntax);
    EXPECT_EQ(loadError("[[],]"), boost::json::error::syntax);
    EXPECT_EQ(loadError("[][]"), boost::json::error::extra_data);
    EXPECT_EQ(loadError(std::string("[]\0", 3)), boost::json::error::extra_data);
    EXPECT_EQ(loadError("['a']"), boost::json::error::syntax);
    EXPECT_TRUE(loadError("[\"\xff\"]").failed());
}

TEST_F(FirmwareIndexFile, AllowsBlanksAndLineBreaksAroundTheDocument) {
    EXPECT_EQ(Load(write(" \t\r\n[ \n ]\n\n")), Firmwares{});
}

TEST_F(FirmwareIndexFile, AllowsNestingOf32LevelsAndThrowsForMore) {
    // In an unknown member, at level 3 of the document.
    const auto document = [](std::size_t levels) {
        return R"([{"filename":"a","type":"","version":"","supportedHwRevs":[],"sha256":"","x":)" +
               std::string(levels - 2, '[') + std::string(levels - 2, ']') + "}]";
    };
    EXPECT_EQ(loadError(document(32)), boost::system::error_code());
    EXPECT_EQ(loadError(document(33)), boost::json::error::too_deep);
    EXPECT_EQ(loadError(std::string(100000, '[')), boost::json::error::too_deep);
}

TEST_F(FirmwareIndexFile, ThrowsForADocumentOfAnotherShape) {
    EXPECT_EQ(loadError("null"), boost::json::error::not_array);
    EXPECT_EQ(loadError("{}"), boost::json::error::not_array);
    EXPECT_THROW(Load(write("[[]]")), std::invalid_argument);
    EXPECT_THROW(Load(write("[null]")), std::invalid_argument);
}

TEST_F(FirmwareIndexFile, ReturnsNothingPartialWhenARecordLacksItsDigest) {
    EXPECT_THROW(
        Load(write(R"([{"filename":"a","type":"","version":"","supportedHwRevs":[],"sha256":""},)"
                   R"({"filename":"b","type":"","version":"","supportedHwRevs":[]}])")),
        std::out_of_range);
}

TEST_F(FirmwareIndexFile, CannotBeLoadedWithTextThatIsNoUtf8) {
    Firmwares firmwares = example();
    firmwares.firmwares[0].filename = "\xff";
    Save(path(), firmwares);
    EXPECT_THROW(Load(path()), boost::system::system_error);
}

TEST_F(FirmwareIndexFile, CanBeSavedAgainAfterALoadThrew) {
    EXPECT_TRUE(loadError("[").failed());
    Save(path(), example());
    EXPECT_EQ(Load(path()), example());
}

TEST_F(FirmwareIndexFile, IsIndependentOfOtherFilesUsedByOtherThreads) {
    std::vector<std::thread> threads;
    std::vector<int> equal(4);
    for (std::size_t i = 0; i < equal.size(); ++i) {
        threads.emplace_back([this, i, &equal] {
            const auto own = path("index-" + std::to_string(i));
            for (int round = 0; round < 50; ++round) {
                Firmwares firmwares = example();
                firmwares.firmwares[0].filename += std::to_string(round);
                Save(own, firmwares);
                equal[i] += Load(own) == firmwares;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(equal, std::vector<int>(4, 50));
}

// Random records.
class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }

    // Of any length up to 20 pieces, plain, odd or beyond ASCII.
    std::string text() {
        static const std::string pieces[] = {
            "a",      "Z",      "0",          " ",          "/",       "\\",
            "\"",     "\n",     "\t",         "\r",         "\x01",    "\x1f",
            "\x7f",   "'",      "{",          "[",          ",",       ":",
            "..",     "QV",     "\\u0041",    "\u00e4",     "\u20ac",  "\u2028",
            "\ufeff", "\uffff", "\U0001f680", "\U0010ffff", "e\u0301", std::string(1, '\0')};
        std::string result;
        for (std::size_t i = below(20); i > 0; --i) {
            result += pieces[below(std::size(pieces))];
        }
        return result;
    }

    Firmwares::Firmware firmware() {
        const auto number = [this] { return static_cast<unsigned>(random_()) >> below(32); };
        Firmwares::Firmware firmware;
        firmware.filename = text();
        firmware.type = {static_cast<Type>(below(6)),
                         below(2) ? std::optional<std::string>(text()) : std::nullopt};
        firmware.version = {number(), number(), number(), number()};
        for (std::size_t i = below(5); i > 0; --i) {
            firmware.supportedHwRevs.push_back(text());
        }
        firmware.sha256 = text();
        return firmware;
    }

private:
    std::mt19937 random_;
};

TEST_F(FirmwareIndexFile, ComesBackEqualButForTheQualifiers) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Generator generator(seed);
        const std::size_t counts[] = {0, 1, generator.below(50), generator.below(1001), 1000};
        Firmwares firmwares;
        for (std::size_t i = counts[seed % std::size(counts)]; i > 0; --i) {
            firmwares.firmwares.push_back(generator.firmware());
        }
        Save(path(), firmwares);
        for (Firmwares::Firmware& firmware : firmwares.firmwares) {
            firmware.type.qualifier.reset();
        }
        ASSERT_EQ(Load(path()), firmwares) << "seed " << seed;
    }
}

}  // namespace
}  // namespace Norv::Corvane::Common::FirmwareIndex
