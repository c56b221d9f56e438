#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"

namespace {

using namespace Norv::Corvane::Pack;

int print(const std::string& text) {
    std::cout << text << std::flush;
    return std::cout ? 0 : 1;
}

const Command* findCommand(const std::string& name) {
    for (const Command& command : commands()) {
        if (name == command.name) {
            return &command;
        }
    }
    return nullptr;
}

int runProgram(std::vector<std::string> arguments) {
    if (arguments.empty()) {
        throw UsageError("a command is missing");
    }
    const std::string first = arguments.front();
    if (first == "-h" || first == "--help") {
        return print(helpText());
    }
    // With a value it is an option of build.
    if (arguments.size() == 1 && first == "--version") {
        return print("firmware-pack " CORVANE_VERSION "\n");
    }
    Options options;
    const Command* command = findCommand(first);
    if (command != nullptr) {
        arguments.erase(arguments.begin());
    } else if (first.empty() || first.front() != '-') {
        throw UsageError("unknown command " + first);
    } else {
        // The form of the first releases, for the scripts that use it.
        command = findCommand("build");
        options.lenient = true;
        options.quiet = true;
    }
    return parseOptions(*command, arguments, options) ? command->run(options)
                                                      : print(helpText(*command));
}

}  // namespace

int main(int argc, char** argv) {
    // Exceeding a file size limit must be a failed write, which cleans up after itself.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return runProgram({argv + (argc > 0 ? 1 : 0), argv + argc});
    } catch (const UsageError& error) {
        report("error", error.what());
        std::cerr << "Try firmware-pack --help.\n";
        return 2;
    } catch (const std::exception& error) {
        report("error", error.what());
        return 1;
    }
}
