#include "Norv/Ombrel/Project/DeviceType.h"

#include <utility>

namespace Norv::Ombrel::Project {
namespace {

constexpr std::string_view manufacturerPrefix = "QV";

struct Model {
    DeviceType::Type type;
    std::string_view code;
};

constexpr Model models[] = {
    {DeviceType::Type::QA01RTVN, "QA01RTVN"}, {DeviceType::Type::WOLMZB04, "WOLMZB04"},
    {DeviceType::Type::PD02JNSH, "PD02JNSH"}, {DeviceType::Type::PD03JNSH, "PD03JNSH"},
    {DeviceType::Type::RTVNUY01, "RTVNUY01"},
};

}  // namespace

DeviceType::DeviceType(Type type_, std::optional<std::string> qualifier_)
    : type(type_), qualifier(std::move(qualifier_)) {}

DeviceType::DeviceType(Type type_) : DeviceType(type_, std::nullopt) {}

std::optional<DeviceType> DeviceType::parse(std::string_view code,
                                            std::optional<std::string> qualifier) {
    if (code.substr(0, manufacturerPrefix.size()) == manufacturerPrefix) {
        code.remove_prefix(manufacturerPrefix.size());
    }
    for (const Model& model : models) {
        if (model.code == code) {
            return DeviceType(model.type, std::move(qualifier));
        }
    }
    return std::nullopt;
}

std::optional<DeviceType> DeviceType::parse(std::string_view manufacturer, std::string_view model,
                                            std::optional<std::string> qualifier) {
    if (manufacturer != manufacturerPrefix) {
        return std::nullopt;
    }
    return parse(model, std::move(qualifier));
}

std::string_view to_string(DeviceType::Type type) {
    for (const Model& model : models) {
        if (model.type == type) {
            return model.code;
        }
    }
    return {};
}

}  // namespace Norv::Ombrel::Project
