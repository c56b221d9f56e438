// What a host application has of its own and must find as it left it: its output streams, libxml2's
// error handlers, OpenSSL's error queue and way to ask for passwords.

#pragma once

#include <string>
#include <vector>

struct _xmlError;

namespace Norv::Corvane::Test {

// While it lives, the process has two errors in OpenSSL's queue and error handlers of the test's
// own, and its output goes to files. Its end puts back what was there.
class HostState {
public:
    HostState();
    ~HostState();
    HostState(const HostState&) = delete;
    HostState& operator=(const HostState&) = delete;

    // What is no longer as it was, and what was written; empty when there is nothing to complain
    // about. To be called once.
    std::string changes();

private:
    static void countStructured(void* state, _xmlError* error);
    static void countGeneric(void* state, const char* format, ...);

    std::string handlerChanges() const;

    int calls_ = 0;
    int streams_[2];
    int files_[2];
    std::vector<std::string> errors_;
    const void* passwordMethod_;
    void* structuredContext_;
    void (*structured_)(void*, _xmlError*);
    void* genericContext_;
    void (*generic_)(void*, const char*, ...);
};

}  // namespace Norv::Corvane::Test
