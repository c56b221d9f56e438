// Manifests that the libraries below find signed, and that say something else to who reads them.
//
// libxml2 goes on when it has no room for a name, or no memory, and makes a document of what it
// has. The signature is checked on that document.

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "Dictionary.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {

struct ReadingAttack {
    std::string name;
    std::function<std::string()> manifest;
    Room room = Room::Tight;
};

inline std::ostream& operator<<(std::ostream& out, const ReadingAttack& attack) {
    return out << attack.name;
}

inline std::string nameOfReading(const testing::TestParamInfo<ReadingAttack>& info) {
    return info.param.name;
}

// Judged with as much room for names as the attack says.
class ReadingAttackTest : public testing::TestWithParam<ReadingAttack> {};

// What these attacks start from: two files, one of them a script. Not signed.
std::string plainManifest();

// Signed by `ecKey`. Without arguments, the plain one.
std::string genuine(const std::string& unsignedText, const std::string& canonicalisation);
std::string genuine();

// The signature comes before the first element. It covers the same.
std::string withSignatureFirst(const std::string& text);

// The signature has an object, which it does not cover, with this content.
std::string withObject(const std::string& text, const std::string& content);
// The start of that text, up to the content.
std::string upToObject(const std::string& text);

// Content for an object that makes all names of this text known, and the prefix p.
std::string namesOf(const std::string& text);
// The same, as declarations of namespaces, blank in front, and without p.
std::string declaredNamesOf(const std::string& text);

using Edit = std::function<std::string(const std::string&)>;

// The edit's result on a genuine manifest, with declarations in the root's start tag that leave no
// room for a name with the prefix p. Exclusive canonicalisation leaves out what nothing uses.
std::string filledByDeclarations(const Edit& hide);

// The first element of this name gets the prefix p.
std::string withHiddenElement(const std::string& text, const std::string& name);
// An attribute of the first element of this name does.
std::string withHiddenAttribute(const std::string& text, const std::string& element,
                                const std::string& attribute);

}  // namespace Norv::Corvane::Test
