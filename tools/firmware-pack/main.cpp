#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "Arguments.h"
#include "Error.h"
#include "Package.h"
#include "Signature.h"

namespace {

using namespace Norv::Corvane::Pack;

void report(const char* severity, const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::cerr << "firmware-pack: " << severity << ": " << line << '\n';
    }
}

// A package written over its own input would cost the author a key or a payload file.
void refuseToOverwriteInput(const Arguments& arguments) {
    std::vector<std::string> inputs = arguments.input.sources;
    inputs.push_back(arguments.key);
    inputs.push_back(arguments.certificate);
    for (const std::string& input : inputs) {
        std::error_code absent;
        if (std::filesystem::equivalent(input, arguments.output, absent)) {
            throw PackError("the output " + arguments.output + " is the input " + input);
        }
    }
}

int pack(const Arguments& arguments) {
    refuseToOverwriteInput(arguments);
    Signer signer(arguments.key, arguments.certificate);
    signer.includeCertificate(arguments.includeCertificate);
    for (const std::string& warning : buildPackage(arguments.input, signer, arguments.output)) {
        report("warning", warning);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    // A file size limit has to end as a failed write, which cleans up after itself.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        const Arguments arguments = parseArguments(argc, argv);
        if (arguments.help) {
            std::cout << usage << std::flush;
            return std::cout ? 0 : 1;
        }
        return pack(arguments);
    } catch (const UsageError& error) {
        report("error", error.what());
        std::cerr << "Try firmware-pack --help.\n";
        return 2;
    } catch (const std::exception& error) {
        report("error", error.what());
        return 1;
    }
}
