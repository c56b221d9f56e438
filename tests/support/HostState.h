// State of a host application that must not change: its output streams, libxml2's error handlers,
// OpenSSL's error queue and password prompt.

#pragma once

#include <functional>
#include <string>

namespace Norv::Corvane::Test {

// Runs the work in a host that has two errors in OpenSSL's queue and its own error handlers.
// Returns what has changed and what was written; empty when there is nothing to report. Restores
// the state from before. While the work runs, the process's output goes to files and shows only in
// the result.
std::string changesToHost(const std::function<void()>& work);

}  // namespace Norv::Corvane::Test
