#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

constexpr std::size_t helpColumn = 30;
constexpr std::size_t helpWidth = 94;

std::string nameOf(const CLI::Option& option) {
    return option.get_positional() ? option.get_name(true, false) : option.get_name();
}

// "-h, --help", "--key KEY".
std::string usageOf(const CLI::Option& option) {
    std::string text;
    for (const std::string& name : option.get_snames()) {
        text += "-" + name + ", ";
    }
    for (const std::string& name : option.get_lnames()) {
        text += "--" + name;
    }
    const std::string type = option.get_type_name();
    return type.empty() ? text : text + " " + type;
}

// The words of the text in lines, all but the first of them indented.
std::string wrapped(const std::string& text) {
    std::istringstream words(text);
    std::string result;
    std::size_t column = helpColumn;
    for (std::string word; words >> word;) {
        if (column + 1 + word.size() > helpWidth) {
            result += "\n" + std::string(helpColumn, ' ');
            column = helpColumn;
        }
        result += (column == helpColumn ? "" : " ") + word;
        column += word.size() + (column == helpColumn ? 0 : 1);
    }
    return result;
}

std::string optionLine(const CLI::Option& option) {
    std::string line = "  " + usageOf(option);
    line += line.size() + 1 < helpColumn ? std::string(helpColumn - line.size(), ' ')
                                         : "\n" + std::string(helpColumn, ' ');
    return line + wrapped(option.get_description()) + "\n";
}

// CLI11 takes "--option=" for an option whose value follows.
void refuseEmptyAssignment(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        const bool named = argument.compare(0, 2, "--") == 0 && argument.find('=') != argument.npos;
        if (named && argument.find('=') + 1 == argument.size()) {
            throw UsageError(printable(argument.substr(0, argument.size() - 1)) +
                             " has an empty value");
        }
    }
}

void checkValues(const CLI::App& app) {
    for (const CLI::Option* option : app.get_options()) {
        const std::string name = nameOf(*option);
        const bool single = option->get_multi_option_policy() != CLI::MultiOptionPolicy::TakeAll;
        if (single && option->count() > 1 && option->get_items_expected_max() > 0) {
            throw UsageError(name + " is given twice");
        }
        for (const std::string& value : option->results()) {
            // Names in the archive and the like are checked with what they are about.
            if (single && value.empty()) {
                throw UsageError(name + " has an empty value");
            }
        }
    }
}

// The name that the library's message begins with.
std::string optionIn(const std::string& message) {
    return message.substr(0, message.find(':'));
}

}  // namespace

bool parseOptions(const Command& command, const std::vector<std::string>& arguments,
                  Options& options) {
    CLI::App app;
    app.allow_extras();
    command.configure(app, options);
    refuseEmptyAssignment(arguments);
    try {
        // The library takes them from the end.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return false;
    } catch (const CLI::ArgumentMismatch& error) {
        throw UsageError(optionIn(error.what()) + " lacks a value");
    } catch (const CLI::ParseError& error) {
        throw UsageError(printable(error.what()));
    }
    if (const std::vector<std::string> extras = app.remaining(); !extras.empty()) {
        throw UsageError("unknown option " + printable(extras.front()));
    }
    checkValues(app);
    return true;
}

std::string optionsText(const Command& command) {
    Options options;
    CLI::App app;
    command.configure(app, options);
    std::string text;
    const CLI::App& view = app;
    for (const std::string& group : view.get_groups()) {
        const std::vector<const CLI::Option*> members =
            view.get_options([&](const CLI::Option* option) {
                return option->get_group() == group && !option->get_positional();
            });
        if (members.empty()) {
            continue;
        }
        text += "\n" + group + ":\n";
        for (const CLI::Option* option : members) {
            text += optionLine(*option);
        }
    }
    return text;
}

std::string helpText(const Command& command) {
    return std::string("Usage: firmware-pack ") + command.name + " " + command.synopsis + "\n\n" +
           command.summary + "\n" + command.description + optionsText(command) + "\n" +
           "Exit status: " + exitStatusText;
}

std::string helpText() {
    std::string text =
        std::string("Usage: ") + programSynopsis + "\n\n" + programDescription + "\nCommands:\n";
    for (const Command& command : commands()) {
        std::string line = std::string("  ") + command.name;
        line += std::string(helpColumn - line.size(), ' ');
        text += line + command.summary + "\n";
    }
    return text +
           "\nfirmware-pack COMMAND --help says more about a command.\n"
           "\nOptions:\n"
           "  -h, --help                  print this text and exit\n"
           "  --version                   print the version and exit\n\n" +
           "Exit status: " + exitStatusText;
}

void requireOptions(const std::vector<RequiredOption>& options) {
    std::vector<std::string> missing;
    for (const RequiredOption& option : options) {
        if (!option.given) {
            missing.emplace_back(option.name);
        }
    }
    if (!missing.empty()) {
        throw UsageError(enumeration(missing) + (missing.size() == 1 ? " is" : " are") +
                         " missing");
    }
}

}  // namespace Norv::Corvane::Pack
