#include "Norv/Ombrel/Project/Version.h"

#include <fmt/format.h>
#include <scn/scn.h>

namespace Norv::Ombrel::Project {

std::optional<Version> Version::parse(std::string_view text) {
    Version version;
    // Text after the fourth number is allowed: firmware vendors append build tags there.
    if (!scn::scan(text, "{}.{}.{}.{}", version.major, version.minor, version.patch,
                   version.build)) {
        return std::nullopt;
    }
    return version;
}

std::string to_string(const Version& version) {
    return fmt::format("{}.{}.{}.{}", version.major, version.minor, version.patch, version.build);
}

}  // namespace Norv::Ombrel::Project
