#include "Printable.h"

#include <optional>

#include "Payload.h"
#include "ProgressDisplay.h"
#include "Report.h"

namespace {

using Norv::Corvane::Common::FirmwareDescription;

std::string summary(const FirmwareDescription& description) {
    const std::string model(to_string(description.deviceType.type));
    return (model.empty() ? "unknown device" : model) + ", version " +
           to_string(description.version) + ", " + payloadSummary(description);
}

class TextReport : public Report {
public:
    explicit TextReport(const Console& console) : console_(console) {}

    void start(const Arguments& arguments, const FirmwareDescription& description) override {
        line(arguments.package + ": " + summary(description));
        progress_.emplace(console_, payloadBytes(description));
    }

    void file(const std::string& path, FileState state) override {
        line(path + ": " + nameOf(state));
    }

    void progress(unsigned int percent) override { progress_->show(percent); }

    void resized() override {
        if (progress_) {
            progress_->redraw();
        }
    }

    void log(const std::string& level, const std::string& text) override {
        notice(level + ": " + text);
    }

    void scriptLine(const std::string& script, const std::string& text) override {
        line(script + ": " + text);
    }

    void notice(const std::string& text) override {
        // Leaves the line that the bar may stand on.
        const std::string start = console_.errorIsTerminal() ? eraseLine : "";
        console_.error(start + "firmware-host: " + printable(text) + '\n');
        if (console_.errorIsTerminal()) {
            resized();
        }
    }

    void verdict(Outcome outcome, bool begun, const std::string& text) override {
        if (begun && outcome == Outcome::Success) {
            progress_->complete();
        }
        if (progress_) {
            progress_->clear();
            progress_.reset();
        }
        if (outcome == Outcome::Success) {
            line(text);
        } else {
            notice(text);
        }
    }

private:
    void line(const std::string& text) {
        if (progress_) {
            progress_->clear();
        }
        console_.out(printable(text) + '\n');
        resized();
    }

    const Console& console_;
    std::optional<ProgressDisplay> progress_;
};

}  // namespace

const char* nameOf(FileState state) {
    switch (state) {
        case FileState::New:
            return "new";
        case FileState::Same:
            return "same";
        case FileState::Changed:
            break;
    }
    return "changed";
}

std::unique_ptr<Report> makeTextReport(const Console& console) {
    return std::make_unique<TextReport>(console);
}
