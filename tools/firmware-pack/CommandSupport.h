// What the commands have in common.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Progress.h"

namespace Norv::Corvane::Pack {

// Shows progress, unless the user does not want it.
class Display {
public:
    explicit Display(const Options& options)
        : display_(options.quiet ? nullptr : std::make_unique<ProgressDisplay>()) {}
    ProgressSink sink() { return display_ ? display_->sink() : ProgressSink(); }
    // Removes the bar before something else is printed.
    void end() { display_.reset(); }

private:
    std::unique_ptr<ProgressDisplay> display_;
};

// Name, version, number of files, size and digest of a package.
void printClosingLine(const Options& options, const std::string& path, const std::string& version,
                      std::size_t files);

void reportAll(const char* severity, const std::vector<std::string>& texts);

}  // namespace Norv::Corvane::Pack
