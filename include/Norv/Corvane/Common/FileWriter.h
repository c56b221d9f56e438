// The sink that puts one payload file on disk.
//
// Made for one file, fed chunk by chunk, finished by `done`, all on one thread. `done` reports
// whether creating, opening and writing the file succeeded; these failures are not thrown. A file
// that was written, wholly or in part, is never removed.

#pragma once

#include <boost/filesystem/path.hpp>
#include <fstream>
#include <libtorrent/span.hpp>

#include "Norv/Corvane/Common/FirmwareDescription.h"
#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT FileWriter {
public:
    // Opens the file at its installation path below `targetDir` and truncates it; creates missing
    // directories first. A leading "/" of the installation path does not leave `targetDir`. Throws
    // `boost::filesystem::filesystem_error` when the state of the parent directory cannot be
    // determined.
    FileWriter(const boost::filesystem::path& targetDir, const FirmwareDescription::File& file);

    // Appends `data`; flushes when it is the `last` chunk. Does nothing after a failure.
    void write(libtorrent::span<const unsigned char> data, bool last);

    // Closes the file. True when everything since construction succeeded.
    bool done();

private:
    std::ofstream stream_;
};

}  // namespace Norv::Corvane::Common
