#include "LibraryComplaints.h"

#include <xmlsec/xmlsec.h>

#include <xmlsec/errors.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "Log.h"

namespace Norv::Corvane::Common {
namespace {

constexpr std::size_t longestComplaint = 500;

// xmlsec hands no context to its callback.
thread_local LibraryComplaints* ofThisThread = nullptr;

// A complaint may quote the manifest. That text must not look like log lines of its own, and must
// not control the terminal that shows the log: there are control characters beyond ASCII, too.
std::string printable(const char* text) {
    std::string line = text == nullptr ? "" : std::string(text, strnlen(text, longestComplaint));
    line.erase(line.find_last_not_of("\r\n") + 1);
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return c < 0x20 || c > 0x7E; }, '?');
    return line;
}

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace

LibraryComplaints::LibraryComplaints() noexcept
    : structuredContext_(xmlStructuredErrorContext),
      structuredHandler_(xmlStructuredError),
      genericContext_(xmlGenericErrorContext),
      genericHandler_(xmlGenericError) {
    ofThisThread = this;
    // The error's type is constant from libxml2 2.12 on; a lambda with `auto` fits either.
    xmlSetStructuredErrorFunc(this, [](void* complaints, auto* error) {
        takeStructured(*static_cast<LibraryComplaints*>(complaints), *error);
    });
    xmlSetGenericErrorFunc(this, takeGeneric);
}

LibraryComplaints::~LibraryComplaints() {
    xmlSetGenericErrorFunc(genericContext_, genericHandler_);
    xmlSetStructuredErrorFunc(structuredContext_, structuredHandler_);
    ofThisThread = nullptr;
}

void LibraryComplaints::includeXmlSec() {
    xmlSecErrorsSetCallback(takeXmlSec);
}

void LibraryComplaints::takeStructured(LibraryComplaints& complaints,
                                       const xmlError& error) noexcept {
    // A namespace's name need not be a URI, and nobody reads instructions, so their names do not
    // matter.
    const bool aboutNamespaces = error.domain == XML_FROM_NAMESPACE &&
                                 error.code != XML_WAR_NS_URI && error.code != XML_NS_ERR_COLON;
    complaints.memoryLacked_ |= error.code == XML_ERR_NO_MEMORY;
    complaints.fatal_ |=
        error.level == XML_ERR_FATAL || (error.level == XML_ERR_ERROR && aboutNamespaces);
    complaints.log(error.message, error.line);
}

void LibraryComplaints::takeGeneric(void* complaints, const char* format, ...) {
    std::array<char, longestComplaint> text{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    auto& self = *static_cast<LibraryComplaints*>(complaints);
    // Structured errors have a handler of their own. Only libxml2's lists report here, and only
    // that they got no memory.
    self.memoryLacked_ = true;
    self.log(text.data(), 0);
}

void LibraryComplaints::takeXmlSec(const char* /*file*/, int line, const char* function,
                                   const char* object, const char* subject, int reason,
                                   const char* message) noexcept {
    if (ofThisThread == nullptr) {
        return;
    }
    ofThisThread->memoryLacked_ |=
        reason == XMLSEC_ERRORS_R_MALLOC_FAILED || reason == XMLSEC_ERRORS_R_STRDUP_FAILED;
    if (!ofThisThread->count()) {
        return;
    }
    try {
        Log::debug("xmlsec: {}:{}: {} {} (reason {}) {}", orEmpty(function), line,
                   printable(object), printable(subject), reason, printable(message));
    } catch (...) {
        // The line is lost: no exception may pass through the calling library.
    }
}

bool LibraryComplaints::count() noexcept {
    count_ += count_ <= mostTaken ? 1 : 0;
    return count_ <= mostLogged;
}

void LibraryComplaints::log(const char* text, int line) noexcept {
    if (!count()) {
        return;
    }
    try {
        Log::debug("libxml2: line {}: {}", line, printable(text));
    } catch (...) {
        // The line is lost: no exception may pass through the calling library.
    }
}

}  // namespace Norv::Corvane::Common
