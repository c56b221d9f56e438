#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "Help.h"
#include "HostError.h"

namespace {

using Action = Arguments::Action;

// As they stand on the command line, not yet interpreted.
struct Words {
    bool help = false;
    bool version = false;
    bool verify = false;
    bool dryRun = false;
    bool check = false;
    bool noCheck = false;
    std::vector<std::string> model;
    std::vector<std::string> revision;
    std::vector<std::string> installedVersion;
    std::vector<std::string> deviceFile;
    std::vector<std::string> scriptLog;
    std::vector<std::string> paths;
};

void describe(CLI::App& app, Words& words, Arguments& arguments) {
    const auto flag = [&](const char* name, bool& value) {
        app.add_flag(name, value, optionText(name))->disable_flag_override();
    };
    const auto option = [&](const char* name, std::vector<std::string>& values) {
        app.add_option(name, values, optionText(name))
            ->expected(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    };
    app.set_help_flag();
    app.add_flag("-h,--help", words.help, optionText("--help"))->disable_flag_override();
    flag("--version", words.version);
    flag("--verify", words.verify);
    flag("--dry-run", words.dryRun);
    flag("--check", words.check);
    flag("--no-check", words.noCheck);
    flag("--json", arguments.json);
    flag("--verbose", arguments.verbose);
    flag("--allow-downgrade", arguments.allowDowngrade);
    option("--device-file", words.deviceFile);
    option("--model", words.model);
    option("--hardware-revision", words.revision);
    option("--installed-version", words.installedVersion);
    option("--script-log", words.scriptLog);
    app.add_option("paths", words.paths);
}

[[noreturn]] void refuse(const std::string& text) {
    throw UsageError(text);
}

// CLI11 would take the next word for the value that is missing in "--option=".
void refuseEmptyValues(int argc, const char* const* argv) {
    for (int i = 1; i < argc && std::string(argv[i]) != "--"; ++i) {
        const std::string word = argv[i];
        if (word.rfind("--", 0) == 0 && word.back() == '=') {
            refuse("option " + word.substr(0, word.size() - 1) + " needs a value");
        }
    }
}

// CLI11 names the option at the beginning of its text, a flag without the hyphens.
[[noreturn]] void refuseMismatch(const CLI::App& app, const std::string& text) {
    std::string name = text.substr(0, text.find_first_of(": "));
    name.insert(0, name.front() == '-' ? "" : "--");
    const CLI::Option* const option = app.get_option_no_throw(name);
    const bool isFlag = option != nullptr && option->get_expected_max() == 0;
    refuse("option " + name + (isFlag ? " takes no value" : " needs a value"));
}

void parseWords(int argc, const char* const* argv, Words& words, Arguments& arguments) {
    refuseEmptyValues(argc, argv);
    CLI::App app;
    describe(app, words, arguments);
    app.allow_extras();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ArgumentMismatch& error) {
        refuseMismatch(app, error.what());
    } catch (const CLI::ParseError& error) {
        refuse(error.what());
    }
    for (const std::string& word : app.remaining()) {
        // CLI11 also leaves the "--" that ends the options.
        if (word != "--") {
            refuse("unknown option " + word);
        }
    }
}

// The value of an option that may be given once.
std::optional<std::string> single(const char* name, const std::vector<std::string>& values) {
    if (values.empty()) {
        return std::nullopt;
    }
    if (values.size() > 1) {
        refuse(std::string(name) + " is given more than once");
    }
    if (values.front().empty()) {
        refuse("the value of " + std::string(name) + " is empty");
    }
    return values.front();
}

Device deviceOf(const Words& words) {
    Device device;
    device.hardwareRevision = single("--hardware-revision", words.revision);
    try {
        if (const auto model = single("--model", words.model)) {
            device.model = parseModel(*model);
        }
        if (const auto version = single("--installed-version", words.installedVersion)) {
            device.installedVersion = parseVersion(*version);
        }
    } catch (const HostError& error) {
        refuse(error.what());
    }
    return device;
}

void takeDevice(const Words& words, Arguments& arguments) {
    arguments.deviceFile = single("--device-file", words.deviceFile);
    arguments.device = deviceOf(words);
    const Device& device = arguments.device;
    if (arguments.deviceFile &&
        (device.model || device.hardwareRevision || device.installedVersion)) {
        refuse("--device-file goes without --model, --hardware-revision and --installed-version");
    }
    if (arguments.allowDowngrade && !arguments.deviceFile && !device.installedVersion) {
        refuse("--allow-downgrade goes with --installed-version or --device-file");
    }
}

void takeAction(const Words& words, Arguments& arguments) {
    if (words.verify && words.dryRun) {
        refuse("--verify and --dry-run exclude each other");
    }
    if (words.check && words.noCheck) {
        refuse("--check and --no-check exclude each other");
    }
    if (words.noCheck && (words.verify || words.dryRun)) {
        refuse(std::string("--no-check does not go with ") +
               (words.verify ? "--verify" : "--dry-run"));
    }
    if (!words.scriptLog.empty() && (words.verify || words.dryRun)) {
        refuse(std::string("--script-log does not go with ") +
               (words.verify ? "--verify" : "--dry-run") + ", which runs no script");
    }
    arguments.checkPayload = !words.noCheck;
    arguments.action = words.verify   ? Action::Verify
                       : words.dryRun ? Action::DryRun
                                      : Action::Install;
    arguments.scriptLog = single("--script-log", words.scriptLog);
}

const std::string& nonEmpty(const char* what, const std::string& path) {
    if (path.empty()) {
        refuse("the path of the " + std::string(what) + " is empty");
    }
    return path;
}

void takePaths(const Words& words, Arguments& arguments) {
    const std::vector<std::string>& paths = words.paths;
    if (paths.size() > 3 || paths.size() < (words.verify ? 2 : 3)) {
        refuse(words.verify
                   ? "two or three paths are needed: certificate, package and target directory"
                   : "three paths are needed: certificate, package and target directory");
    }
    arguments.certificate = nonEmpty("certificate", paths[0]);
    arguments.package = nonEmpty("package", paths[1]);
    if (paths.size() == 3) {
        arguments.target = nonEmpty("target directory", paths[2]);
    }
}

}  // namespace

Arguments parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    Words words;
    parseWords(argc, argv, words, arguments);
    if (words.help || words.version) {
        arguments.action = words.help ? Action::ShowHelp : Action::ShowVersion;
        return arguments;
    }
    takeAction(words, arguments);
    takeDevice(words, arguments);
    takePaths(words, arguments);
    return arguments;
}
