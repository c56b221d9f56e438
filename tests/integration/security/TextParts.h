// What texts are made of that cost much to check.

#pragma once

#include <cstddef>
#include <string>

#include "HostileTexts.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {

std::string repeated(const std::string& text, std::size_t times);

// The shortest distinct names, by number.
std::string name(std::size_t i);

// So many distinct names, each between these.
std::string list(std::size_t count, const std::string& before, const std::string& after);

// A signature by inclusive canonical forms.
SignatureForm inclusive();

// As many units as there is room for, between a head and a tail that holds a signature.
std::string filled(std::size_t size, const std::string& head, const std::string& unit,
                   const std::string& end, const SignatureForm& form);

// Many units below one root element.
HostileText body(const std::string& name, const std::string& rootAttributes,
                 const std::string& unit, const SignatureForm& form = {});

// Units and a signature whose digests are right, so that the check goes through all of it
// before it sees whose signature it is. They are the same one: all are over the text without the
// signature.
std::string withDigests(const std::string& signature, std::size_t size,
                        const std::string& unit = "<a/>");

}  // namespace Norv::Corvane::Test
