// A validator with a fixed verdict.

#pragma once

#include <string>
#include <vector>

#include "Norv/Corvane/Common/IFirmwareDescriptionValidator.h"

namespace Norv::Corvane::Test {

class StubValidator : public Common::IFirmwareDescriptionValidator {
public:
    explicit StubValidator(boost::optional<bool> verdict) : verdict_(verdict) {}

    boost::optional<bool> ValidateSignature(boost::string_view description) const override {
        texts.push_back(description.to_string());
        return verdict_;
    }

    // Everything it was asked about, in order.
    mutable std::vector<std::string> texts;

private:
    boost::optional<bool> verdict_;
};

}  // namespace Norv::Corvane::Test
