// Extracts the payload of a package.

#pragma once

#include <string>

#include "Progress.h"

namespace Norv::Corvane::Pack {

// Which of its two paths a file gets.
enum class Layout { Archive, Installed };

// Writes the payload that a device would read below the folder, which is made if it is missing, and
// returns the number of files. No path leads out of the folder, through a link, or over something
// that is there already. Throws `PackError` for the first file that cannot be written like that, is
// missing, or has another digest than the manifest says. Removes that file and leaves the ones
// before it.
std::size_t extractPackage(const std::string& package, const std::string& folder, Layout layout,
                           const ProgressSink& progress);

}  // namespace Norv::Corvane::Pack
