// What the commands do. Each returns the exit status, and throws `UsageError` when an option is
// missing and `PackError` when something goes wrong.

#pragma once

#include "CommandLine.h"

namespace Norv::Corvane::Pack {

int runBuild(const Options& options);
int runPrepare(const Options& options);
int runAttach(const Options& options);
int runInspect(const Options& options);
int runVerify(const Options& options);
int runResign(const Options& options);
int runExtract(const Options& options);

// Prints the lines of the text, each after the severity, and nothing that a terminal obeys.
void report(const char* severity, const std::string& text);

}  // namespace Norv::Corvane::Pack
