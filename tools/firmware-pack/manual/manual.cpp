// Fills the templates of the manual pages and of the completion from the tables of the program.
//
// usage: firmware-pack-manual TEMPLATE > PAGE

#include <CLI/CLI.hpp>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "ReleaseFile.h"

namespace {

using namespace Norv::Corvane::Pack;

// Text that stands for itself in a manual page.
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

// An option in bold, what it takes in italics, on one line.
std::string optionEntry(const CLI::Option& option) {
    std::string tag;
    for (const std::string& name : option.get_snames()) {
        tag += "\\fB\\-" + roff(name) + "\\fR, ";
    }
    for (const std::string& name : option.get_lnames()) {
        tag += "\\fB\\-\\-" + roff(name) + "\\fR";
    }
    const std::string type = option.get_type_name();
    return ".TP\n" + tag + (type.empty() ? "" : " \\fI" + roff(type) + "\\fR") + "\n" +
           roff(option.get_description()) + "\n";
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return !option->get_positional(); });
}

std::string commandSection(const Command& command) {
    Options options;
    CLI::App app;
    command.configure(app, options);
    std::string text = ".SS " + std::string(command.name) + "\n" + roff(command.summary) + "\n" +
                       roff(command.description);
    for (const CLI::Option* option : optionsOf(app)) {
        text += optionEntry(*option);
    }
    return text;
}

std::string synopses() {
    std::string text;
    for (const Command& command : commands()) {
        text += (text.empty() ? "" : ".br\n") + std::string(".B firmware\\-pack ") + command.name +
                "\n" + roff(command.synopsis) + "\n";
    }
    return text;
}

std::string keySection(const std::vector<ReleaseKey>& keys) {
    std::string text;
    for (const ReleaseKey& key : keys) {
        text += ".TP\n\\fB" + roff(key.name) + "\\fR (" + key.type + ")\n" + roff(key.text) + "\n";
    }
    return text;
}

std::string completionOptions() {
    std::string text;
    for (const Command& command : commands()) {
        Options options;
        CLI::App app;
        command.configure(app, options);
        text += "    " + std::string(command.name) + ") options='";
        for (const CLI::Option* option : optionsOf(app)) {
            text += (text.back() == '\'' ? "--" : " --") + option->get_lnames().front();
        }
        text += "' ;;\n";
    }
    return text + "    *) options='' ;;";
}

// Options whose value is no file.
std::string valueOptions() {
    std::set<std::string> names;
    for (const Command& command : commands()) {
        Options options;
        CLI::App app;
        command.configure(app, options);
        for (const CLI::Option* option : optionsOf(app)) {
            const std::string type = option->get_type_name();
            if (type == "CODE" || type == "A.B.C.D" || type == "TEXT" || type == "NUMBER" ||
                type == "NAME") {
                names.insert("--" + option->get_lnames().front());
            }
        }
    }
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : " | ") + name;
    }
    return text;
}

std::string commandNames() {
    std::string text;
    for (const Command& command : commands()) {
        text += (text.empty() ? "" : " ") + std::string(command.name);
    }
    return text;
}

std::string commandSections() {
    std::string text;
    for (const Command& command : commands()) {
        text += commandSection(command);
    }
    return text;
}

void replaceAll(std::string& text, const std::string& name, const std::string& value) {
    const std::string mark = "@" + name + "@";
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += value.size()) {
        text.replace(at, mark.size(), value);
    }
}

// Lines end where the template's do.
std::string trimmed(std::string text) {
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        return 2;
    }
    std::ifstream file(argv[1]);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    const bool completion = text.compare(0, 1, "#") == 0;
    replaceAll(text, "VERSION", CORVANE_VERSION);
    replaceAll(text, "SYNOPSES", trimmed(synopses()));
    replaceAll(text, "DESCRIPTION", trimmed(roff(programDescription)));
    replaceAll(text, "COMMANDS", completion ? commandNames() : trimmed(commandSections()));
    replaceAll(text, "KEYS", trimmed(keySection(releaseKeys())));
    replaceAll(text, "PAYLOAD_KEYS", trimmed(keySection(payloadKeys())));
    replaceAll(text, "OPTIONS", completionOptions());
    replaceAll(text, "VALUE_OPTIONS", valueOptions());
    std::cout << text << std::flush;
    return std::cout && !text.empty() ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
