// The command line of firmware-host.

#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "Device.h"

struct Arguments {
    enum class Action { Install, Verify, DryRun, ShowHelp, ShowVersion };

    Action action = Action::Install;
    bool verbose = false;
    bool json = false;
    bool checkPayload = true;
    bool allowDowngrade = false;
    std::optional<std::string> deviceFile;
    // What the options say; nothing when `deviceFile` says it.
    Device device;
    std::optional<std::string> scriptLog;
    std::string certificate;
    std::string package;
    // Empty with `Verify` only.
    std::string target;
};

// The text says which argument is wrong.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws `UsageError`. With "--help" and "--version" nothing else is required.
Arguments parseArguments(int argc, const char* const* argv);
