#include "Norv/Ombrel/Project/LogicalName.h"

#include <utility>

namespace Norv::Ombrel::Project {

LogicalName::LogicalName(std::string text) noexcept : text_(std::move(text)) {}

const std::string& LogicalName::GetText() const& noexcept {
    return text_;
}

std::string LogicalName::GetText() && noexcept {
    return std::move(text_);
}

std::string to_string(const LogicalName& name) {
    return "Name: " + name.GetText();
}

}  // namespace Norv::Ombrel::Project
