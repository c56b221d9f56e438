// The text forms of the project's value types.
//
// Versions and addresses are compared with what plain numbers say, written and read again; device
// codes are compared with their list; names are taken apart and put together.

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "Check.h"
#include "FuzzTarget.h"
#include "Norv/Ombrel/Project/DeviceType.h"
#include "Norv/Ombrel/Project/FQDN.h"
#include "Norv/Ombrel/Project/MacAddress.h"
#include "Norv/Ombrel/Project/Version.h"

namespace {

using namespace Norv::Ombrel::Project;

// What a text of plain numbers and separators says; empty for any other text, because only such
// texts have a clear meaning without the library.
std::vector<unsigned> plainNumbers(std::string_view text, char separator, int base) {
    std::vector<unsigned> numbers;
    for (;;) {
        const std::size_t size = std::min(text.find(separator), text.size());
        const char* const end = text.data() + size;
        unsigned number = 0;
        const auto read = std::from_chars(text.data(), end, number, base);
        if (read.ec != std::errc() || read.ptr != end) {
            return {};
        }
        numbers.push_back(number);
        if (size == text.size()) {
            return numbers;
        }
        text.remove_prefix(size + 1);
    }
}

void checkVersion(std::string_view text) {
    const auto version = Version::parse(text);
    const std::vector<unsigned> plain = plainNumbers(text, '.', 10);
    if (plain.size() == 4) {
        require(version == Version{plain[0], plain[1], plain[2], plain[3]},
                "four numbers in order");
    }
    require(plain.empty() || plain.size() >= 4 || !version, "a version has four numbers");
    if (version) {
        const std::string parts =
            std::to_string(version->major) + "." + std::to_string(version->minor) + "." +
            std::to_string(version->patch) + "." + std::to_string(version->build);
        require(to_string(*version) == parts, "a version is written in order");
        require(Version::parse(parts) == version, "versions survive their text form");
        require(Version::parse(std::string(text) + "x").has_value(),
                "text after the fourth number does not matter");
    }
}

// Two lower-case digits for each octet.
std::string hexadecimal(const MacAddress& mac, const std::string& separator) {
    std::string text;
    for (const std::uint8_t octet : mac.bytes) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", octet);
        text += (text.empty() ? "" : separator) + digits;
    }
    return text;
}

void checkMac(std::string_view text) {
    const auto mac = MacAddress::parse(text);
    const std::vector<unsigned> plain = plainNumbers(text, ':', 16);
    if (plain.size() > 1) {
        const bool octets = std::all_of(plain.begin(), plain.end(), [](auto n) { return n < 256; });
        require(mac.has_value() == (octets && plain.size() == 6), "an address has six octets");
        require(!mac || std::equal(plain.begin(), plain.end(), mac->bytes.begin()), "in order");
    }
    std::string digits(text);
    if (digits.size() == 12 && digits.find_first_not_of("0123456789abcdefABCDEF") == digits.npos) {
        std::transform(digits.begin(), digits.end(), digits.begin(), ::tolower);
        require(mac && hexadecimal(*mac, "") == digits, "six pairs in order");
    }
    if (mac) {
        require(fmt::format("{}", *mac) == hexadecimal(*mac, ":"), "separated form");
        require(fmt::format("{:c}", *mac) == hexadecimal(*mac, ""), "compact form");
        require(MacAddress::parse(hexadecimal(*mac, ":")) == mac, "separated form is read");
        require(MacAddress::parse(hexadecimal(*mac, "")) == mac, "compact form is read");
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
