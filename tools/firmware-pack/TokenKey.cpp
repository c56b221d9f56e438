#include "TokenKey.h"

// The engine is what Debian 12 has for tokens. Its interface is deprecated, and wanted.
#include <openssl/engine.h>
#include <openssl/err.h>
#include <openssl/provider.h>

#include <cstdlib>
#include <string_view>

#include "Error.h"
#include "PassphraseDialogue.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

// The names under which the provider and the engine look for the module to load.
constexpr const char* providerVariable = "PKCS11_PROVIDER_MODULE";
constexpr const char* engineVariable = "PKCS11_MODULE_PATH";

// What libcrypto's error queue says about a failure. Reading empties it.
struct Complaints {
    bool wrongPin = false;
    bool lockedPin = false;
    std::string last;
};

Complaints takeComplaints() {
    Complaints complaints;
    while (const unsigned long error = ERR_get_error()) {
        const char* const reason = ERR_reason_error_string(error);
        const std::string_view text = reason == nullptr ? "" : reason;
        const auto says = [&](const char* part) { return text.find(part) != text.npos; };
        complaints.lockedPin = complaints.lockedPin || says("PIN locked") || says("PIN_LOCKED") ||
                               says("PIN is locked");
        // The user interface refuses what is shorter or longer than a PIN can be.
        complaints.wrongPin =
            complaints.wrongPin || says("PIN") || says("pin") || ERR_GET_LIB(error) == ERR_LIB_UI;
        complaints.last = text;
    }
    return complaints;
}

[[noreturn]] void failOpening(const KeySource& source, const PassphraseDialogue& dialogue,
                              const Complaints& complaints) {
    const std::string name = printable(source.location);
    dialogue.rethrow();
    if (dialogue.asked() && !dialogue.answered()) {
        throw PackError("the token of " + name + " needs a PIN, and none is given");
    }
    if (complaints.lockedPin) {
        throw PackError("the PIN of the token of " + name + " is locked");
    }
    if (dialogue.answered() && complaints.wrongPin) {
        throw PackError("the PIN for the token of " + name + " is wrong");
    }
    throw PackError("no token holds a private key " + name);
}

// A PIN in an argument is seen by every process of the machine.
void refusePinInUri(const std::string& uri) {
    if (uri.find("pin-value=") != std::string::npos) {
        throw PackError(
            "a PIN does not belong into the URI of a key: name its file, descriptor or "
            "environment variable");
    }
}

// A context with the provider in it. With libcrypto's own, the provider would close its sessions
// when the process exits, and call a module whose memory is gone by then.
class ProviderContext {
public:
    ProviderContext() : context_(OSSL_LIB_CTX_new()) {
        if (context_) {
            // As in libcrypto's own context, the file of settings may be missing.
            OSSL_LIB_CTX_load_config(context_.get(), nullptr);
            // Loading one by name would otherwise take the default provider away.
            provider_.reset(OSSL_PROVIDER_try_load(context_.get(), "pkcs11", 1));
        }
        ERR_clear_error();
    }

    explicit operator bool() const { return provider_ != nullptr; }
    OSSL_LIB_CTX* get() const { return context_.get(); }

private:
    std::unique_ptr<OSSL_LIB_CTX, Deleter<OSSL_LIB_CTX_free>> context_;
    std::unique_ptr<OSSL_PROVIDER, Deleter<OSSL_PROVIDER_unload>> provider_;
};

// Without an answer, the provider would ask on the terminal itself.
class NoOtherPrompt {
public:
    NoOtherPrompt() : former_(UI_get_default_method()), method_(UI_create_method("none")) {
        if (method_) {
            UI_method_set_opener(method_.get(), [](UI*) { return 0; });
            UI_set_default_method(method_.get());
        }
    }
    ~NoOtherPrompt() { UI_set_default_method(former_); }
    NoOtherPrompt(const NoOtherPrompt&) = delete;
    NoOtherPrompt& operator=(const NoOtherPrompt&) = delete;

private:
    const UI_METHOD* former_;
    UiMethodPtr method_;
};

