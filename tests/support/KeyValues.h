// Keys in the forms that a signature's KeyInfo shows them in.

#pragma once

#include <string>

#include "Keys.h"

namespace Norv::Corvane::Test {

std::string base64(const std::string& bytes);

// The SubjectPublicKeyInfo of a key.
std::string publicKeyDer(const TestKey& key);

std::string certificateDer(const TestKey& key);

// An RSAKeyValue or DSAKeyValue element.
std::string rsaKeyValue(const TestKey& key);
std::string dsaKeyValue(const TestKey& key);

// An HMACKeyValue element as xmlsec writes it.
std::string hmacKeyValue(const std::string& secret);

}  // namespace Norv::Corvane::Test
