#include "HostState.h"

#include <libxml/xmlerror.h>
#include <openssl/err.h>
#include <openssl/ui.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace Norv::Corvane::Test {
namespace {

int temporaryFile() {
    char name[] = "/tmp/corvane-test-stream-XXXXXX";
    const int file = ::mkstemp(name);
    if (file < 0) {
        throw std::runtime_error("cannot create a file");
    }
    ::unlink(name);
    return file;
}

// Takes every error out of OpenSSL's queue, oldest first.
std::vector<std::string> takeErrors() {
    std::vector<std::string> errors;
    const char* file = "";
    const char* function = "";
    const char* data = "";
    int line = 0;
    int flags = 0;
    while (const unsigned long code = ERR_get_error_all(&file, &line, &function, &data, &flags)) {
        errors.push_back(std::to_string(code) + ' ' + file + ':' + std::to_string(line) + ' ' +
                         function + ' ' + data);
    }
    return errors;
}

void raiseErrors() {
    ERR_clear_error();
    ERR_raise_data(ERR_LIB_USER, 7, "the host's first error");
    ERR_raise(ERR_LIB_USER, 8);
}

// While it lives, the host's state is one that a test can tell from any other.
class HostState {
public:
    HostState();
    ~HostState();
    HostState(const HostState&) = delete;
    HostState& operator=(const HostState&) = delete;

    // To be called once.
    std::string changes();

private:
    static const xmlStructuredErrorFunc countStructured;
    static void countGeneric(void* state, const char* format, ...);

    std::string handlerChanges() const;

    int calls_ = 0;
    int streams_[2];
    int files_[2];
    std::vector<std::string> errors_;
    const UI_METHOD* previousPrompt_;
    // Alive throughout, so that no other one can have its address.
    UI_METHOD* prompt_;
    void* structuredContext_;
    xmlStructuredErrorFunc structured_;
    void* genericContext_;
    xmlGenericErrorFunc generic_;
};

HostState::HostState()
    : previousPrompt_(UI_get_default_method()),
      prompt_(UI_create_method("the host's prompt")),
      structuredContext_(xmlStructuredErrorContext),
      structured_(xmlStructuredError),
      genericContext_(xmlGenericErrorContext),
      generic_(xmlGenericError) {
    UI_set_default_method(prompt_);
    raiseErrors();
    errors_ = takeErrors();
    raiseErrors();
    xmlSetStructuredErrorFunc(this, countStructured);
    xmlSetGenericErrorFunc(this, countGeneric);
    std::fflush(nullptr);
    for (int i = 0; i < 2; ++i) {
        streams_[i] = ::dup(i + 1);
        files_[i] = temporaryFile();
        ::dup2(files_[i], i + 1);
    }
}

HostState::~HostState() {
    std::fflush(nullptr);
    for (int i = 0; i < 2; ++i) {
        ::dup2(streams_[i], i + 1);
        ::close(streams_[i]);
        ::close(files_[i]);
    }
    UI_set_default_method(previousPrompt_);
    UI_destroy_method(prompt_);
    ERR_clear_error();
    xmlSetStructuredErrorFunc(structuredContext_, structured_);
    xmlSetGenericErrorFunc(genericContext_, generic_);
}

std::string HostState::changes() {
    std::fflush(nullptr);
    std::string found;
    for (const int file : files_) {
        char text[1000];
        const ssize_t length = ::pread(file, text, sizeof text, 0);
        found.append(text, length > 0 ? static_cast<std::size_t>(length) : 0);
    }
    found += handlerChanges();
    if (takeErrors() != errors_) {
        found += "[OpenSSL's error queue changed]";
    }
    return found;
}

// The error is constant from libxml2 2.12 on.
const xmlStructuredErrorFunc HostState::countStructured = [](void* state, auto* /*error*/) {
    ++static_cast<HostState*>(state)->calls_;
};

void HostState::countGeneric(void* state, const char* /*format*/, ...) {
    ++static_cast<HostState*>(state)->calls_;
}

std::string HostState::handlerChanges() const {
    const bool kept = xmlStructuredError == countStructured && xmlStructuredErrorContext == this &&
                      xmlGenericError == countGeneric && xmlGenericErrorContext == this;
    return std::string(kept ? "" : "[libxml2's handlers changed]") +
           (calls_ == 0 ? "" : "[the host's handlers were called]") +
           (UI_get_default_method() == prompt_ ? "" : "[OpenSSL's prompt changed]");
}

}  // namespace

std::string changesToHost(const std::function<void()>& work) {
    HostState host;
    work();
    return host.changes();
}

}  // namespace Norv::Corvane::Test
