// The one exception of the package builder.

#pragma once

#include <stdexcept>

namespace Norv::Corvane::Pack {

// Input that cannot become a package, or output that cannot be written. The text is complete: it
// names the file, option or value at fault and is meant for the person who runs the tool.
class PackError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace Norv::Corvane::Pack
