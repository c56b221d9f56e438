// Honest manifests by the hundred: many ways of writing one, each under every canonicalisation.
//
// What the check compares must not depend on how a text is written. Where it did, an honest maker's
// packages would be refused in the field.

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "Keys.h"
#include "ValidatorFixture.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {

struct Canonicalisation {
    const char* name;
    const std::string* algorithm;
};

inline std::ostream& operator<<(std::ostream& out, const Canonicalisation& form) {
    return out << form.name;
}

// All six that a signature may name.
const std::vector<Canonicalisation>& canonicalisations();

// An ordinary signature under this canonicalisation, for `ecKey`.
SignatureForm formOf(const Canonicalisation& canonicalisation);

// An honest text is changed in one place; there has to be such a place.
struct Writing {
    const char* name;
    const char* place;
    std::string written;
};

// The honest manifest before it is signed, with elements of the maker's own: `Notes` with text in
// it and around it, `Extra` with attributes of its own.
std::string annotatedManifest();

class HonestForm : public testing::TestWithParam<Canonicalisation> {
protected:
    void SetUp() override;

    // The verdict is true, silently, and what is read is what was signed.
    void expectAccepted(const std::string& manifest);

    // The signature goes to the end of the root element.
    static std::string signedAs(const std::string& text, const SignatureForm& form);

    const TemporaryDirectory directory;
    const TestKey& key = ecKey();
    Common::FirmwareDescriptionValidator validator;
};

}  // namespace Norv::Corvane::Test
