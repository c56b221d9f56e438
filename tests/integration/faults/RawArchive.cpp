#include "RawArchive.h"

#include <zlib.h>

namespace Norv::Corvane::Test {
namespace {

std::string little(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> (8 * i));
    }
    return text;
}

std::string u16(std::size_t value) {
    return little(value, 2);
}

std::string u32(std::size_t value) {
    return little(value, 4);
}

std::uint32_t checksumOf(const std::string& data) {
    return static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
}

// The fields that the local header and the directory record share.
std::string commonFields(const RawEntry& entry) {
    return u16(20) + u16(entry.flags) + u16(entry.method) + u32(0x00210000) +
           u32(entry.checksum.value_or(checksumOf(entry.data))) +
           u32(entry.compressedSize.value_or(static_cast<std::uint32_t>(entry.data.size()))) +
           u32(entry.size.value_or(static_cast<std::uint32_t>(entry.data.size())));
}

}  // namespace

std::string rawArchive(const std::vector<RawEntry>& entries, const RawEnd& end) {
    std::string archive;
    std::string directory;
    for (const RawEntry& entry : entries) {
        const std::string localName = entry.localName.value_or(entry.name);
        directory += "PK\1\2" + u16(20) + commonFields(entry) + u16(entry.name.size()) +
                     u16(entry.extra.size()) + u16(0) + u16(0) + u16(0) + u32(0) +
                     u32(entry.offset.value_or(static_cast<std::uint32_t>(archive.size()))) +
                     entry.name + entry.extra;
        archive += "PK\3\4" + commonFields(entry) + u16(localName.size()) + u16(0) + localName +
                   entry.data;
    }
    const std::size_t offset = archive.size();
    const std::size_t count = end.count.value_or(static_cast<std::uint16_t>(entries.size()));
    return archive + directory + end.before + "PK\5\6" + u16(0) + u16(0) + u16(count) + u16(count) +
           u32(end.directorySize.value_or(static_cast<std::uint32_t>(directory.size()))) +
           u32(end.directoryOffset.value_or(static_cast<std::uint32_t>(offset))) +
           u16(end.commentLength.value_or(0));
}

std::string zip64Sizes(std::uint64_t size, std::uint64_t compressedSize) {
    return u16(1) + u16(16) + little(size, 8) + little(compressedSize, 8);
}

std::string zip64End(std::uint64_t count, std::uint64_t directorySize,
                     std::uint64_t directoryOffset, std::uint64_t recordOffset) {
    return "PK\6\6" + little(44, 8) + u16(45) + u16(45) + u32(0) + u32(0) + little(count, 8) +
           little(count, 8) + little(directorySize, 8) + little(directoryOffset, 8) + "PK\6\7" +
           u32(0) + little(recordOffset, 8) + u32(1);
}

}  // namespace Norv::Corvane::Test
