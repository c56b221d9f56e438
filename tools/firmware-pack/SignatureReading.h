// What the signature of a manifest says about itself.

#pragma once

#include <optional>
#include <pugixml.hpp>

#include "Inspection.h"

namespace Norv::Corvane::Pack {

// The first child of the manifest's root that is named as a signature.
std::optional<InspectedSignature> readSignature(pugi::xml_node root);

}  // namespace Norv::Corvane::Pack
