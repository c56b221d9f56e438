// Fills the templates of the manual page and of the completion from what `--help` says.
//
// usage: firmware-host-manual TEMPLATE > PAGE

#include "Manual.h"

#include "Help.h"

namespace {

using namespace Norv::Corvane;

Manual::Values values() {
    std::string options;
    std::vector<std::string> names;
    std::vector<std::string> withArgument;
    for (const HelpOption& option : helpOptions()) {
        options += Manual::optionEntry({option.name}, option.argument, option.text);
        names.emplace_back(option.name);
        if (*option.argument != '\0') {
            withArgument.emplace_back(option.name);
        }
    }
    return {{"VERSION", CORVANE_VERSION},
            {"DESCRIPTION", Manual::roff(helpDescription)},
            {"OPTIONS", options},
            {"EXIT_STATUS", Manual::roff(helpExitStatus)},
            {"OPTION_NAMES", Manual::joined(names, " ")},
            {"VALUE_OPTIONS", Manual::joined(withArgument, " | ")}};
}

}  // namespace

int main(int argc, char** argv) {
    return Manual::print(argc, argv, values);
}
