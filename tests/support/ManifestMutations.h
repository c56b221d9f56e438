// Changes that an attacker makes to the text of a signed manifest.
//
// Unless stated otherwise, they throw `std::runtime_error` when the text lacks the place that they
// change, so that no attack becomes harmless unnoticed.

#pragma once

#include <string>

namespace Norv::Corvane::Test {

// The first occurrence.
std::string replaced(const std::string& text, const std::string& from, const std::string& to);
std::string insertedBefore(const std::string& text, const std::string& place,
                           const std::string& what);
std::string insertedAfter(const std::string& text, const std::string& place,
                          const std::string& what);

// Every occurrence replaced; there need not be any.
std::string everywhere(std::string text, const std::string& from, const std::string& to);

// From the start tag of the first element of this name to its end tag. For elements without a
// prefix that have an end tag.
std::string elementOf(const std::string& text, const std::string& name);
std::string withoutElement(const std::string& text, const std::string& name);

// The content of the first element of this name is another one.
std::string withContent(const std::string& text, const std::string& name,
                        const std::string& content);

// A KeyInfo element with this content, in place of the one that may be there.
std::string withKeyInfo(const std::string& text, const std::string& content);

// An XML declaration with this encoding, in place of the one that may be there.
std::string declaredAs(const std::string& text, const std::string& encoding);

std::string withDocumentType(const std::string& text, const std::string& declaration);

// The signature stands in front of `place` instead.
std::string withSignatureBefore(const std::string& text, const std::string& place);

// ASCII text in another encoding form, two or four bytes a character.
std::string widened(const std::string& text, unsigned bytes, bool bigEndian);

}  // namespace Norv::Corvane::Test
