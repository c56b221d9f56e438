#include "Digest.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Error.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Pack;
using Norv::Corvane::Test::TemporaryDirectory;

TEST(PackDigest, OfNoBytesIsTheWellKnownOne) {
    const FileDigest digest = digestBytes("");
    EXPECT_EQ(digest.length, 0U);
    EXPECT_EQ(toBase64(digest.sha256), "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=");
}

TEST(PackDigest, OfAFileEqualsThatOfItsBytesAcrossChunks) {
    const TemporaryDirectory directory;
    const std::string data(3 * 256 * 1024 + 17, 'x');
    const FileDigest file = digestFile(directory.write("file", data).string());
    EXPECT_EQ(file.length, data.size());
    EXPECT_EQ(file.sha256, digestBytes(data).sha256);
}

TEST(PackDigest, RefusesWhatIsNotARegularFile) {
    const TemporaryDirectory directory;
    const std::string pipe = (directory / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THROW(digestFile(pipe), PackError);
    EXPECT_THROW(digestFile(directory.path().string()), PackError);
    EXPECT_THROW(digestFile((directory / "absent").string()), PackError);
}

TEST(PackDigest, Base64PadsToFullGroups) {
    EXPECT_EQ(toBase64({}), "");
    EXPECT_EQ(toBase64({0x66}), "Zg==");
    EXPECT_EQ(toBase64({0x66, 0x6f}), "Zm8=");
    EXPECT_EQ(toBase64({0x66, 0x6f, 0x6f}), "Zm9v");
}

}  // namespace
