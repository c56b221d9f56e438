#include "Manifest.h"

#include <pugixml.hpp>
#include <sstream>

#include "Digest.h"

namespace Norv::Corvane::Pack {

namespace {

void appendValue(pugi::xml_node parent, const char* name, const std::string& value) {
    parent.append_child(name).append_attribute("Value").set_value(value.c_str());
}

void appendFile(pugi::xml_node files, const ManifestFile& file) {
    pugi::xml_node node = files.append_child("File");
    node.append_attribute("xsi:type")
        .set_value(file.kind == PayloadKind::Script ? "ScriptFileType" : "FirmwareFileType");
    node.append_attribute("LocalFilePath").set_value(file.localFilePath.c_str());
    node.append_attribute("RemoteFilePath").set_value(file.remoteFilePath.c_str());
    node.append_attribute("HashValue").set_value(toBase64(file.hashValue).c_str());
    node.append_attribute("HashAlgorithm").set_value("sha256");
    node.append_attribute("Length").set_value(static_cast<unsigned long long>(file.length));
}

}  // namespace

std::string toXml(const Manifest& manifest) {
    pugi::xml_document document;
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");

    pugi::xml_node root = document.append_child("FirmwareDescription");
    // Canonicalisation needs the prefix of "xsi:type" to be bound.
    root.append_attribute("xmlns:xsi").set_value("http://www.w3.org/2001/XMLSchema-instance");
    appendValue(root, "ManufacturerId", manifest.manufacturerId);
    appendValue(root, "ModelId", manifest.modelId);
    appendValue(root, "Version", manifest.version);
    appendValue(root, "SystemVersion", manifest.systemVersion);
    appendValue(root, "ApplicationVersion", manifest.applicationVersion);
    pugi::xml_node hwRevs = root.append_child("SupportedHwRevs");
    for (const std::string& hwRev : manifest.supportedHwRevs) {
        appendValue(hwRevs, "HwRev", hwRev);
    }
    pugi::xml_node files = root.append_child("Files");
    for (const ManifestFile& file : manifest.files) {
        appendFile(files, file);
    }

    std::ostringstream text;
    document.save(text, "  ");
    return text.str();
}

}  // namespace Norv::Corvane::Pack
