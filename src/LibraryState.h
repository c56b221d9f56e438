// Keeps a call into libxml2, xmlsec and OpenSSL out of the host's sight.
//
// While a guard lives, on the thread that made it, libxml2's complaints go to the default logger at
// debug level. Its end puts back what the host had: libxml2's error handlers, the contents of
// OpenSSL's error queue and OpenSSL's default way to ask for a password. Guards do not nest.

#pragma once

#include <string>
#include <vector>

struct _xmlError;

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

    std::vector<OpenSslError> openSslErrors_;
    const void* passwordMethod_;
    void* structuredContext_;
    void (*structuredHandler_)(void*, _xmlError*);
    void* genericContext_;
    void (*genericHandler_)(void*, const char*, ...);
};

// Sends xmlsec's complaints, too, to the default logger at debug level. Process-wide, until xmlsec
// is shut down; xmlsec's own set-up undoes it.
void logXmlSecComplaints();

}  // namespace Norv::Corvane::Common
