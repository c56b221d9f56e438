#include "PassphraseDialogue.h"

#include <cstring>

#include "Error.h"

namespace Norv::Corvane::Pack {

PassphraseDialogue::PassphraseDialogue(const PassphraseSource& source, std::string what)
    : source_(source),
      what_(std::move(what)),
      method_(UI_UTIL_wrap_read_pem_callback(&PassphraseDialogue::answer, 0)) {
    if (!method_) {
        throw PackError("libcrypto cannot ask for passphrases");
    }
}

void PassphraseDialogue::rethrow() const {
    if (failure_) {
        std::rethrow_exception(failure_);
    }
}

// Called by C code, which exceptions must not cross.
int PassphraseDialogue::answer(char* buffer, int size, int /*forWriting*/, void* data) {
    auto& self = *static_cast<PassphraseDialogue*>(data);
    try {
        if (!self.asked_) {
            self.asked_ = true;
            self.answer_ = self.source_(self.what_);
        }
    } catch (...) {
        self.failure_ = std::current_exception();
    }
    if (!self.answer_ || self.answer_->text().size() > static_cast<std::size_t>(size)) {
        return -1;
    }
    const std::string& text = self.answer_->text();
    std::memcpy(buffer, text.data(), text.size());
    return static_cast<int>(text.size());
}

}  // namespace Norv::Corvane::Pack
