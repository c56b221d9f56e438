#include "Norv/Ombrel/Project/ObjectUrn.h"

#include <utility>

namespace Norv::Ombrel::Project {

ObjectUrn::ObjectUrn(std::string text) noexcept : text_(std::move(text)) {}

const std::string& ObjectUrn::GetText() const& noexcept {
    return text_;
}

std::string ObjectUrn::GetText() && noexcept {
    return std::move(text_);
}

std::string to_string(const ObjectUrn& urn) {
    return "URN: " + urn.GetText();
}

}  // namespace Norv::Ombrel::Project
