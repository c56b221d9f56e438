// Shields the host's libxml2, xmlsec and OpenSSL state from our calls.
//
// While a guard lives, it collects the complaints on the thread that made it (`LibraryComplaints`).
// libxml2 keeps blanks between elements, even if the host had it drop them, because they are signed
// as well. The destructor restores the host's state: libxml2's error handlers, its blank handling
// and OpenSSL's error queue. Part of that queue may be lost if memory runs out. Guards do not nest.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "LibraryComplaints.h"

struct ui_method_st;

namespace Norv::Corvane::Common {

class LibraryStateGuard {
public:
    LibraryStateGuard() noexcept;
    LibraryStateGuard(const LibraryStateGuard&) = delete;
    LibraryStateGuard& operator=(const LibraryStateGuard&) = delete;
    ~LibraryStateGuard();

    const LibraryComplaints& complaints() const noexcept { return complaints_; }

    // Whether a library has run out of memory since the guard was made. Discards OpenSSL's errors
    // since then.
    bool memoryLacked() noexcept;

private:
    struct OpenSslError {
        unsigned long code;
        std::string file;
        int line;
        std::string function;
        std::string data;
        int flags;
    };

    void saveOpenSslErrors();

    LibraryComplaints complaints_;
    std::vector<OpenSslError> openSslErrors_;
    int keepBlanks_;
};

// While it lives, OpenSSL asks nobody for a password: encrypted files fail to load. Process-wide.
// Throws `std::bad_alloc`.
class PasswordPromptGuard {
public:
    PasswordPromptGuard();
    PasswordPromptGuard(const PasswordPromptGuard&) = delete;
    PasswordPromptGuard& operator=(const PasswordPromptGuard&) = delete;
    ~PasswordPromptGuard();

private:
    struct MethodDeleter {
        void operator()(ui_method_st* method) const noexcept;
    };
    std::unique_ptr<ui_method_st, MethodDeleter> refusing_;
    const ui_method_st* previous_;
};

}  // namespace Norv::Corvane::Common
