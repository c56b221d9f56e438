#include "Printable.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "Payload.h"
#include "ProgressDisplay.h"
#include "Report.h"

namespace {

using Norv::Corvane::Common::FirmwareDescription;
namespace json = boost::json;

const char* nameOf(Arguments::Action action) {
    switch (action) {
        case Arguments::Action::Verify:
            return "verify";
        case Arguments::Action::DryRun:
            return "dry-run";
        default:
            return "install";
    }
}

const char* resultOf(Outcome outcome, bool begun) {
    switch (outcome) {
        case Outcome::Success:
            return begun ? "installed" : "valid";
        case Outcome::Cancelled:
            return "cancelled";
        default:
            return begun ? "failed" : "refused";
    }
}

class JsonReport : public Report {
public:
    explicit JsonReport(const Console& console) : console_(console) {}

    void start(const Arguments& arguments, const FirmwareDescription& description) override {
        json::array revisions;
        for (const std::string& revision : description.supportedHwRevs) {
            revisions.emplace_back(printable(revision));
        }
        total_ = payloadBytes(description);
        write({{"event", "start"},
               {"action", nameOf(arguments.action)},
               {"package", printable(arguments.package)},
               {"target", printable(arguments.target)},
               {"model", std::string(to_string(description.deviceType.type))},
               {"version", to_string(description.version)},
               {"systemVersion", to_string(description.systemVersion)},
               {"applicationVersion", to_string(description.applicationVersion)},
               {"hardwareRevisions", std::move(revisions)},
               {"files", description.files.size()},
               {"bytes", total_}});
    }

    void file(const std::string& path, FileState state) override {
        write({{"event", "file"}, {"path", printable(path)}, {"state", ::nameOf(state)}});
    }

    void progress(unsigned int percent) override {
        percent_ = std::min(percent, 100U);
        write({{"event", "progress"},
               {"percent", percent_},
               {"bytes", shareOf(total_, percent_)},
               {"total", total_}});
    }

    void resized() override {}

    void log(const std::string& level, const std::string& text) override {
        write({{"event", "log"}, {"level", level}, {"message", printable(text)}});
    }

    void scriptLine(const std::string& script, const std::string& line) override {
        write({{"event", "script"}, {"script", printable(script)}, {"line", printable(line)}});
    }

    void notice(const std::string& text) override {
        write({{"event", "notice"}, {"message", printable(text)}});
    }

    void verdict(Outcome outcome, bool begun, const std::string& text) override {
        if (begun && outcome == Outcome::Success && percent_ != 100) {
            progress(100);
        }
        write({{"event", "verdict"},
               {"result", resultOf(outcome, begun)},
               {"exitStatus", static_cast<int>(outcome)},
               {"message", printable(text)}});
    }

private:
    void write(const json::object& object) const { console_.out(json::serialize(object) + '\n'); }

    const Console& console_;
    std::uint64_t total_ = 0;
    unsigned int percent_ = 0;
};

}  // namespace

std::unique_ptr<Report> makeJsonReport(const Console& console) {
    return std::make_unique<JsonReport>(console);
}
