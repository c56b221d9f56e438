// What `--help` says. The manual page and the shell completion are made from it as well.

#pragma once

#include <string>

// What the table of options says about this one. Throws `std::out_of_range` for an unknown name.
std::string optionText(const std::string& name);

std::string helpText();
