#include "ValidatorFixture.h"

namespace Norv::Corvane::Test {

void ValidatorEnvironment::SetUp() {
    ASSERT_FALSE(Common::FirmwareDescriptionValidator::Init());
}

void ValidatorEnvironment::TearDown() {
    Common::FirmwareDescriptionValidator::Deinit();
}

void ValidatorFixture::SetUp() {
    ASSERT_FALSE(validator.Open(keys.certificate));
}

}  // namespace Norv::Corvane::Test
