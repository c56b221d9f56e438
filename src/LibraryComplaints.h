// Takes in what libxml2 and xmlsec complain about during one call of ours.
//
// While it lives, on the thread that made it, complaints go to the default logger at debug level
// instead of to the host's handlers or streams: a limited number of them, in printable ASCII, since
// a sender could make up any number and any text. libxml2's error handlers are put back at the end.
// Objects of this class do not nest.

#pragma once

#include <libxml/xmlerror.h>

namespace Norv::Corvane::Common {

class LibraryComplaints {
public:
    LibraryComplaints() noexcept;
    LibraryComplaints(const LibraryComplaints&) = delete;
    LibraryComplaints& operator=(const LibraryComplaints&) = delete;
    ~LibraryComplaints();

    // Whether no document can come of what is being parsed: it is not well-formed, uses namespaces
    // wrongly, met lack of memory, or was complained about more often than any honest one.
    bool ruleOutDocument() const noexcept { return fatal_ || memoryLacked_ || count_ > mostTaken; }

    // Whether a library could not get memory, or reached a limit of its own that it reports so.
    bool memoryLacked() const noexcept { return memoryLacked_; }

    // Sends xmlsec's complaints here, too. Process-wide, until xmlsec is shut down; xmlsec's own
    // set-up undoes it.
    static void includeXmlSec();

private:
    // Each costs some microseconds to word, a line of the log a few more.
    static constexpr unsigned mostTaken = 100000;
    static constexpr unsigned mostLogged = 32;

    static void takeStructured(LibraryComplaints& complaints, const xmlError& error) noexcept;
    static void takeGeneric(void* complaints, const char* format, ...)
        __attribute__((format(printf, 2, 3)));
    static void takeXmlSec(const char* file, int line, const char* function, const char* object,
                           const char* subject, int reason, const char* message) noexcept;

    // Whether the next one is to be logged.
    bool count() noexcept;
    void log(const char* text, int line) noexcept;

    bool fatal_ = false;
    bool memoryLacked_ = false;
    unsigned count_ = 0;
    void* structuredContext_;
    xmlStructuredErrorFunc structuredHandler_;
    void* genericContext_;
    xmlGenericErrorFunc genericHandler_;
};

}  // namespace Norv::Corvane::Common
