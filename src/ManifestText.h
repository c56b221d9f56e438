// What can be told from the bytes of a manifest before an XML parser sees them.

#pragma once

#include <boost/utility/string_view.hpp>

namespace Norv::Corvane::Common::ManifestText {

// Whether all XML parsers read the same characters in this text: it is UTF-8 without zero bytes,
// and no encoding is declared that would give the bytes another meaning. The signature is checked
// on what one parser reads, and the manifest is used as another one reads it.
bool readsAlike(boost::string_view text);

}  // namespace Norv::Corvane::Common::ManifestText
