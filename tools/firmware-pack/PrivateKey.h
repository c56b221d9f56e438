// Opens private keys, in files and in tokens.

#pragma once

#include <string>

#include "OpenSsl.h"
#include "Secret.h"

namespace Norv::Corvane::Pack {

struct KeySource {
    // A file in any form that libcrypto reads (PEM, DER, PKCS#8, encrypted or not, PKCS#12), or the
    // "pkcs11:" URI of an object in a token.
    std::string location;
    PassphraseSource passphrase = noPassphrase;
    // The PKCS#11 module of a token; the system's own choice when empty.
    std::string module = {};
};

struct PrivateKey {
    // What must outlive the key, such as the connection to its token.
    std::shared_ptr<void> keeper;
    // Where the key's algorithms are looked for; null for libcrypto's own context.
    OSSL_LIB_CTX* context = nullptr;
    KeyPtr key;
};

bool isTokenUri(const std::string& location);

// Throws `PackError`, with a message of its own for a file that cannot be read or holds no key, for
// a missing and for a wrong passphrase, for a wrong PIN of a token, and for an object that the
// token does not hold.
PrivateKey openPrivateKey(const KeySource& source);

// The first private key that the store delivers; null for none.
KeyPtr firstKey(OSSL_STORE_CTX* store);

// The whole content of the file, which may be a pipe. At most `limit` bytes. Throws `PackError`.
std::string readSmallFile(const std::string& path, std::size_t limit);

}  // namespace Norv::Corvane::Pack
