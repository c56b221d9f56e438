#include "Release.h"

#include "SourceFiles.h"

namespace Norv::Corvane::Pack {

namespace {

template <typename T>
void takeMissing(std::optional<T>& place, const std::optional<T>& other) {
    if (!place) {
        place = other;
    }
}

// "www" and "/srv/www/" with the path "a/b" below; an empty prefix adds nothing.
std::string joined(std::string prefix, const std::string& path) {
    if (!prefix.empty() && prefix.back() != '/') {
        prefix += '/';
    }
    return prefix + path;
}

std::string withoutLeadingSlash(const std::string& path) {
    const std::string::size_type at = path.find_first_not_of('/');
    return at == std::string::npos ? "" : path.substr(at);
}

void add(PayloadKind kind, std::string source, std::string name, std::string target,
         PackageInput& input) {
    ManifestFile file;
    file.kind = kind;
    file.localFilePath = std::move(name);
    file.remoteFilePath = std::move(target);
    input.manifest.files.push_back(std::move(file));
    input.sources.push_back(std::move(source));
}

void addRule(const PayloadRule& rule, PackageInput& input) {
    const std::string name = rule.name.value_or(withoutLeadingSlash(rule.target));
    if (rule.kind == PayloadRule::Kind::File || rule.kind == PayloadRule::Kind::Script) {
        const bool script = rule.kind == PayloadRule::Kind::Script;
        add(script ? PayloadKind::Script : PayloadKind::Firmware, rule.source, name, rule.target,
            input);
        return;
    }
    const std::vector<FoundFile> files = rule.kind == PayloadRule::Kind::Folder
                                             ? filesBelow(rule.source)
                                             : filesMatching(rule.source);
    for (const FoundFile& file : files) {
        add(PayloadKind::Firmware, file.path, joined(name, file.relative),
            joined(rule.target, file.relative), input);
    }
}

}  // namespace

Release overlay(Release first, const Release& second) {
    takeMissing(first.key, second.key);
    takeMissing(first.certificate, second.certificate);
    takeMissing(first.output, second.output);
    takeMissing(first.manufacturer, second.manufacturer);
    takeMissing(first.model, second.model);
    takeMissing(first.version, second.version);
    takeMissing(first.systemVersion, second.systemVersion);
    takeMissing(first.applicationVersion, second.applicationVersion);
    takeMissing(first.hwRevs, second.hwRevs);
    takeMissing(first.payload, second.payload);
    takeMissing(first.compress, second.compress);
    takeMissing(first.includeCertificate, second.includeCertificate);
    return first;
}

PackageInput expand(const Release& release) {
    PackageInput input;
    Manifest& manifest = input.manifest;
    manifest.manufacturerId = release.manufacturer.value();
    manifest.modelId = release.model.value();
    manifest.version = release.version.value();
    manifest.systemVersion = release.systemVersion.value();
    manifest.applicationVersion = release.applicationVersion.value();
    manifest.supportedHwRevs = release.hwRevs.value_or(std::vector<std::string>());
    input.deflate = release.compress.value_or(true);
    for (const PayloadRule& rule : release.payload.value_or(std::vector<PayloadRule>())) {
        addRule(rule, input);
    }
    return input;
}

}  // namespace Norv::Corvane::Pack
