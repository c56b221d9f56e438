// The command line of firmware-pack.

#pragma once

#include <stdexcept>
#include <string>

#include "Package.h"

namespace Norv::Corvane::Pack {

struct Arguments {
    bool help = false;
    std::string key;
    std::string certificate;
    bool includeCertificate = false;
    PackageInput input;
    std::string output;
};

// An option that is unknown, repeated, incomplete or missing. The text says which.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// With "--help" anywhere an option can stand, nothing else is required. Throws `UsageError`.
Arguments parseArguments(int argc, const char* const* argv);

extern const char usage[];

}  // namespace Norv::Corvane::Pack
