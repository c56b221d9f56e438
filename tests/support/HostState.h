// What a host application has of its own and must find as it left it: its output streams, libxml2's
// error handlers, OpenSSL's error queue and way to ask for passwords.

#pragma once

#include <functional>
#include <string>

namespace Norv::Corvane::Test {

// Runs the work as a host with two errors in OpenSSL's queue and error handlers of its own would,
// and tells what is no longer as it was, and what was written; empty when there is nothing to
// complain about. Puts back what was there before. While the work runs, output of the process goes
// to files: what a test finds there shows in the result only.
std::string changesToHost(const std::function<void()>& work);

}  // namespace Norv::Corvane::Test
