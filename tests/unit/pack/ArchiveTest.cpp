#include "Archive.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <zip.h>

#include <boost/filesystem/operations.hpp>

#include "Error.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Pack;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PackArchive : public testing::Test {
protected:
    TemporaryDirectory directory;
    TemporaryDirectory sources;
    const std::string path = (directory / "a.zip").string();

    std::string failure(const std::vector<ArchiveEntry>& entries) {
        try {
            writeArchive(path, entries);
        } catch (const PackError& error) {
            return error.what();
        }
        return "";
    }

    zip_stat_t stat(const char* name) const {
        zip_stat_t stat{};
        zip_t* const archive = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
        EXPECT_EQ(zip_stat(archive, name, 0, &stat), 0);
        zip_discard(archive);
        return stat;
    }
};

TEST_F(PackArchive, HoldsBytesAndFilesInOrder) {
    const std::string data(1000000, 'z');
    const std::string file = sources.write("file", data).string();
    writeArchive(path, {{"b", "text", true, {}}, {"a/c", SourceFile{file}, true, {}}});
    EXPECT_EQ(digestEntry(path, "b").sha256, digestBytes("text").sha256);
    EXPECT_EQ(digestEntry(path, "a/c").sha256, digestBytes(data).sha256);
    EXPECT_EQ(digestEntry(path, "a/c").length, data.size());
    EXPECT_EQ(stat("b").index, 0U);
    EXPECT_EQ(stat("a/c").index, 1U);
}

TEST_F(PackArchive, DeflatesOrStoresEachEntryAsAsked) {
    const std::string data(100000, 'z');
    writeArchive(path, {{"deflated", data, true, {}}, {"stored", data, false, {}}});
    EXPECT_EQ(stat("deflated").comp_method, ZIP_CM_DEFLATE);
    EXPECT_LT(stat("deflated").comp_size, 1000U);
    EXPECT_EQ(stat("stored").comp_method, ZIP_CM_STORE);
    EXPECT_EQ(stat("stored").comp_size, data.size());
}

TEST_F(PackArchive, EqualInputGivesEqualBytes) {
    const std::string file = sources.write("file", "data").string();
    const std::vector<ArchiveEntry> entries = {{"a", "text", true, {}},
                                               {"b", SourceFile{file}, true, {}}};
    writeArchive(path, entries);
    const std::string first = readFile(path);
    boost::filesystem::last_write_time(file, 1000000000);
    writeArchive(path, entries);
    EXPECT_EQ(readFile(path), first);
}

TEST_F(PackArchive, ReplacesAnEarlierFile) {
    directory.write("a.zip", "something else");
    writeArchive(path, {{"a", "text", true, {}}});
    EXPECT_EQ(digestEntry(path, "a").length, 4U);
    EXPECT_THAT(directory.files(), ElementsAre("a.zip"));
}

TEST_F(PackArchive, HasTheModeOfAnOrdinaryFile) {
    const mode_t mask = ::umask(027);
    writeArchive(path, {{"a", "text", true, {}}});
    ::umask(mask);
    EXPECT_EQ(boost::filesystem::status(path).permissions(), 0640);
}

TEST_F(PackArchive, LeavesNothingBehindWhenASourceIsMissing) {
    const std::string absent = (sources / "absent").string();
    EXPECT_THAT(failure({{"a", "text", true, {}}, {"b", SourceFile{absent}, true, {}}}),
                HasSubstr("No such file"));
    EXPECT_THAT(directory.files(), IsEmpty());
}

TEST_F(PackArchive, LeavesTheEarlierFileAloneWhenASourceIsMissing) {
    directory.write("a.zip", "earlier");
    EXPECT_NE(failure({{"b", SourceFile{"/nonexistent"}, true, {}}}), "");
    EXPECT_EQ(readFile(path), "earlier");
    EXPECT_THAT(directory.files(), ElementsAre("a.zip"));
}

TEST_F(PackArchive, RefusesANameThatIsUsedTwice) {
    EXPECT_THAT(failure({{"a", "1", true, {}}, {"a", "2", true, {}}}),
                HasSubstr("cannot pack a: File already exists"));
    EXPECT_THAT(directory.files(), IsEmpty());
}

TEST_F(PackArchive, RefusesToBeEmpty) {
    EXPECT_EQ(failure({}), "cannot write " + path + ": an archive needs an entry");
}

TEST_F(PackArchive, RefusesToReplaceWhatIsNoRegularFile) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(failure({{"a", "text", true, {}}}),
              "cannot write " + path + ": it exists and is not a regular file");
    EXPECT_EQ(boost::filesystem::status(path).type(), boost::filesystem::fifo_file);
}

TEST_F(PackArchive, RefusesASourceThatChangedSinceItsDigestWasTaken) {
    const std::string file = sources.write("file", "before").string();
    const FileDigest digest = digestFile(file);
    sources.write("file", "behind");
    EXPECT_EQ(failure({{"a", SourceFile{file}, true, digest}}), "a changed while it was packed");
    sources.write("file", "before, and more");
    EXPECT_EQ(failure({{"a", SourceFile{file}, true, digest}}), "a changed while it was packed");
    EXPECT_THAT(directory.files(), IsEmpty());
    sources.write("file", "before");
    EXPECT_EQ(failure({{"a", SourceFile{file}, true, digest}}), "");
}

TEST_F(PackArchive, ReadingADamagedEntryFails) {
    writeArchive(path, {{"a", "the text", false, {}}});
    std::string bytes = readFile(path);
    bytes[bytes.find("the text")] = 'T';
    directory.write("a.zip", bytes);
    EXPECT_THROW(digestEntry(path, "a"), PackError);
    EXPECT_THROW(digestEntry(path, "absent"), PackError);
}

}  // namespace
