#include "Norv/Corvane/Common/FileWriter.h"

#include <boost/filesystem/operations.hpp>

#include "InstallationPath.h"
#include "Log.h"

namespace Norv::Corvane::Common {

FileWriter::FileWriter(const boost::filesystem::path& targetDir,
                       const FirmwareDescription::File& file) {
    const boost::filesystem::path path = installationPath(targetDir, file);
    const boost::filesystem::path parent = path.parent_path();

    if (!boost::filesystem::exists(boost::filesystem::status(parent))) {
        boost::system::error_code error;
        boost::filesystem::create_directories(parent, error);
        if (error) {
            Log::error("Failed to create directory {} ({})", parent.native(), error.message());
            stream_.setstate(std::ios::failbit);
            return;
        }
    }
    stream_.open(path.native(), std::ios::out | std::ios::binary);
    if (!stream_) {
        Log::error("Failde to open file {}", parent.native());
    }
}

void FileWriter::write(libtorrent::span<const unsigned char> data, bool last) {
    if (!stream_) {
        return;
    }
    stream_.write(reinterpret_cast<const char*>(data.data()), data.size());
    if (last) {
        stream_.flush();
    }
}

bool FileWriter::done() {
    const bool written = stream_.good();
    stream_.close();
    return written && stream_.good();
}

}  // namespace Norv::Corvane::Common
