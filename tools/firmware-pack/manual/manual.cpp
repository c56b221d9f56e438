// Fills the templates of the manual pages and of the completion from the tables of the program.
//
// usage: firmware-pack-manual TEMPLATE > PAGE

#include "Manual.h"

#include <CLI/CLI.hpp>
#include <set>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "ReleaseFile.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Pack;
using Manual::roff;

std::string optionEntry(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return Manual::optionEntry(names, option.get_type_name(), option.get_description());
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

// The options of each command, as a case of the completion.
std::string completionOptions() {
    std::string text;
    for (const Command& command : commands()) {
        Options options;
        CLI::App app;
        command.configure(app, options);
        std::vector<std::string> names;
        for (const CLI::Option* option : optionsOf(app)) {
            names.push_back("--" + option->get_lnames().front());
        }
        text += "    " + std::string(command.name) + ") options='" + Manual::joined(names, " ") +
                "' ;;\n";
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
    return Manual::joined({names.begin(), names.end()}, " | ");
}

std::string commandNames() {
    std::vector<std::string> names;
    for (const Command& command : commands()) {
        names.emplace_back(command.name);
    }
    return Manual::joined(names, " ");
}

std::string commandSections() {
    std::string text;
    for (const Command& command : commands()) {
        text += commandSection(command);
    }
    return text;
}

Manual::Values values() {
    return {{"VERSION", CORVANE_VERSION},
            {"SYNOPSES", synopses()},
            {"DESCRIPTION", roff(programDescription)},
            {"COMMANDS", commandSections()},
            {"EXIT_STATUS", roff(exitStatusText)},
            {"KEYS", keySection(releaseKeys())},
            {"PAYLOAD_KEYS", keySection(payloadKeys())},
            {"COMMAND_NAMES", commandNames()},
            {"COMMAND_OPTIONS", completionOptions()},
            {"VALUE_OPTIONS", valueOptions()}};
}

}  // namespace

int main(int argc, char** argv) {
    return Norv::Corvane::Manual::print(argc, argv, values);
}
