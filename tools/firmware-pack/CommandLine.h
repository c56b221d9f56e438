// The command line of firmware-pack: its commands, their options, and the help. The manual page and
// the completion are made from the same tables.

#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Release.h"

namespace Norv::Corvane::Pack {

// What the arguments of any command say. Only what was given is engaged.
struct Options {
    // Of `build` and `prepare`, and the key, certificate and output of the others.
    Release release;
    std::optional<std::string> releaseFile;

    std::optional<std::string> passphraseFile;
    std::optional<std::string> passphraseDescriptor;
    std::optional<std::string> passphraseVariable;
    std::optional<std::string> module;

    std::optional<std::string> package;
    std::optional<std::string> folder;
    std::optional<std::string> signatureFile;
    std::optional<std::string> toSign;

    bool strict = false;
    bool lenient = false;
    bool allowWeakKey = false;
    bool quiet = false;
    bool json = false;
    bool installed = false;
};

// An option that is unknown, repeated, incomplete or missing. The text says which.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Command {
    const char* name;
    // The arguments, for the first line of the help.
    const char* synopsis;
    // One line, and further text.
    const char* summary;
    const char* description;
    // Adds the options; their values go into `options`.
    void (*configure)(CLI::App& app, Options& options);
    // Returns the exit status.
    int (*run)(const Options& options);
};

const std::vector<Command>& commands();

// What `firmware-pack --help` prints before and after the list of commands.
extern const char programSynopsis[];
extern const char programDescription[];
extern const char exitStatusText[];

// Fills `options` from the arguments after the command's name. False when help is asked for. Throws
// `UsageError`.
bool parseOptions(const Command& command, const std::vector<std::string>& arguments,
                  Options& options);

// The groups of options with their lines, as the help shows them.
std::string optionsText(const Command& command);
std::string helpText(const Command& command);
std::string helpText();

// Throws `UsageError` that names all options of which the value is missing.
struct RequiredOption {
    const char* name;
    bool given;
};
void requireOptions(const std::vector<RequiredOption>& options);

}  // namespace Norv::Corvane::Pack
