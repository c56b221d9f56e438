// What a manifest says, as text that can be compared.

#pragma once

#include <string>

#include "Keys.h"

namespace Norv::Corvane::Test {

// As the library reads it once its signature was found valid: with pugixml, up to a zero byte. One
// line for each value; one line with the reason when there is nothing to read.
std::string readingOf(const std::string& manifest);

// As libxml2 reads the bytes that the signature's digests were taken of. Empty when the signature
// is not valid for this key. xmlsec has to be up.
std::string signedReadingOf(const std::string& manifest, const TestKey& key);

}  // namespace Norv::Corvane::Test
