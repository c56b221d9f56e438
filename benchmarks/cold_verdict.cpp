// From nothing to the first verdict: certificate and package in, exit status out.

#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"

int main(int argc, char** argv) {
    using namespace Norv::Corvane::Common;

    FirmwareDescriptionValidator validator;
    if (argc != 3 || FirmwareDescriptionValidator::Init() || validator.Open(argv[1])) {
        return 2;
    }
    return FirmwareZipValidator(validator).ValidateFirmwareZipFile(argv[2]) ? 0 : 1;
}
