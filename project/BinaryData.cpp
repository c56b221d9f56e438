#include "Norv/Ombrel/Project/BinaryData.h"

#include <utility>

namespace Norv::Ombrel::Project {

BinaryData::BinaryData(std::string data) noexcept : data_(std::move(data)) {}

const std::string& BinaryData::GetData() const noexcept {
    return data_;
}

}  // namespace Norv::Ombrel::Project
