// Keeps a call into libxml2, xmlsec and OpenSSL out of the host's sight.
//
// While a guard lives, on the thread that made it, libxml2's complaints go to the default logger at
// debug level, a limited number of them: a sender could make any number of them up; and blanks
// between elements are kept even if the host had libxml2 drop them, since they are signed as well.
// Its end puts back what the host had: libxml2's error handlers, its way with blanks and the
// contents of OpenSSL's error queue.
// Guards do not nest.

#pragma once

#include <string>
#include <vector>

#include "XmlVersions.h"

struct ui_method_st;

namespace Norv::Corvane::Common {

class LibraryStateGuard {
public:
    LibraryStateGuard();
    LibraryStateGuard(const LibraryStateGuard&) = delete;
    LibraryStateGuard& operator=(const LibraryStateGuard&) = delete;
    ~LibraryStateGuard();

private:
    struct OpenSslError {
        unsigned long code;
        std::string file;
        int line;
        std::string function;
        std::string data;
        int flags;
    };

    static void logStructuredError(void* guard, XmlErrorArgument error);
    static void logGenericError(void* guard, const char* format, ...)
        __attribute__((format(printf, 2, 3)));
    void log(const char* text, int line) noexcept;

    std::vector<OpenSslError> openSslErrors_;
    unsigned complaintsLeft_ = 32;
    int keepBlanks_;
    void* structuredContext_;
    void (*structuredHandler_)(void*, XmlErrorArgument);
    void* genericContext_;
    void (*genericHandler_)(void*, const char*, ...);
};

// While it lives, OpenSSL asks nobody for a password: what is encrypted fails to load.
// Process-wide.
class PasswordPromptGuard {
public:
    PasswordPromptGuard();
    PasswordPromptGuard(const PasswordPromptGuard&) = delete;
    PasswordPromptGuard& operator=(const PasswordPromptGuard&) = delete;
    ~PasswordPromptGuard();

private:
    ui_method_st* refusing_;
    const ui_method_st* previous_;
};

// Sends xmlsec's complaints, too, to the default logger at debug level. Process-wide, until xmlsec
// is shut down; xmlsec's own set-up undoes it.
void logXmlSecComplaints();

}  // namespace Norv::Corvane::Common
