// Passphrases and PINs: where they come from, and memory that is wiped.

#pragma once

#include <functional>
#include <optional>
#include <string>

namespace Norv::Corvane::Pack {

// Text that is overwritten when it is no longer needed. Movable, not copyable.
class Secret {
public:
    explicit Secret(std::string text) : text_(std::move(text)) {}
    ~Secret();
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&& other) noexcept;
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;

    const std::string& text() const { return text_; }

private:
    std::string text_;
};

// Called at most once for a key, and only if the key needs it. `what` names what the passphrase
// opens. Returns nothing when no passphrase is available; throws `PackError` when the place that
// the user named has none.
using PassphraseSource = std::function<std::optional<Secret>(const std::string& what)>;

// Asks nobody.
std::optional<Secret> noPassphrase(const std::string& what);

// The first line of a file, or of what a descriptor delivers.
PassphraseSource passphraseFromFile(std::string path);
PassphraseSource passphraseFromDescriptor(int descriptor);

// The value of an environment variable.
PassphraseSource passphraseFromEnvironment(std::string variable);

// Asks on the process's terminal, without an echo; none when it has no terminal.
std::optional<Secret> passphraseFromTerminal(const std::string& what);

}  // namespace Norv::Corvane::Pack
