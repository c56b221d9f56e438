// The library's XML back end for tests that need it, and a validator that trusts `rsaKey`.

#pragma once

#include <gtest/gtest.h>

#include "Keys.h"
#include "LogCapture.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

// Calls `FirmwareDescriptionValidator::Init` before the first test of the process and `Deinit`
// after the last one. xmlsec must not be started twice, so no test on top of this header starts it.
class ValidatorEnvironment : public testing::Environment {
public:
    void SetUp() override;
    void TearDown() override;
};

// Including this header is enough.
inline testing::Environment* const validatorEnvironment =
    testing::AddGlobalTestEnvironment(new ValidatorEnvironment);

class ValidatorFixture : public testing::Test {
protected:
    // Before `log`, so that opening the validator leaves no trace in it.
    TemporaryDirectory directory;
    const KeyFiles keys = writeKey(rsaKey(), directory);
    Common::FirmwareDescriptionValidator validator;
    LogCapture log;

    void SetUp() override;
};

}  // namespace Norv::Corvane::Test
