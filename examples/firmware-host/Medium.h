// Flushes written files to the medium.

#pragma once

#include <Norv/Corvane/Common/FirmwareDescription.h>

#include <string>

// Flushes every file system that files of the package were written to. The verdict of the installer
// says that the files are written, not that they outlast a power cut: for up to half a minute they
// may be in memory only, and a cut leaves them empty or old. Throws `HostError` when a flush fails.
//
// Whatever a script writes elsewhere, the script has to flush.
void flushToMedium(const std::string& target,
                   const Norv::Corvane::Common::FirmwareDescription& description);
