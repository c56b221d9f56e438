// The text forms of the project's value types.
//
// Versions and addresses that are read are written and read again, device codes are compared with
// their list, and names are taken apart and put together.

#include <algorithm>
#include <string>
#include <string_view>

#include "Check.h"
#include "FuzzTarget.h"
#include "Norv/Ombrel/Project/DeviceType.h"
#include "Norv/Ombrel/Project/FQDN.h"
#include "Norv/Ombrel/Project/MacAddress.h"
#include "Norv/Ombrel/Project/Version.h"

namespace {

using namespace Norv::Ombrel::Project;

void checkVersion(std::string_view text) {
    if (const auto version = Version::parse(text)) {
        require(Version::parse(to_string(*version)) == version, "versions survive their text form");
        require(Version::parse(std::string(text) + "x").has_value(),
                "text after the fourth number does not matter");
    }
}

void checkMac(std::string_view text) {
    if (const auto mac = MacAddress::parse(text)) {
        require(MacAddress::parse(fmt::format("{}", *mac)) == mac, "separated form");
        require(MacAddress::parse(fmt::format("{:c}", *mac)) == mac, "compact form");
        require(text.size() == 12 || std::count(text.begin(), text.end(), ':') == 5,
                "an address has twelve characters or five colons");
    }
}

void checkDeviceType(std::string_view text) {
    if (const auto type = DeviceType::parse(text, std::nullopt)) {
        const std::string name(to_string(type->type));
        require(text == name || text == "QV" + name, "only the listed codes are devices");
    }
    require(!DeviceType::parse("qv", text, std::nullopt), "the manufacturer's case matters");
}

void checkName(std::string_view text) {
    const FQDN name{std::string(text)};
    const auto domain = name.GetDomain();
    std::string whole(name.GetHost().GetText());
    if (domain) {
        whole += "." + std::string(domain->GetText());
    }
    require(to_string(name) == whole, "a name is its host and its domain");
    require(name == FQDN{std::string(to_string(name))}, "cleaning a clean name changes nothing");
    const std::string host = Host(std::string(text)).GetText();
    require(Host(host).GetText() == host, "cleaning a clean host changes nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkVersion(text);
    checkMac(text);
    checkDeviceType(text);
    checkName(text);
    return 0;
}
