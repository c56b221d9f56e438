// Release files: any text either describes a release or is refused with one line that says where.

#include "Check.h"
#include "Error.h"
#include "FuzzTarget.h"
#include "ReleaseFile.h"
#include "Text.h"

using namespace Norv::Corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const Pack::Release release = Pack::parseRelease(text, "folder/release.toml");
        if (release.certificate) {
            require(release.certificate->front() == '/' ||
                        release.certificate->compare(0, 7, "folder/") == 0,
                    "paths count from the folder of the file");
        }
        for (const auto& rule : release.payload.value_or(std::vector<Pack::PayloadRule>())) {
            require(!rule.source.empty(), "payload has a source");
            require(rule.source.find('\0') == std::string::npos, "a path holds no zero byte");
        }
    } catch (const Pack::PackError& error) {
        const std::string reason = error.what();
        require(reason.compare(0, 20, "folder/release.toml:") == 0, "the reason says where");
        require(Pack::printable(reason) == reason, "the reason is safe to print");
    }
    return 0;
}
