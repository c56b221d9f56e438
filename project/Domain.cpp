#include "Norv/Ombrel/Project/Domain.h"

#include <boost/algorithm/string/predicate.hpp>
#include <utility>

#include "StripPunctuation.h"

namespace Norv::Ombrel::Project {

bool Domain::View::operator==(View other) const {
    return boost::algorithm::iequals(text_, other.text_);
}

Domain::Domain(std::string text) {
    StripPunctuation(text, "-.");
    text_ = std::move(text);
}

bool Domain::operator==(const Domain& other) const {
    return View(*this) == View(other);
}

}  // namespace Norv::Ombrel::Project
