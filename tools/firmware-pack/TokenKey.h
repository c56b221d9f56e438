// Private keys that stay in a PKCS#11 token.

#pragma once

#include "PrivateKey.h"

namespace Norv::Corvane::Pack {

// Opens the key with OpenSSL's provider for PKCS#11 (pkcs11-provider) if there is one, otherwise
// with its engine (libengine-pkcs11-openssl). Throws `PackError`.
PrivateKey openTokenKey(const KeySource& source);

}  // namespace Norv::Corvane::Pack
