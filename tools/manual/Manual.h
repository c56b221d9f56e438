// Manual pages and completions: templates whose places, such as @OPTIONS@, are filled from the
// tables that the help of a program is printed from.

#pragma once

#include <map>
#include <string>
#include <vector>

namespace Norv::Corvane::Manual {

// Text that stands for itself in a manual page.
std::string roff(const std::string& text);

// The names of an option in bold, with their dashes, what it takes in italics, what it does.
std::string optionEntry(const std::vector<std::string>& names, const std::string& argument,
                        const std::string& text);

std::string joined(const std::vector<std::string>& words, const std::string& separator);

// What to put in each place, by the capitals between the @.
using Values = std::map<std::string, std::string>;

// The `main` of a program that prints the template it is given, filled. Lines end where the
// template's do. A place without a value is an error.
int print(int argc, char** argv, Values (*values)());

}  // namespace Norv::Corvane::Manual
