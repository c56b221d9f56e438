#include "PackageBuilder.h"

#include <stdexcept>

#include "Archive.h"
#include "Digest.h"
#include "Signature.h"

namespace Norv::Corvane::Test {

std::string signXml(const std::string& xml, const TestKey& key) {
    const TemporaryDirectory directory;
    const KeyFiles files = writeKey(key, directory);
    return Pack::Signer(files.key.string(), files.certificate.string()).sign(xml);
}

PackageBuilder& PackageBuilder::firmware(std::string path, std::string data) {
    return file(Pack::PayloadKind::Firmware, path, path, std::move(data));
}

PackageBuilder& PackageBuilder::script(std::string path, std::string data) {
    return file(Pack::PayloadKind::Script, path, path, std::move(data));
}

PackageBuilder& PackageBuilder::file(Pack::PayloadKind kind, std::string localPath,
                                     std::string remotePath, std::string data) {
    payload_.push_back({kind, std::move(localPath), std::move(remotePath), std::move(data)});
    return *this;
}

PackageBuilder& PackageBuilder::stored() {
    deflate_ = false;
    return *this;
}

PackageBuilder& PackageBuilder::editManifest(std::function<void(Pack::Manifest&)> edit) {
    manifestEdits_.push_back(std::move(edit));
    return *this;
}

PackageBuilder& PackageBuilder::editXml(std::function<void(std::string&)> edit) {
    xmlEdits_.push_back(std::move(edit));
    return *this;
}

PackageBuilder& PackageBuilder::tamper(std::function<void(std::string&)> edit) {
    tamperings_.push_back(std::move(edit));
    return *this;
}

PackageBuilder& PackageBuilder::signedBy(const TestKey& key) {
    key_ = [&key]() -> const TestKey& { return key; };
    return *this;
}

PackageBuilder& PackageBuilder::withoutSignature() {
    key_ = nullptr;
    return *this;
}

PackageBuilder& PackageBuilder::flipBit(const std::string& localPath) {
    Payload& payload = find(localPath);
    if (payload.data.empty()) {
        throw std::logic_error(localPath + " has no bit to flip");
    }
    payload.flipped = true;
    return *this;
}

PackageBuilder& PackageBuilder::omit(const std::string& localPath) {
    find(localPath).omitted = true;
    return *this;
}

PackageBuilder& PackageBuilder::manifestEntry(std::optional<std::string> name) {
    manifestEntry_ = std::move(name);
    return *this;
}

PackageBuilder& PackageBuilder::manifestText(std::string text) {
    manifestText_ = std::move(text);
    return *this;
}

std::string PackageBuilder::manifest() const {
    if (manifestText_) {
        return *manifestText_;
    }
    Pack::Manifest manifest{"QV", "QA01RTVN", "1.2.3.4", "5.6.7.8", "9.10.11.12", {"A", "B"}, {}};
    for (const Payload& payload : payload_) {
        manifest.files.push_back({payload.kind, payload.localPath, payload.remotePath,
                                  Pack::digestBytes(payload.data).sha256, payload.data.size()});
    }
    for (const auto& edit : manifestEdits_) {
        edit(manifest);
    }
    std::string xml = Pack::toXml(manifest);
    for (const auto& edit : xmlEdits_) {
        edit(xml);
    }
    if (key_) {
        xml = signXml(xml, key_());
    }
    for (const auto& edit : tamperings_) {
        edit(xml);
    }
    return xml;
}

boost::filesystem::path PackageBuilder::build(const TemporaryDirectory& directory,
                                              const std::string& name) const {
    std::vector<Pack::ArchiveEntry> entries;
    if (manifestEntry_) {
        entries.push_back({*manifestEntry_, manifest(), true, {}});
    }
    for (const Payload& payload : payload_) {
        std::string data = payload.data;
        if (payload.flipped) {
            data[data.size() / 2] = static_cast<char>(data[data.size() / 2] ^ 1);
        }
        if (!payload.omitted) {
            entries.push_back({payload.localPath, std::move(data), deflate_, {}});
        }
    }
    const boost::filesystem::path path = directory / name;
    Pack::writeArchive(path.string(), entries);
    return path;
}

PackageBuilder::Payload& PackageBuilder::find(const std::string& localPath) {
    for (Payload& payload : payload_) {
        if (payload.localPath == localPath) {
            return payload;
        }
    }
    throw std::logic_error(localPath + " was not added");
}

}  // namespace Norv::Corvane::Test
