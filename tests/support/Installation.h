// Installations for tests: from a package to what the caller was told.

#pragma once

#include <boost/filesystem/path.hpp>
#include <vector>

#include "Norv/Corvane/Common/ValidatedFirmwareZip.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {

// What one installation told its caller, in order.
struct InstallationReport {
    std::vector<unsigned int> progress;
    std::vector<bool> verdicts;
};

// Installs and waits for the end.
InstallationReport installAndWait(Common::ValidatedFirmwareZip firmware,
                                  const boost::filesystem::path& target);

// The package that `builder` describes, open and without a trace on disk. It has no signature, and
// nobody asked for one. Throws `std::runtime_error` if it does not pass for another reason.
Common::ValidatedFirmwareZip unsignedPackage(PackageBuilder builder);

}  // namespace Norv::Corvane::Test
