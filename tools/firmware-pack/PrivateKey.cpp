#include "PrivateKey.h"

#include <fcntl.h>
#include <openssl/err.h>

#include <cerrno>
#include <cstring>

#include "Descriptor.h"
#include "Error.h"
#include "PassphraseDialogue.h"
#include "Text.h"
#include "TokenKey.h"

namespace Norv::Corvane::Pack {

namespace {

// Larger than any key: a larger file is something else.
constexpr std::size_t keyLimit = std::size_t{1} << 20U;

KeyPtr openKeyFile(const KeySource& source) {
    const std::string name = printable(source.location);
    const Secret bytes(readSmallFile(source.location, keyLimit));
    PassphraseDialogue dialogue(source.passphrase, source.location);
    const BioPtr memory(
        BIO_new_mem_buf(bytes.text().data(), static_cast<int>(bytes.text().size())));
    const StorePtr store(memory ? OSSL_STORE_attach(memory.get(), "file", nullptr, nullptr,
                                                    dialogue.method(), dialogue.data(), nullptr,
                                                    nullptr, nullptr)
                                : nullptr);
    KeyPtr key(store ? firstKey(store.get()) : nullptr);
    ERR_clear_error();
    dialogue.rethrow();
    if (key) {
        return key;
    }
    if (!dialogue.asked()) {
        throw PackError(name + " holds no private key");
    }
    if (!dialogue.answered()) {
        throw PackError("the key in " + name + " is encrypted, and no passphrase is given");
    }
    throw PackError("the passphrase for the key in " + name + " is wrong");
}

}  // namespace

KeyPtr firstKey(OSSL_STORE_CTX* store) {
    while (OSSL_STORE_eof(store) == 0) {
        const StoreInfoPtr info(OSSL_STORE_load(store));
        if (info && OSSL_STORE_INFO_get_type(info.get()) == OSSL_STORE_INFO_PKEY) {
            return KeyPtr(OSSL_STORE_INFO_get1_PKEY(info.get()));
        }
        if (!info && OSSL_STORE_error(store) != 0) {
            break;
        }
    }
    return nullptr;
}

bool isTokenUri(const std::string& location) {
    return location.compare(0, 7, "pkcs11:") == 0;
}

PrivateKey openPrivateKey(const KeySource& source) {
    return isTokenUri(source.location) ? openTokenKey(source)
                                       : PrivateKey{nullptr, nullptr, openKeyFile(source)};
}

std::string readSmallFile(const std::string& path, std::size_t limit) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        throw PackError("cannot open " + printable(path) + ": " + std::strerror(errno));
    }
    std::string bytes(limit + 1, '\0');
    std::size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t count = ::read(file.get(), &bytes[size], bytes.size() - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw PackError("cannot read " + printable(path) + ": " + std::strerror(errno));
        }
        if (count == 0) {
            bytes.resize(size);
            return bytes;
        }
        size += static_cast<std::size_t>(count);
    }
    throw PackError(printable(path) + " is too long for what it is to hold");
}

}  // namespace Norv::Corvane::Pack
