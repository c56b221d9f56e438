#include "Help.h"

#include <algorithm>
#include <stdexcept>

const char helpDescription[] =
    R"(Checks the signature of the firmware package PACKAGE against the trusted PEM certificate
CERTIFICATE, checks its payload, and installs its files below the directory TARGET, which is made if
it is missing. Scripts in the package are run.)";

const char helpExitStatus[] =
    R"(0 when everything was installed and is on the medium, or was found valid, 1 when it was not, 2
for wrong usage, 3 when it ended without success after a request for cancellation.)";

namespace {

std::string leftColumn(const HelpOption& option) {
    const std::string argument = option.argument;
    return "  " + std::string(option.name) + (argument.empty() ? "" : " " + argument);
}

}  // namespace

const std::vector<HelpOption>& helpOptions() {
    static const std::vector<HelpOption> options = {
        {"--verify", "", "check the package and its payload, install nothing"},
        {"--dry-run", "", "as --verify, and say whether each file is new, the same or changed"},
        {"--json", "", "write one JSON object a line instead of text"},
        {"--no-check", "", "do not check the whole payload before the first file is installed"},
        {"--device-file", "FILE", "read model, hardware revision and installed version from FILE"},
        {"--model", "MODEL", "refuse a package for another model than MODEL"},
        {"--hardware-revision", "REVISION", "refuse a package that does not support REVISION"},
        {"--installed-version", "VERSION", "refuse a package that is older than VERSION"},
        {"--allow-downgrade", "", "install an older version as well"},
        {"--script-log", "FILE", "append what scripts print to FILE instead of showing it"},
        {"--check", "", "check the payload first, which is the default by now"},
        {"--verbose", "", "show everything that the library logs, not only warnings and errors"},
        {"--version", "", "print the version and exit"},
        {"--help", "", "print this text and exit"},
    };
    return options;
}

std::string optionText(const std::string& name) {
    const std::vector<HelpOption>& options = helpOptions();
    const auto option =
        std::find_if(options.begin(), options.end(),
                     [&](const HelpOption& candidate) { return name == candidate.name; });
    if (option == options.end()) {
        throw std::out_of_range(name);
    }
    return option->text;
}

std::string helpText() {
    constexpr std::size_t columns = 32;
    std::string text =
        "Usage: firmware-host [OPTION]... CERTIFICATE PACKAGE TARGET\n"
        "       firmware-host --verify [OPTION]... CERTIFICATE PACKAGE [TARGET]\n\n";
    text += std::string(helpDescription) + "\n\n";
    for (const HelpOption& option : helpOptions()) {
        std::string line = leftColumn(option);
        line.resize(std::max(columns, line.size() + 2), ' ');
        text += line + option.text + '\n';
    }
    text +=
        "\nCtrl-C (SIGINT), SIGTERM and SIGHUP ask for cancellation: the file under way is "
        "finished, and\nwhat is installed by then stays.\n\n";
    return text + "Exit status:\n" + helpExitStatus + '\n';
}
