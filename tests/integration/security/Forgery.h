// Texts whose signature holds for one parser, while another is to read something else.
//
// xmlsec has to be up.

#pragma once

#include <functional>
#include <string>

#include "XmlSigning.h"

namespace Norv::Corvane::Test {

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
