#include "Manual.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace Norv::Corvane::Manual {

namespace {

constexpr const char* placeCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ_";

std::string trimmed(std::string text) {
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

std::string filled(const std::string& text, const Values& values) {
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = 0; (at = text.find('@', at)) != std::string::npos;) {
        const std::size_t end = text.find_first_not_of(placeCharacters, at + 1);
        if (end == std::string::npos || text[end] != '@' || end == at + 1) {
            ++at;
            continue;
        }
        const std::string place = text.substr(at + 1, end - at - 1);
        const auto value = values.find(place);
        if (value == values.end()) {
            throw std::runtime_error("nothing is known to put in the place of @" + place + "@");
        }
        result += text.substr(done, at - done) + trimmed(value->second);
        done = at = end + 1;
    }
    return result + text.substr(done);
}

}  // namespace

std::string roff(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const bool lineStart = result.empty() || result.back() == '\n';
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += (lineStart && (c == '.' || c == '\'') ? "\\&" : "") + std::string(1, c);
        }
    }
    return result;
}

std::string optionEntry(const std::vector<std::string>& names, const std::string& argument,
                        const std::string& text) {
    std::vector<std::string> bold;
    bold.reserve(names.size());
    for (const std::string& name : names) {
        bold.push_back("\\fB" + roff(name) + "\\fR");
    }
    return ".TP\n" + joined(bold, ", ") +
           (argument.empty() ? "" : " \\fI" + roff(argument) + "\\fR") + "\n" + roff(text) + "\n";
}

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

int print(int argc, char** argv, Values (*values)()) try {
    if (argc != 2) {
        return 2;
    }
    std::ifstream file(argv[1]);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (text.empty()) {
        throw std::runtime_error("no template: " + std::string(argv[1]));
    }
    std::cout << filled(text, values()) << std::flush;
    return std::cout ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}

}  // namespace Norv::Corvane::Manual
