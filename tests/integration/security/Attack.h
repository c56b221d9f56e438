// An attack starts from what anybody can have: a package of an honest maker, the trusted
// certificate, and keys of one's own. It ends with a manifest that must not be accepted.
//
// Which of the attacks get in when a single protection is taken away is listed in
// docs/reliability.md. The others are up against several, or against the libraries themselves.

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "Keys.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {

inline const std::string xmldsig = "http://www.w3.org/2000/09/xmldsig#";

struct Attack {
    std::string name;
    std::function<std::string()> manifest;
};

inline std::ostream& operator<<(std::ostream& out, const Attack& attack) {
    return out << attack.name;
}

inline std::string nameOf(const testing::TestParamInfo<Attack>& info) {
    return info.param.name;
}

// Signed by the trusted key, with an ordinary signature.
const std::string& honestManifest();

// Without a signature. The same elements as the honest one, other content.
std::string evilManifest();

// The evil manifest with a signature by a key that is not trusted.
std::string forged(const SignatureForm& form = {}, const TestKey& key = strangerKey());

// The entry of a script that the honest maker knows nothing of.
extern const std::string evilFile;

// The text between the lines that begin and end a PEM block.
std::string base64Of(const std::string& pem);

// Each attack's manifest is judged by itself and in a package.
class AttackTest : public testing::TestWithParam<Attack> {};

}  // namespace Norv::Corvane::Test
