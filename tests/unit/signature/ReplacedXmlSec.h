// Functions of xmlsec, libxml2 and OpenSSL that fail on demand.
//
// The test program defines them itself, so that the library finds them before the real ones.

#pragma once

#include <string>
#include <vector>

namespace Norv::Corvane::Test {

// While it lives, the named function does nothing and returns this, or null if it makes something.
// As long as one of the functions that start a library up is named, the others of them do nothing
// either and report success.
class Failure {
public:
    Failure(const std::string& function, int result = -1);
    ~Failure();
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;
};

// The functions that start the libraries up, in the order in which each was called first.
std::vector<std::string>& startups();

// The functions that shut the libraries down, in the order in which they were called.
std::vector<std::string>& shutdowns();

}  // namespace Norv::Corvane::Test
