// Checks the signature of a manifest.
//
// An interface so that a host or a test can replace `FirmwareDescriptionValidator`.

#pragma once

#include <boost/optional.hpp>
#include <boost/utility/string_view.hpp>

#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT IFirmwareDescriptionValidator {
public:
    // `description` is the whole text of the manifest. True: signed by the trusted key. False:
    // checked, and wrong. Empty: could not be checked.
    virtual boost::optional<bool> ValidateSignature(boost::string_view description) const = 0;

    virtual ~IFirmwareDescriptionValidator() = default;
};

}  // namespace Norv::Corvane::Common
