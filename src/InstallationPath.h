// Where a payload file goes: one rule for the sink that writes it and the sink that runs it.

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "Norv/Corvane/Common/FirmwareDescription.h"

namespace Norv::Corvane::Common {

inline const std::string& installationPath(const FirmwareDescription::File& file) {
    return file.remoteFilePath ? *file.remoteFilePath : file.localFilePath;
}

// The append rule of version 3 of Boost.Filesystem: an installation path that begins with "/" still
// lands below `targetDir`. Nothing is normalised.
inline boost::filesystem::path installationPath(const boost::filesystem::path& targetDir,
                                                const FirmwareDescription::File& file) {
    static_assert(BOOST_FILESYSTEM_VERSION == 3, "a later append rule would leave the target");
    return targetDir / installationPath(file);
}

}  // namespace Norv::Corvane::Common
