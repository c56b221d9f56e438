// The command line of firmware-host.

#pragma once

#include <stdexcept>
#include <string>

struct Arguments {
    bool help = false;
    bool verbose = false;
    bool checkFirst = false;
    std::string certificate;
    std::string package;
    std::string target;
};

// The text says which argument is wrong.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws `UsageError`. With "--help" nothing else is required.
Arguments parseArguments(int argc, const char* const* argv);

extern const char usage[];
