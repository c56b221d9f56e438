#include "Installation.h"

#include <Norv/Corvane/Common/Installer.h>
#include <Norv/Corvane/Common/ScriptRunner.h>
#include <poll.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>
#include <vector>

#include "Signals.h"

using namespace Norv::Corvane::Common;

namespace {

std::vector<std::string> scriptsOf(const FirmwareDescription& description) {
    std::vector<std::string> names;
    for (const FirmwareDescription::File& file : description.files) {
        if (ScriptRunner::IsExecutableScriptFile(file)) {
            names.push_back(file.localFilePath);
        }
    }
    return names;
}

void waitForAnything(const Signals& signals, const EventQueue& events,
                     const ScriptOutput& scripts) {
    std::vector<pollfd> sources = {{events.descriptor(), POLLIN, 0}};
    for (const pollfd& source : signals.descriptors()) {
        sources.push_back(source);
    }
    scripts.appendDescriptors(sources);
    if (::poll(sources.data(), sources.size(), -1) < 0 && errno != EINTR && errno != ENOMEM) {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
}

// The library's worker cannot continue, and waits for us to end the process.
[[noreturn]] void endProcess(const Event& event, Report& report) {
    report.verdict(Outcome::NotInstalled, true, event.text);
    std::abort();
}

// Whatever was printed before an event is shown before it.
void handle(const Event& event, Report& report, ScriptOutput& scripts) {
    scripts.read();
    switch (event.kind) {
        case Event::Kind::Progress:
            report.progress(static_cast<unsigned int>(event.value));
            break;
        case Event::Kind::Log:
            report.log(event.level, event.text);
            break;
        case Event::Kind::ScriptStarted:
            scripts.add(event.value);
            break;
        case Event::Kind::Terminated:
            scripts.finish();
            endProcess(event, report);
        case Event::Kind::Finished:
            scripts.finish();
            break;
    }
}

Outcome waitForVerdict(const Signals& signals, IInstaller& installer, EventQueue& events,
                       Report& report, ScriptOutput& scripts) {
    bool cancelled = false;
    for (;;) {
        waitForAnything(signals, events, scripts);
        Signals::Requests requests = signals.take();
        for (; requests.cancellations > 0; --requests.cancellations) {
            cancelled = true;
            installer.Cancel();
            report.notice("cancellation requested, the file under way is finished first");
        }
        if (requests.resized) {
            report.resized();
        }
        while (const std::optional<Event> event = events.take()) {
            handle(*event, report, scripts);
            if (event->kind == Event::Kind::Finished) {
                return event->value != 0 ? Outcome::Success
                       : cancelled       ? Outcome::Cancelled
                                         : Outcome::NotInstalled;
            }
        }
        scripts.read();
    }
}

}  // namespace

Outcome install(ValidatedFirmwareZip firmware, const std::string& target, const Console& console,
                EventQueue& events, Report& report, const ScriptOutput::LineHandler& onScriptLine) {
    ScriptOutput scripts(scriptsOf(firmware.description), onScriptLine);
    const ScriptCapture capture(console, events);
    const Signals signals;
    Outcome outcome = Outcome::NotInstalled;
    report.progress(0);
    {
        // Its destructor waits for the worker, which posts events.
        Installer installer(target);
        installer.Install(
            std::move(firmware),
            [&events](unsigned int percent) {
                events.post({Event::Kind::Progress, static_cast<int>(percent), {}, {}});
            },
            [&events](bool success) {
                events.post({Event::Kind::Finished, success ? 1 : 0, {}, {}});
            });
        outcome = waitForVerdict(signals, installer, events, report, scripts);
    }
    // What the worker posted at the end.
    while (const std::optional<Event> event = events.take()) {
        handle(*event, report, scripts);
    }
    return outcome;
}
