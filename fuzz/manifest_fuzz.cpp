// Manifest text: what the parser makes of any tree that pugixml can load.

#include <numeric>
#include <pugixml.hpp>

#include "Check.h"
#include "FuzzTarget.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Norv/Corvane/Common/FirmwareDescription.h"

namespace {

using namespace Norv::Corvane::Common;

void check(const FirmwareDescription& description) {
    std::uint32_t total = 0;
    for (const FirmwareDescription::File& file : description.files) {
        total += file.length;
        require(!file.localFilePath.empty(), "every file has a name in the archive");
        require(!file.remoteFilePath || *file.remoteFilePath != file.localFilePath,
                "an installation path is kept only if it differs");
        require(file.kind == FileKind::Script || file.kind == FileKind::Firmware,
                "every file has a kind");
    }
    require(description.totalLength == total, "the total is the sum of the lengths");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pugi::xml_document document;
    if (!document.load_buffer(data, size)) {
        return 0;
    }
    const auto outcome = parseFirmwareDescription(document.child("FirmwareDescription"));
    if (const auto* const description = boost::get<FirmwareDescription>(&outcome)) {
        check(*description);
    } else {
        const std::error_code error = boost::get<std::error_code>(outcome);
        require(error.category() ==
                        make_error_code(ParseFirmwareDescriptionError::Success).category() &&
                    error.value() >= 1 && error.value() <= 5,
                "a refusal has one of the five reasons");
    }
    return 0;
}
