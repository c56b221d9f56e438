// Shields the host's libxml2, xmlsec and OpenSSL state from our calls.
//
// While a guard lives, on the thread that made it, complaints are taken in (`LibraryComplaints`),
// and blanks between elements are kept even if the host had libxml2 drop them, since they are
// signed as well. Its end puts back what the host had: libxml2's error handlers, its blank handling
// and the contents of OpenSSL's error queue, of which a lack of memory may lose some.
// Guards do not nest.

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

    // Whether a library could not get memory since the guard was made. OpenSSL's errors of that
    // time are gone afterwards.
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

// While it lives, OpenSSL asks nobody for a password: what is encrypted fails to load.
// Process-wide. Throws `std::bad_alloc`.
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
