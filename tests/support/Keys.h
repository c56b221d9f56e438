// Key pairs for signing test packages. Generated when first used, never stored in the tree.

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

// A private key and a certificate of its public half, self-signed unless told otherwise.
struct TestKey {
    std::string keyPem;
    std::string certificatePem;
};

struct KeyFiles {
    boost::filesystem::path key;
    boost::filesystem::path certificate;
};

// The same key for every call in a process: RSA, 2048 bits. The one that tests trust.
const TestKey& rsaKey();

// Another RSA key, for signatures that nobody trusts.
const TestKey& strangerKey();

// A P-256 key; cheap to make.
const TestKey& ecKey();

// A DSA key of 1024 bits, as there were when DSA was in use.
const TestKey& dsaKey();

// A P-256 key of a certificate authority. Its certificate names it "corvane test authority".
const TestKey& authorityKey();

// An RSA key whose certificate the authority signed, for "corvane test leaf", number 1.
const TestKey& issuedKey();

// Writes `name`.key.pem and `name`.cert.pem into the directory.
KeyFiles writeKey(const TestKey& key, const TemporaryDirectory& directory,
                  const std::string& name = "test");

}  // namespace Norv::Corvane::Test
