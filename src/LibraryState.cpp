#include "LibraryState.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <openssl/err.h>
#include <openssl/ui.h>
#include <xmlsec/xmlsec.h>

#include <xmlsec/errors.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "Log.h"

namespace Norv::Corvane::Common {
namespace {

constexpr std::size_t longestComplaint = 500;

// What a sender wrote may be part of it: it must not look like log lines of its own.
std::string printable(const char* text) {
    std::string line = text == nullptr ? "" : std::string(text, strnlen(text, longestComplaint));
    line.erase(line.find_last_not_of("\r\n") + 1);
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return line;
}

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

void logXmlSecError(const char* /*file*/, int line, const char* function, const char* object,
                    const char* subject, int reason, const char* message) noexcept {
    try {
        Log::debug("xmlsec: {}:{}: {} {} (reason {}) {}", orEmpty(function), line,
                   printable(object), printable(subject), reason, printable(message));
    } catch (...) {
        // A lost line; nothing may be thrown through the library that calls.
    }
}

// Fails every prompt.
int refusePrompt(UI* /*ui*/, UI_STRING* /*prompt*/) {
    return 0;
}

}  // namespace

LibraryStateGuard::LibraryStateGuard()
    : keepBlanks_(xmlKeepBlanksDefaultValue),
      structuredContext_(xmlStructuredErrorContext),
      structuredHandler_(xmlStructuredError),
      genericContext_(xmlGenericErrorContext),
      genericHandler_(xmlGenericError) {
    OpenSslError error{};
    const char* file = nullptr;
    const char* function = nullptr;
    const char* data = nullptr;
    while ((error.code = ERR_get_error_all(&file, &error.line, &function, &data, &error.flags)) !=
           0) {
        error.file = orEmpty(file);
        error.function = orEmpty(function);
        error.data = (error.flags & ERR_TXT_STRING) != 0 ? orEmpty(data) : "";
        openSslErrors_.push_back(error);
    }
    xmlSetStructuredErrorFunc(this, logStructuredError);
    xmlSetGenericErrorFunc(this, logGenericError);
    // Not through xmlKeepBlanksDefault(): that changes how the host's documents are written, too.
    xmlKeepBlanksDefaultValue = 1;
}

LibraryStateGuard::~LibraryStateGuard() {
    xmlSetGenericErrorFunc(genericContext_, genericHandler_);
    xmlSetStructuredErrorFunc(structuredContext_, structuredHandler_);
    xmlKeepBlanksDefaultValue = keepBlanks_;
    ERR_clear_error();
    for (const OpenSslError& error : openSslErrors_) {
        ERR_new();
        ERR_set_debug(error.file.c_str(), error.line, error.function.c_str());
        const char* const format = error.data.empty() ? nullptr : "%s";
        ERR_set_error(ERR_GET_LIB(error.code), ERR_GET_REASON(error.code), format,
                      error.data.c_str());
    }
}

void LibraryStateGuard::logStructuredError(void* guard, XmlErrorArgument error) {
    static_cast<LibraryStateGuard*>(guard)->log(error->message, error->line);
    if (error->level == XML_ERR_FATAL && error->domain == XML_FROM_PARSER &&
        error->ctxt != nullptr) {
        // The parser would go on looking for further faults, at the sender's expense of our time.
        // Not through xmlStopParser: that frees the text, which the parser of libxml2 2.9 may go on
        // looking at when it comes back from an error.
        auto* const parser = static_cast<xmlParserCtxtPtr>(error->ctxt);
        parser->instate = XML_PARSER_EOF;
        parser->disableSAX = 1;
    }
}

void LibraryStateGuard::logGenericError(void* guard, const char* format, ...) {
    std::array<char, longestComplaint> text{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    static_cast<LibraryStateGuard*>(guard)->log(text.data(), 0);
}

void LibraryStateGuard::log(const char* text, int line) noexcept {
    if (complaintsLeft_ == 0) {
        return;
    }
    --complaintsLeft_;
    try {
        Log::debug("libxml2: line {}: {}", line, printable(text));
    } catch (...) {
        // A lost line; nothing may be thrown through the library that calls.
    }
}

PasswordPromptGuard::PasswordPromptGuard()
    : refusing_(UI_create_method("no prompt")), previous_(UI_get_default_method()) {
    if (refusing_ == nullptr || UI_method_set_reader(refusing_, refusePrompt) != 0) {
        throw std::bad_alloc();
    }
    UI_set_default_method(refusing_);
}

PasswordPromptGuard::~PasswordPromptGuard() {
    UI_set_default_method(previous_);
    UI_destroy_method(refusing_);
}

void logXmlSecComplaints() {
    xmlSecErrorsSetCallback(logXmlSecError);
}

}  // namespace Norv::Corvane::Common
