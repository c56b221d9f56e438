// A host application: checks a firmware package and installs it.

#include <Norv/Corvane/Common/FirmwareDescriptionValidator.h>
#include <Norv/Corvane/Common/FirmwareZipValidator.h>
#include <Norv/Corvane/Common/Installer.h>
#include <Norv/Corvane/Common/ScriptRunner.h>
#include <fcntl.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>

#include "Arguments.h"
#include "EventQueue.h"
#include "ProgressDisplay.h"
#include "Signals.h"

namespace {

using namespace Norv::Corvane::Common;

enum ExitStatus { Installed = 0, NotInstalled = 1, WrongUsage = 2, Cancelled = 3 };

// A reason not to install, for the user.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Gives the streams that the caller closed somewhere to go to. The pipe of the events could take
// the place of standard error otherwise, and scripts would fail to write.
void openStandardStreams() {
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

void complain(const std::string& text) {
    // In one piece, and off the line that the progress bar may stand on.
    const char* const start = ::isatty(STDERR_FILENO) == 1 ? "\r\x1b[K" : "";
    std::fprintf(stderr, "%sfirmware-host: %s\n", start, text.c_str());
}

// Pattern and level of the log are the host's choice; the library only writes to the default
// logger.
void configureLog(bool verbose) {
    auto logger = spdlog::stderr_logger_mt("firmware-host");
    logger->set_pattern(::isatty(STDERR_FILENO) == 1 ? "\r\x1b[K%n: %l: %v" : "%n: %l: %v");
    logger->set_level(verbose ? spdlog::level::debug : spdlog::level::warn);
    spdlog::set_default_logger(std::move(logger));
}

// What the library cannot express as a verdict ends the process: a package that lists a file but
// does not hold it, for example.
[[noreturn]] void reportTermination() noexcept {
    std::string reason = "unknown reason";
    try {
        if (const std::exception_ptr error = std::current_exception()) {
            std::rethrow_exception(error);
        }
    } catch (const std::exception& error) {
        reason = error.what();
    } catch (...) {
    }
    complain("installation failed: " + reason);
    std::abort();
}

// The XML libraries, up for as long as this lives.
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

ValidatedFirmwareZip validate(const Arguments& arguments) {
    FirmwareDescriptionValidator validator;
    if (const std::error_code error = validator.Open(arguments.certificate)) {
        throw HostError("cannot trust " + arguments.certificate + ": " + error.message());
    }
    boost::optional<ValidatedFirmwareZip> firmware =
        FirmwareZipValidator(validator).ValidateFirmwareZipFile(arguments.package);
    if (!firmware) {
        throw HostError(arguments.package + " is not a firmware package that can be trusted");
    }
    return *std::move(firmware);
}

// A target that is not there yet is made as files need it. Scripts are run by a command line that
// is split at blanks.
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

void checkPayload(const ValidatedFirmwareZip& firmware) {
    for (const FirmwareDescription::File& file : firmware.description.files) {
        bool matches = false;
        try {
            matches = firmware.package.validate(file);
        } catch (const std::runtime_error& error) {
            throw HostError("cannot read " + file.localFilePath + ": " + error.what());
        }
        if (!matches) {
            throw HostError(file.localFilePath + " is damaged");
        }
    }
}

// `totalLength` wraps at 4 GiB; this does not.
std::uint64_t payloadBytes(const FirmwareDescription& description) {
    std::uint64_t total = 0;
    for (const FirmwareDescription::File& file : description.files) {
        total += file.length;
    }
    return total;
}

std::string payloadSummary(const FirmwareDescription& description) {
    const std::size_t count = description.files.size();
    return std::to_string(count) + (count == 1 ? " file, " : " files, ") +
           formatBytes(payloadBytes(description));
}

std::string summary(const FirmwareDescription& description) {
    const std::string model(to_string(description.deviceType.type));
    return (model.empty() ? "unknown device" : model) + ", version " +
           to_string(description.version) + ", " + payloadSummary(description);
}

ExitStatus waitForVerdict(const CancelSignals& signals, IInstaller& installer,
                          ProgressDisplay& progress) {
    bool cancelled = false;
    for (;;) {
        const Event event = signals.waitForEvent();
        switch (event.kind) {
            case Event::Kind::Progress:
                progress.show(event.value);
                break;
            case Event::Kind::CancelRequested:
                cancelled = true;
                installer.Cancel();
                complain("cancellation requested, the file under way is finished first");
                break;
            case Event::Kind::Finished:
                progress.clear();
                return event.value != 0 ? Installed : cancelled ? Cancelled : NotInstalled;
        }
    }
}

ExitStatus install(ValidatedFirmwareZip firmware, const std::string& target) {
    ProgressDisplay progress(payloadBytes(firmware.description));
    const EventQueue events;
    const CancelSignals signals(events);
    // Destroyed first: its worker posts events.
    Installer installer(target);
    progress.show(0);
    installer.Install(
        std::move(firmware),
        [&events](unsigned int percent) {
            events.post({Event::Kind::Progress, percent});
        },
        [&events](bool success) {
            events.post({Event::Kind::Finished, success ? 1U : 0U});
        });
    return waitForVerdict(signals, installer, progress);
}

ExitStatus runHost(const Arguments& arguments) {
    surviveBrokenPipes();
    configureLog(arguments.verbose);
    const XmlLibraries xmlLibraries;
    ValidatedFirmwareZip firmware = validate(arguments);
    // A device would compare model, version and hardware revision with its own here.
    std::printf("%s: %s\n", arguments.package.c_str(), summary(firmware.description).c_str());
    checkTarget(arguments.target, firmware.description);
    if (arguments.checkFirst) {
        checkPayload(firmware);
    }
    const std::string installed =
        "installed " + payloadSummary(firmware.description) + " in " + arguments.target;
    const ExitStatus status = install(std::move(firmware), arguments.target);
    switch (status) {
        case Installed:
            std::printf("%s\n", installed.c_str());
            break;
        case Cancelled:
            complain("installation cancelled; what was installed before stays");
            break;
        default:
            complain("installation failed; what was installed before stays");
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    openStandardStreams();
    std::set_terminate(reportTermination);
    try {
        const Arguments arguments = parseArguments(argc, argv);
        if (arguments.help) {
            std::fputs(usage, stdout);
            return Installed;
        }
        return runHost(arguments);
    } catch (const UsageError& error) {
        complain(std::string(error.what()) + "\nTry firmware-host --help.");
        return WrongUsage;
    } catch (const std::exception& error) {
        complain(error.what());
        return NotInstalled;
    }
}
