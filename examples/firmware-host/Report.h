// What the user sees, or the program that started the host.
//
// Used on the main thread only. Nothing here throws unless memory runs out.

#pragma once

#include <Norv/Corvane/Common/FirmwareDescription.h>

#include <memory>
#include <string>

#include "Arguments.h"
#include "Console.h"

// Exit statuses.
enum class Outcome { Success = 0, NotInstalled = 1, WrongUsage = 2, Cancelled = 3 };

enum class FileState { New, Same, Changed };

const char* nameOf(FileState state);

class Report {
public:
    virtual ~Report() = default;

    // The package is genuine, and this is what will be done with it.
    virtual void start(const Arguments& arguments,
                       const Norv::Corvane::Common::FirmwareDescription& description) = 0;
    // What a dry run found out; `path` is the place below the target.
    virtual void file(const std::string& path, FileState state) = 0;
    virtual void progress(unsigned int percent) = 0;
    // The terminal may be another size.
    virtual void resized() = 0;
    // A record of the library's; `level` as spdlog names it.
    virtual void log(const std::string& level, const std::string& text) = 0;
    virtual void scriptLine(const std::string& script, const std::string& line) = 0;
    // Something that the user should know, and that does not end the installation.
    virtual void notice(const std::string& text) = 0;
    // The outcome, reported last. `begun` distinguishes a failed installation from a package that
    // was refused before anything was written.
    virtual void verdict(Outcome outcome, bool begun, const std::string& text) = 0;
};

// The console must outlive the report.
std::unique_ptr<Report> makeTextReport(const Console& console);
std::unique_ptr<Report> makeJsonReport(const Console& console);
