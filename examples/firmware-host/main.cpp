// A host application: checks a firmware package and installs it.

#include <Norv/Corvane/Common/FirmwareDescriptionValidator.h>
#include <Norv/Corvane/Common/FirmwareZipValidator.h>
#include <Norv/Corvane/Common/ScriptRunner.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <exception>
#include <string>
#include <system_error>

#include "Arguments.h"
#include "Console.h"
#include "Device.h"
#include "EventQueue.h"
#include "Failure.h"
#include "Help.h"
#include "HostError.h"
#include "Installation.h"
#include "Medium.h"
#include "Payload.h"
#include "Printable.h"
#include "Report.h"
#include "ScriptLog.h"
#include "Signals.h"
#include "Startup.h"

namespace {

using namespace Norv::Corvane::Common;
using Action = Arguments::Action;

// Keeps the XML libraries set up for as long as it lives.
class XmlLibraries {
public:
    XmlLibraries() {
        if (const std::error_code error = FirmwareDescriptionValidator::Init()) {
            throw HostError("the signature check cannot be set up: " + error.message());
        }
    }
    ~XmlLibraries() { FirmwareDescriptionValidator::Deinit(); }
    XmlLibraries(const XmlLibraries&) = delete;
    XmlLibraries& operator=(const XmlLibraries&) = delete;
};

// The validator does not say why it could not read a file.
void requireReadable(const std::string& path) {
    struct stat status {};
    int error = ::access(path.c_str(), R_OK) == 0 ? 0 : errno;
    if (error == 0 && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        error = EISDIR;
    }
    if (error != 0) {
        throw HostError("cannot trust " + path + ": " + std::generic_category().message(error));
    }
}

void trust(FirmwareDescriptionValidator& validator, const std::string& certificate) {
    requireReadable(certificate);
    const NoTrustStore noTrustStore;
    if (const std::error_code error = validator.Open(certificate)) {
        throw HostError("cannot trust " + certificate + ": " + error.message());
    }
}

ValidatedFirmwareZip validate(const Arguments& arguments) {
    FirmwareDescriptionValidator validator;
    trust(validator, arguments.certificate);
    boost::optional<ValidatedFirmwareZip> firmware =
        FirmwareZipValidator(validator).ValidateFirmwareZipFile(arguments.package);
    if (!firmware) {
        throw HostError(arguments.package + " is not a firmware package that can be trusted");
    }
    return *std::move(firmware);
}

// A missing target is created when the first file needs it. The command line that runs a script is
// split at blanks.
void checkTarget(const std::string& target, const FirmwareDescription& description) {
    boost::system::error_code error;
    const bool missing =
        boost::filesystem::status(target, error).type() == boost::filesystem::file_not_found;
    if (!missing && !boost::filesystem::is_directory(target, error)) {
        throw HostError(target + " is not a directory");
    }
    if (!missing && ::access(target.c_str(), W_OK | X_OK) != 0) {
        throw HostError("cannot write to " + target + ": " +
                        std::generic_category().message(errno));
    }
    for (const FirmwareDescription::File& file : description.files) {
        if (ScriptRunner::IsExecutableScriptFile(file) &&
            target.find_first_of(" \"") != std::string::npos) {
            throw HostError("no script can be run below " + target +
                            ": its path holds a blank or a quote");
        }
    }
}

void dryRun(const ValidatedFirmwareZip& firmware, const std::string& target, Report& report) {
    std::array<std::size_t, 3> counts{};
    for (const FirmwareDescription::File& file : firmware.description.files) {
        const FileState state = compareFile(firmware, file, target);
        ++counts[static_cast<std::size_t>(state)];
        report.file(installationPath(file), state);
    }
    report.verdict(Outcome::Success, false,
                   "nothing installed in " + target + ": " + std::to_string(counts[0]) + " new, " +
                       std::to_string(counts[1]) + " same, " + std::to_string(counts[2]) +
                       " changed");
}

Outcome installAndFlush(const Arguments& arguments, ValidatedFirmwareZip firmware,
                        const Console& console, EventQueue& events, Report& report) {
    ScriptLog log(arguments.scriptLog, report);
    const FirmwareDescription description = firmware.description;
    const Outcome outcome = install(
        std::move(firmware), arguments.target, console, events, report,
        [&log](const std::string& script, const std::string& line) { log.write(script, line); });
    switch (outcome) {
        case Outcome::Success:
            flushToMedium(arguments.target, description);
            report.verdict(outcome, true,
                           "installed " + payloadSummary(description) + " in " + arguments.target);
            break;
        case Outcome::Cancelled:
            // The file under way may have failed by itself, or may have been the last one.
            report.verdict(outcome, true,
                           "installation ended after a request for cancellation; what was "
                           "installed by then stays");
            break;
        default:
            report.verdict(outcome, true, "installation failed; what was installed before stays");
    }
    return outcome;
}

// Sets `begun` once something may have been written.
Outcome runHost(const Arguments& arguments, const Console& console, EventQueue& events,
                Report& report, bool& begun) {
    const Device device =
        arguments.deviceFile ? readDevice(*arguments.deviceFile) : arguments.device;
    const XmlLibraries xmlLibraries;
    ValidatedFirmwareZip firmware = validate(arguments);
    report.start(arguments, firmware.description);
    requireMeantFor(device, arguments.allowDowngrade, arguments.package, firmware.description);
    if (!arguments.target.empty()) {
        checkTarget(arguments.target, firmware.description);
    }
    if (arguments.checkPayload) {
        checkPayload(firmware);
    }
    if (arguments.action == Action::Verify) {
        report.verdict(Outcome::Success, false,
                       arguments.package + " is valid: " + payloadSummary(firmware.description));
        return Outcome::Success;
    }
    if (arguments.action == Action::DryRun) {
        dryRun(firmware, arguments.target, report);
        return Outcome::Success;
    }
    begun = true;
    return installAndFlush(arguments, std::move(firmware), console, events, report);
}

int report(const Arguments& arguments, const Console& console) {
    const std::unique_ptr<Report> report =
        arguments.json ? makeJsonReport(console) : makeTextReport(console);
    EventQueue events;
    explainTermination(events);
    configureLog(arguments.verbose, *report, events);
    bool begun = false;
    try {
        return static_cast<int>(runHost(arguments, console, events, *report, begun));
    } catch (const std::exception& error) {
        report->verdict(Outcome::NotInstalled, begun, error.what());
        return static_cast<int>(Outcome::NotInstalled);
    }
}

}  // namespace

int main(int argc, char** argv) try {
    openStandardStreams();
    surviveBrokenPipes();
    readTimeZoneOnce();
    const Console console;
    try {
        const Arguments arguments = parseArguments(argc, argv);
        if (arguments.action == Action::ShowHelp) {
            console.out(helpText());
            return 0;
        }
        if (arguments.action == Action::ShowVersion) {
            console.out("firmware-host " FIRMWARE_HOST_VERSION "\n");
            return 0;
        }
        return report(arguments, console);
    } catch (const UsageError& error) {
        console.error("firmware-host: " + printable(error.what()) +
                      "\nTry firmware-host --help.\n");
        return static_cast<int>(Outcome::WrongUsage);
    }
} catch (const std::exception& error) {
    writeAll(STDERR_FILENO, std::string("firmware-host: ") + error.what() + '\n');
    return static_cast<int>(Outcome::NotInstalled);
}
