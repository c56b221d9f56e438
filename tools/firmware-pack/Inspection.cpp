#include "Inspection.h"

#include <map>
#include <set>

#include "Digest.h"
#include "PackageReading.h"
#include "SignatureReading.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

using Common::FirmwareDescription;

struct EntryContent {
    bool readable = false;
    std::vector<std::uint8_t> sha256;
};

// Each entry is read once, however often a manifest lists it.
class EntryReader {
public:
    EntryReader(const libzip::archive& archive, Step& step) : archive_(archive), step_(step) {}

    InspectedFile read(const FirmwareDescription::File& stated) {
        InspectedFile file{stated, Match::Missing, std::nullopt, std::nullopt};
        const zip_int64_t index = archive_.find(stated.localFilePath);
        if (index < 0) {
            return file;
        }
        const zip_stat_t stat = archive_.stat(stated.localFilePath);
        file.size = stat.size;
        file.storedSize = stat.comp_size;
        const EntryContent& content = contentOf(index, stated.localFilePath);
        file.match = !content.readable                    ? Match::Unreadable
                     : content.sha256 == stated.hashValue ? Match::Yes
                                                          : Match::No;
        return file;
    }

private:
    const EntryContent& contentOf(zip_int64_t index, const std::string& name) {
        const auto [place, fresh] = contents_.try_emplace(index);
        if (fresh) {
            place->second = digestOf(name);
        }
        return place->second;
    }

    EntryContent digestOf(const std::string& name) {
        try {
            libzip::file entry = archive_.open(name);
            Sha256 sha256;
            std::vector<char> chunk(256 * 1024);
            zip_int64_t count = 0;
            while ((count = entry.read(chunk.data(), chunk.size())) > 0) {
                sha256.update(chunk.data(), static_cast<std::size_t>(count));
                step_.advance(static_cast<std::uint64_t>(count));
            }
            return {count == 0, sha256.finish()};
        } catch (const std::runtime_error&) {
            return {};  // encrypted, or compressed in a way that is not known here
        }
    }

    const libzip::archive& archive_;
    Step& step_;
    std::map<zip_int64_t, EntryContent> contents_;
};

// Parses the manifest a second time, for what the library does not report.
void readRest(const std::string& text, Inspection& inspection) {
    pugi::xml_document document;
    if (!document.load_string(text.c_str())) {
        return;
    }
    inspection.signature = readSignature(document.document_element());
    const pugi::xml_node root = document.child("FirmwareDescription");
    inspection.manufacturer = root.child("ManufacturerId").attribute("Value").value();
    inspection.model = root.child("ModelId").attribute("Value").value();
    for (const pugi::xml_node entry : root.child("Files").children()) {
        if (entry.type() == pugi::node_element && !Common::parseFile(entry)) {
            inspection.ignoredFiles.emplace_back(entry.attribute("LocalFilePath").value());
        }
    }
}

void listUnlisted(const libzip::archive& archive, Inspection& inspection) {
    std::set<std::string> listed = {"FirmwareDescription.xml"};
    for (const InspectedFile& file : inspection.files) {
        listed.insert(file.stated.localFilePath);
    }
    const zip_int64_t count = zip_get_num_entries(archive.handle(), 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t stat{};
        const auto index = static_cast<zip_uint64_t>(i);
        const bool known = zip_stat_index(archive.handle(), index, 0, &stat) == 0;
        if (known && listed.count(stat.name) == 0) {
            inspection.unlistedEntries.push_back({stat.name, stat.size, stat.comp_size});
        }
    }
}

}  // namespace

Inspection inspectPackage(const std::string& path, const ProgressSink& progress) {
    Inspection inspection;
    inspection.path = path;
    inspection.size = sizeOfFile(path);
    const ReadPackage read = readPackage(path);
    Step hashing(progress, "hashing", inspection.size);
    inspection.sha256 = digestFile(path, &hashing).sha256;
    readRest(read.text, inspection);
    inspection.description = read.description;
    if (!read.description) {
        inspection.manifestError = read.error;
    } else {
        Step step(progress, "verifying", read.description->totalLength);
        EntryReader reader(read.package.archive(), step);
        for (const FirmwareDescription::File& file : read.description->files) {
            inspection.files.push_back(reader.read(file));
        }
    }
    listUnlisted(read.package.archive(), inspection);
    return inspection;
}

}  // namespace Norv::Corvane::Pack
