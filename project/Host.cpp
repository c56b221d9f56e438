#include "Norv/Ombrel/Project/Host.h"

#include <boost/algorithm/string/predicate.hpp>
#include <utility>

#include "StripPunctuation.h"

namespace Norv::Ombrel::Project {

bool Host::View::operator==(View other) const {
    return boost::algorithm::iequals(text_, other.text_);
}

Host::Host(std::string text) {
    StripPunctuation(text, "-.");
    text_ = std::move(text);
}

bool Host::operator==(const Host& other) const {
    return View(*this) == View(other);
}

}  // namespace Norv::Ombrel::Project
