// The sink that runs an installed script.
//
// Made for one file, used on one thread. Ignores the bytes. Call `done` at most once, after the
// file was closed on disk; it blocks until the script has ended, without a time limit. Running a
// script sets the process's SIGCHLD disposition to the default.

#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>
#include <libtorrent/span.hpp>

#include "Norv/Corvane/Common/FirmwareDescription.h"
#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT ScriptRunner {
public:
    // A file of kind `FileKind::Script` whose installation path ends in "Script.run".
    static bool IsExecutableScriptFile(const FirmwareDescription::File& file);

    ScriptRunner(const boost::filesystem::path& targetDir, const FirmwareDescription::File& file);

    void write(libtorrent::span<const unsigned char> data, bool last);

    // Makes the script executable for its owner and runs it through "/bin/sh" in this process's
    // environment. True when there is no script, or it exited with status 0. The path is not
    // quoted: one that contains a blank fails. Throws `boost::filesystem::filesystem_error` when
    // the file's state or permissions cannot be read or changed, and
    // `boost::process::process_error` when the script cannot be waited for.
    bool done();

private:
    boost::optional<boost::filesystem::path> script_;
};

}  // namespace Norv::Corvane::Common
