#include "Secret.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/ui.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Descriptor.h"
#include "Error.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

constexpr std::size_t longest = 1024;

Secret firstLine(int fd, const std::string& name) {
    // Reserved as a whole: growing would leave copies behind.
    std::string line;
    line.reserve(longest + 1);
    for (;;) {
        char byte = 0;
        const ssize_t count = ::read(fd, &byte, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw PackError("cannot read the passphrase from " + name + ": " +
                            std::strerror(errno));
        }
        if (count == 0 || byte == '\n') {
            break;
        }
        if (line.size() == longest) {
            throw PackError("the passphrase in " + name + " is too long");
        }
        line += byte;
    }
    if (line.empty()) {
        throw PackError("the passphrase in " + name + " is empty");
    }
    return Secret(std::move(line));
}

bool hasTerminal() {
    return static_cast<bool>(Descriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)));
}

// Overwrites the whole buffer: moving a short text leaves its bytes behind its end.
void wipe(std::string& text) noexcept {
    text.resize(text.capacity());
    OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

}  // namespace

Secret::~Secret() {
    wipe(text_);
}

Secret::Secret(Secret&& other) noexcept : text_(std::move(other.text_)) {
    wipe(other.text_);
}

Secret& Secret::operator=(Secret&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
}

std::optional<Secret> noPassphrase(const std::string& /*what*/) {
    return std::nullopt;
}

PassphraseSource passphraseFromFile(std::string path) {
    return [path = std::move(path)](const std::string&) -> std::optional<Secret> {
        const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!file) {
            throw PackError("cannot read the passphrase from " + printable(path) + ": " +
                            std::strerror(errno));
        }
        return firstLine(file.get(), printable(path));
    };
}

PassphraseSource passphraseFromDescriptor(int descriptor) {
    return [descriptor](const std::string&) -> std::optional<Secret> {
        return firstLine(descriptor, "descriptor " + std::to_string(descriptor));
    };
}

PassphraseSource passphraseFromEnvironment(std::string variable) {
    return [variable = std::move(variable)](const std::string&) -> std::optional<Secret> {
        const char* const value = std::getenv(variable.c_str());
        if (value == nullptr) {
            throw PackError("the environment variable " + printable(variable) +
                            " for the passphrase is not set");
        }
        if (*value == '\0') {
            throw PackError("the environment variable " + printable(variable) +
                            " for the passphrase is empty");
        }
        return Secret(value);
    };
}

std::optional<Secret> passphraseFromTerminal(const std::string& what) {
    if (!hasTerminal()) {
        return std::nullopt;
    }
    std::array<char, longest + 1> buffer{};
    const std::string prompt = "Passphrase for " + printable(what) + ": ";
    const int result =
        UI_UTIL_read_pw_string(buffer.data(), static_cast<int>(longest), prompt.c_str(), 0);
    Secret answer{std::string(buffer.data())};
    OPENSSL_cleanse(buffer.data(), buffer.size());
    if (result != 0) {
        throw PackError("no passphrase was entered");
    }
    return answer;
}

}  // namespace Norv::Corvane::Pack
