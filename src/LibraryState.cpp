#include "LibraryState.h"

#include <libxml/parser.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/ui.h>

#include <new>

namespace Norv::Corvane::Common {
namespace {

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

// Fails every prompt.
int refusePrompt(UI* /*ui*/, UI_STRING* /*prompt*/) {
    return 0;
}

// OpenSSL 3.0 reports a copy of a digest that got no memory as one that it was not able to make,
// and then takes the signature for one that does not match.
bool isLackOfMemory(unsigned long error) {
    return ERR_GET_REASON(error) == ERR_R_MALLOC_FAILURE ||
           (ERR_GET_LIB(error) == ERR_LIB_EVP &&
            ERR_GET_REASON(error) == EVP_R_NOT_ABLE_TO_COPY_CTX);
}

}  // namespace

LibraryStateGuard::LibraryStateGuard() noexcept : keepBlanks_(xmlKeepBlanksDefaultValue) {
    try {
        saveOpenSslErrors();
    } catch (const std::bad_alloc&) {
        // The host's older errors are lost; the call goes on, and fails for the same reason.
    }
    // Not through xmlKeepBlanksDefault(): that changes how the host's documents are written, too.
    xmlKeepBlanksDefaultValue = 1;
}

LibraryStateGuard::~LibraryStateGuard() {
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

bool LibraryStateGuard::memoryLacked() noexcept {
    bool lacked = complaints_.memoryLacked();
    while (const unsigned long error = ERR_get_error()) {
        lacked |= isLackOfMemory(error);
    }
    return lacked;
}

void LibraryStateGuard::saveOpenSslErrors() {
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
}

void PasswordPromptGuard::MethodDeleter::operator()(ui_method_st* method) const noexcept {
    UI_destroy_method(method);
}

PasswordPromptGuard::PasswordPromptGuard()
    : refusing_(UI_create_method("no prompt")), previous_(UI_get_default_method()) {
    if (!refusing_ || UI_method_set_reader(refusing_.get(), refusePrompt) != 0) {
        throw std::bad_alloc();
    }
    UI_set_default_method(refusing_.get());
}

PasswordPromptGuard::~PasswordPromptGuard() {
    UI_set_default_method(previous_);
}

}  // namespace Norv::Corvane::Common
