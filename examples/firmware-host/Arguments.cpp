#include "Arguments.h"

#include <vector>

const char usage[] = R"(Usage: firmware-host [OPTION]... CERTIFICATE PACKAGE TARGET

Checks the signature of the firmware package PACKAGE against the trusted PEM certificate
CERTIFICATE and installs its files below the directory TARGET, which is made if it is missing.
Scripts in the package are run.

  --check     check the digests of all files before the first one is installed
  --verbose   show everything that the library logs, not only warnings and errors
  --help      print this text and exit

Ctrl-C (SIGINT), SIGTERM and SIGHUP ask for cancellation: the file under way is finished, and
what is installed by then stays.

Exit status: 0 when everything was installed, 1 when it was not, 2 for wrong usage, 3 when the
installation was cancelled.
)";

Arguments parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    std::vector<std::string> paths;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (optionsEnded || argument.rfind("--", 0) != 0) {
            paths.push_back(argument);
        } else if (argument == "--") {
            optionsEnded = true;
        } else if (argument == "--help") {
            arguments.help = true;
            return arguments;
        } else if (argument == "--check") {
            arguments.checkFirst = true;
        } else if (argument == "--verbose") {
            arguments.verbose = true;
        } else {
            throw UsageError("unknown option " + argument);
        }
    }
    if (paths.size() != 3) {
        throw UsageError("three paths are needed: certificate, package and target directory");
    }
    arguments.certificate = paths[0];
    arguments.package = paths[1];
    arguments.target = paths[2];
    return arguments;
}
