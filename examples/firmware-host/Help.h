// What `--help` says. The manual page and the shell completion are made from it as well.

#pragma once

#include <string>
#include <vector>

struct HelpOption {
    const char* name;
    // What it takes; empty for a flag.
    const char* argument;
    const char* text;
};
const std::vector<HelpOption>& helpOptions();

extern const char helpDescription[];
extern const char helpExitStatus[];

// What the table of options says about this one. Throws `std::out_of_range` for an unknown name.
std::string optionText(const std::string& name);

std::string helpText();
