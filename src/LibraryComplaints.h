// Collects the complaints of libxml2 and xmlsec during one call of ours.
//
// While an object lives, complaints on the thread that made it go to the default logger at debug
// level, instead of to the host's handlers or streams. At most `mostLogged` are logged, in
// printable ASCII, because whoever sends a manifest can cause any number of them, with any text.
// The destructor restores libxml2's error handlers. Objects of this class do not nest.

#pragma once

#include <libxml/xmlerror.h>

namespace Norv::Corvane::Common {

class LibraryComplaints {
public:
    LibraryComplaints() noexcept;
    LibraryComplaints(const LibraryComplaints&) = delete;
    LibraryComplaints& operator=(const LibraryComplaints&) = delete;
    ~LibraryComplaints();

    // Whether the text that is being parsed cannot become a document: it is not well-formed or uses
    // namespaces wrongly, memory ran out, or there were more complaints than for any honest text.
    bool ruleOutDocument() const noexcept { return fatal_ || memoryLacked_ || count_ > mostTaken; }

    // Whether a library ran out of memory, or reached a limit of its own that it reports likewise.
    bool memoryLacked() const noexcept { return memoryLacked_; }

    // Sends xmlsec's complaints here, too, and drops those that come while no object lives.
    // Process-wide, until xmlsec is shut down; setting xmlsec up again undoes it.
    static void includeXmlSec();

private:
    // Formatting a complaint takes some microseconds, logging it a few more.
    static constexpr unsigned mostTaken = 100000;
    static constexpr unsigned mostLogged = 32;

    static void takeStructured(LibraryComplaints& complaints, const xmlError& error) noexcept;
    static void takeGeneric(void* complaints, const char* format, ...)
        __attribute__((format(printf, 2, 3)));
    static void takeXmlSec(const char* file, int line, const char* function, const char* object,
                           const char* subject, int reason, const char* message) noexcept;

    // Counts a complaint and says whether to log it.
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
