#include "LibraryState.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <openssl/err.h>
#include <openssl/ui.h>
#include <xmlsec/xmlsec.h>

#include <xmlsec/errors.h>

#include <array>
#include <cstdarg>
#include <cstdio>

#include "Log.h"

namespace Norv::Corvane::Common {
namespace {

std::string oneLine(const char* text) {
    std::string line = text == nullptr ? "" : text;
    line.erase(line.find_last_not_of("\r\n") + 1);
    return line;
}

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

void logStructuredError(void* /*context*/, xmlErrorPtr error) {
    Log::debug("libxml2: line {}: {}", error->line, oneLine(error->message));
    if (error->level == XML_ERR_FATAL && error->domain == XML_FROM_PARSER &&
        error->ctxt != nullptr) {
        // The parser would go on looking for further faults, at the sender's expense of our time.
        xmlStopParser(static_cast<xmlParserCtxtPtr>(error->ctxt));
    }
}

__attribute__((format(printf, 2, 3))) void logGenericError(void* /*context*/, const char* format,
                                                           ...) {
    std::array<char, 512> text{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    Log::debug("libxml2: {}", oneLine(text.data()));
}

void logXmlSecError(const char* /*file*/, int line, const char* function, const char* object,
                    const char* subject, int reason, const char* message) {
    Log::debug("xmlsec: {}:{}: {} {} (reason {}) {}", orEmpty(function), line, orEmpty(object),
               orEmpty(subject), reason, orEmpty(message));
}

}  // namespace

LibraryStateGuard::LibraryStateGuard()
    : passwordMethod_(UI_get_default_method()),
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
    // An encrypted PEM file must fail, not ask on the terminal.
    UI_set_default_method(UI_null());
    xmlSetStructuredErrorFunc(nullptr, logStructuredError);
    xmlSetGenericErrorFunc(nullptr, logGenericError);
}

LibraryStateGuard::~LibraryStateGuard() {
    xmlSetGenericErrorFunc(genericContext_, genericHandler_);
    xmlSetStructuredErrorFunc(structuredContext_, structuredHandler_);
    UI_set_default_method(static_cast<const UI_METHOD*>(passwordMethod_));
    ERR_clear_error();
    for (const OpenSslError& error : openSslErrors_) {
        ERR_new();
        ERR_set_debug(error.file.c_str(), error.line, error.function.c_str());
        const char* const format = error.data.empty() ? nullptr : "%s";
        ERR_set_error(ERR_GET_LIB(error.code), ERR_GET_REASON(error.code), format,
                      error.data.c_str());
    }
}

void logXmlSecComplaints() {
    xmlSecErrorsSetCallback(logXmlSecError);
}

}  // namespace Norv::Corvane::Common