KeyPtr loadKey(const std::string& uri, OSSL_LIB_CTX* context, PassphraseDialogue& dialogue) {
    const StorePtr store(OSSL_STORE_open_ex(uri.c_str(), context, nullptr, dialogue.method(),
                                            dialogue.data(), nullptr, nullptr, nullptr));
    if (!store) {
        return nullptr;
    }
    OSSL_STORE_expect(store.get(), OSSL_STORE_INFO_PKEY);
    return firstKey(store.get());
}

// The provider keeps to itself that a PIN was wrong. But it asks again unless the PIN was right,
// and a question without an answer is no failed attempt, of which tokens take only a few.
bool asksAgain(const std::string& uri, OSSL_LIB_CTX* context) {
    const PassphraseSource none = noPassphrase;
    PassphraseDialogue dialogue(none, uri);
    loadKey(uri, context, dialogue);
    ERR_clear_error();
    return dialogue.asked();
}

PrivateKey openThroughProvider(const KeySource& source, std::shared_ptr<ProviderContext> context) {
    const NoOtherPrompt guard;
    PassphraseDialogue dialogue(source.passphrase, source.location);
    KeyPtr key = loadKey(source.location, context->get(), dialogue);
    if (!key) {
        Complaints complaints = takeComplaints();
        complaints.wrongPin = dialogue.answered() && asksAgain(source.location, context->get());
        failOpening(source, dialogue, complaints);
    }
    ERR_clear_error();
    OSSL_LIB_CTX* const place = context->get();
    return {std::move(context), place, std::move(key)};
}

#ifndef OPENSSL_NO_ENGINE
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

// The engine, initialised. Ending it closes the token before the module is unloaded.
struct FinishEngine {
    void operator()(ENGINE* engine) const {
        ENGINE_finish(engine);
        ENGINE_free(engine);
    }
};
using EnginePtr = std::unique_ptr<ENGINE, FinishEngine>;

EnginePtr startEngine(const std::string& module) {
    ENGINE_load_dynamic();
    ENGINE* const engine = ENGINE_by_id("pkcs11");
    if (engine == nullptr) {
        ERR_clear_error();
        throw PackError(
            "OpenSSL has neither a provider nor an engine for PKCS#11 tokens: install "
            "pkcs11-provider or libengine-pkcs11-openssl");
    }
    // Reasons go into messages of ours; the engine prints them as well unless told not to.
    ENGINE_ctrl_cmd_string(engine, "QUIET", nullptr, 0);
    if (!module.empty()) {
        ENGINE_ctrl_cmd_string(engine, "MODULE_PATH", module.c_str(), 0);
    }
    if (ENGINE_init(engine) != 1) {
        ENGINE_free(engine);
        ERR_clear_error();
        throw PackError("OpenSSL's engine for PKCS#11 tokens does not start");
    }
    return EnginePtr(engine);
}

PrivateKey openThroughEngine(const KeySource& source) {
    std::shared_ptr<ENGINE> engine(startEngine(source.module));
    PassphraseDialogue dialogue(source.passphrase, source.location);
    KeyPtr key(ENGINE_load_private_key(engine.get(), source.location.c_str(), dialogue.method(),
                                       dialogue.data()));
    if (!key) {
        failOpening(source, dialogue, takeComplaints());
    }
    ERR_clear_error();
    return {std::move(engine), nullptr, std::move(key)};
}

#pragma GCC diagnostic pop
#endif

// A module that does not exist would only be told apart from a missing token in a debugger.
void checkModule(const std::string& module) {
    if (!module.empty()) {
        readSmallFile(module, std::size_t{64} << 20U);
    }
}

}  // namespace

PrivateKey openTokenKey(const KeySource& source) {
    refusePinInUri(source.location);
    checkModule(source.module);
    if (!source.module.empty()) {
        ::setenv(providerVariable, source.module.c_str(), 1);
        ::setenv(engineVariable, source.module.c_str(), 1);
    }
    if (auto context = std::make_shared<ProviderContext>(); *context) {
        return openThroughProvider(source, std::move(context));
    }
#ifdef OPENSSL_NO_ENGINE
    throw PackError("OpenSSL has no provider for PKCS#11 tokens: install pkcs11-provider");
#else
    return openThroughEngine(source);
#endif
}

}  // namespace Norv::Corvane::Pack
