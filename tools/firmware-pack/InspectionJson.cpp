#include <fmt/format.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "Inspection.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

namespace json = boost::json;

// Turns any bytes into valid UTF-8: invalid ones become the replacement character.
json::string valid(std::string_view text) {
    json::string result;
    while (!text.empty()) {
        const CodePoint next = firstCodePoint(text);
        const std::string_view part = next.valid ? text.substr(0, next.length) : "\xef\xbf\xbd";
        result.append(part.begin(), part.end());
        text.remove_prefix(next.length);
    }
    return result;
}

json::array valid(const std::vector<std::string>& texts) {
    json::array result;
    for (const std::string& text : texts) {
        result.push_back(valid(text));
    }
    return result;
}

json::value number(const std::optional<std::uint64_t>& value) {
    return value ? json::value(*value) : json::value(nullptr);
}

const char* nameOf(Match match) {
    switch (match) {
        case Match::Yes:
            return "yes";
        case Match::No:
            return "no";
        case Match::Missing:
            return "missing";
        case Match::Unreadable:
            return "unreadable";
    }
    return "";
}

json::array filesOf(const Inspection& inspection) {
    json::array files;
    for (const InspectedFile& file : inspection.files) {
        const auto& stated = file.stated;
        json::object object;
        object["kind"] = stated.kind == Common::FileKind::Script ? "script" : "firmware";
        object["name"] = valid(stated.localFilePath);
        object["target"] = valid(stated.remoteFilePath.value_or(stated.localFilePath));
        object["length"] = stated.length;
        object["sha256"] = toHex(stated.hashValue);
        object["size"] = number(file.size);
        object["storedSize"] = number(file.storedSize);
        object["matches"] = nameOf(file.match);
        files.push_back(std::move(object));
    }
    return files;
}

json::array unlistedOf(const Inspection& inspection) {
    json::array entries;
    for (const InspectedEntry& entry : inspection.unlistedEntries) {
        entries.push_back(json::object{
            {"name", valid(entry.name)}, {"size", entry.size}, {"storedSize", entry.storedSize}});
    }
    return entries;
}

json::value signatureOf(const std::optional<InspectedSignature>& signature) {
    if (!signature) {
        return nullptr;
    }
    json::object object;
    object["canonicalization"] = valid(signature->canonicalization);
    object["method"] = valid(signature->method);
    object["digests"] = valid(signature->digests);
    object["hasValue"] = signature->hasValue;
    object["signingTime"] =
        signature->signingTime ? json::value(valid(*signature->signingTime)) : json::value(nullptr);
    object["keyHints"] = valid(signature->keyHints);
    return object;
}

void addDescription(json::object& object, const Inspection& inspection) {
    object["manifestError"] = inspection.manifestError
                                  ? json::value(valid(*inspection.manifestError))
                                  : json::value(nullptr);
    if (!inspection.description) {
        return;
    }
    const Common::FirmwareDescription& description = *inspection.description;
    using Norv::Ombrel::Project::DeviceType;
    object["device"] =
        json::object{{"manufacturer", valid(inspection.manufacturer)},
                     {"model", valid(inspection.model)},
                     {"known", description.deviceType.type != DeviceType::Type::None}};
    object["version"] = to_string(description.version);
    object["systemVersion"] = to_string(description.systemVersion);
    object["applicationVersion"] = to_string(description.applicationVersion);
    object["hardwareRevisions"] = valid(description.supportedHwRevs);
}

void appendEscaped(std::string& text, std::uint32_t codePoint) {
    if (codePoint < 0x10000) {
        text += fmt::format("\\u{:04x}", codePoint);
        return;
    }
    const std::uint32_t rest = codePoint - 0x10000;
    text += fmt::format("\\u{:04x}\\u{:04x}", 0xd800 + (rest >> 10U), 0xdc00 + (rest & 0x3ffU));
}

// Only strings contain anything but ASCII, and there it may be escaped.
std::string ascii(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const CodePoint next = firstCodePoint(text);
        if (next.value < 0x7f) {
            result += text[0];
        } else {
            appendEscaped(result, next.value);
        }
        text.remove_prefix(next.length);
    }
    return result;
}

}  // namespace

std::string toJson(const Inspection& inspection) {
    json::object object;
    object["format"] = 1;
    object["package"] = valid(inspection.path);
    object["size"] = inspection.size;
    object["sha256"] = toHex(inspection.sha256);
    addDescription(object, inspection);
    object["signature"] = signatureOf(inspection.signature);
    object["verdict"] = inspection.verdict
                            ? json::value{{"genuine", inspection.verdict->genuine},
                                          {"reason", valid(inspection.verdict->reason)}}
                            : json::value(nullptr);
    object["files"] = filesOf(inspection);
    object["ignoredFiles"] = valid(inspection.ignoredFiles);
    object["unlistedEntries"] = unlistedOf(inspection);
    return ascii(json::serialize(object)) + "\n";
}

}  // namespace Norv::Corvane::Pack
