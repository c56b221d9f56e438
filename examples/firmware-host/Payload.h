// The payload of a package: how much it is, whether it is sound, and what it would change.

#pragma once

#include <Norv/Corvane/Common/ValidatedFirmwareZip.h>

#include <cstdint>
#include <string>

#include "Report.h"

// The sum of all lengths. `FirmwareDescription::totalLength` wraps at 4 GiB; this does not.
std::uint64_t payloadBytes(const Norv::Corvane::Common::FirmwareDescription& description);

// For example "3 files, 4.0 MiB".
std::string payloadSummary(const Norv::Corvane::Common::FirmwareDescription& description);

// Where the installer puts the file, below the target.
const std::string& installationPath(const Norv::Corvane::Common::FirmwareDescription::File& file);

// Reads every file of the package once and throws `HostError` unless all have the digest and the
// length that the manifest states. The installer writes each file before it knows its digest:
// without this, an unsigned payload in an honest package replaces the files of the device, and
// stays.
void checkPayload(const Norv::Corvane::Common::ValidatedFirmwareZip& firmware);

// What the installation of one file would do below `target`. Throws `HostError` when that cannot be
// determined, or nothing could be installed there.
FileState compareFile(const Norv::Corvane::Common::ValidatedFirmwareZip& firmware,
                      const Norv::Corvane::Common::FirmwareDescription::File& file,
                      const std::string& target);
