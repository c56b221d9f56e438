// Libcrypto's questions for a passphrase, answered by a `PassphraseSource`.

#pragma once

#include <exception>
#include <optional>
#include <string>

#include "OpenSsl.h"
#include "Secret.h"

namespace Norv::Corvane::Pack {

// Asks the source at most once, however often libcrypto asks. Must outlive what it is given to.
class PassphraseDialogue {
public:
    PassphraseDialogue(const PassphraseSource& source, std::string what);
    PassphraseDialogue(const PassphraseDialogue&) = delete;
    PassphraseDialogue& operator=(const PassphraseDialogue&) = delete;

    UI_METHOD* method() const { return method_.get(); }
    void* data() { return this; }

    // Whether libcrypto asked, and whether it got an answer.
    bool asked() const { return asked_; }
    bool answered() const { return answer_.has_value(); }
    // Throws what the source threw, if it did.
    void rethrow() const;

private:
    static int answer(char* buffer, int size, int forWriting, void* data);

    const PassphraseSource& source_;
    std::string what_;
    UiMethodPtr method_;
    bool asked_ = false;
    std::optional<Secret> answer_;
    std::exception_ptr failure_;
};

}  // namespace Norv::Corvane::Pack
