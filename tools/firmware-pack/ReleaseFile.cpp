#include "ReleaseFile.h"

#include <toml++/toml.h>

#include <algorithm>

#include "Error.h"
#include "PrivateKey.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

constexpr std::size_t fileLimit = std::size_t{16} << 20U;

// Reads one table of the file, and reports errors with their place.
class TableReader {
public:
    TableReader(const toml::table& table, std::string path)
        : table_(table), path_(std::move(path)) {}

    [[noreturn]] void fail(const toml::node& at, const std::string& reason) const {
        fail(at.source().begin.line, reason);
    }
    [[noreturn]] void fail(toml::source_index line, const std::string& reason) const {
        throw PackError(printable(path_) + ":" + std::to_string(line) + ": " + reason);
    }

    void refuseUnknown(const std::vector<ReleaseKey>& known) const {
        for (const auto& [key, value] : table_) {
            const std::string_view name = key.str();
            if (std::none_of(known.begin(), known.end(),
                             [name](const ReleaseKey& k) { return name == k.name; })) {
                fail(key.source().begin.line, "unknown key " + inQuotes(name));
            }
        }
    }

    std::optional<std::string> text(const char* key) const {
        const toml::node* const node = table_.get(key);
        return node == nullptr ? std::nullopt : std::optional(textOf(*node, key));
    }

    // A path is relative to the folder of the file.
    std::optional<std::string> path(const char* key) const {
        const std::optional<std::string> value = text(key);
        return value ? std::optional(fromHere(*value)) : std::nullopt;
    }

    std::optional<bool> flag(const char* key) const {
        const toml::node* const node = table_.get(key);
        if (node == nullptr) {
            return std::nullopt;
        }
        if (!node->is_boolean()) {
            fail(*node, inQuotes(key) + " is neither true nor false");
        }
        return node->as_boolean()->get();
    }

    std::optional<std::vector<std::string>> texts(const char* key) const {
        const toml::node* const node = table_.get(key);
        if (node == nullptr) {
            return std::nullopt;
        }
        if (!node->is_array()) {
            fail(*node, inQuotes(key) + " is not an array of texts");
        }
        std::vector<std::string> values;
        for (const toml::node& element : *node->as_array()) {
            values.push_back(textOf(element, key));
        }
        return values;
    }

    const toml::table& table() const { return table_; }

    std::string fromHere(const std::string& path) const {
        const std::string::size_type slash = path_.rfind('/');
        const bool here = slash == std::string::npos || path.front() == '/';
        return here ? path : path_.substr(0, slash + 1) + path;
    }

private:
    std::string textOf(const toml::node& node, const char* key) const {
        if (!node.is_string()) {
            fail(node, inQuotes(key) + " is not a text");
        }
        std::string value = node.as_string()->get();
        if (value.empty()) {
            fail(node, inQuotes(key) + " is empty");
        }
        // What follows a zero byte would be lost in a file name or in the manifest.
        if (value.find('\0') != std::string::npos) {
            fail(node, inQuotes(key) + " holds a zero byte");
        }
        return value;
    }

    const toml::table& table_;
    std::string path_;
};

struct KindKey {
    const char* name;
    PayloadRule::Kind kind;
};

constexpr KindKey kindKeys[] = {{"file", PayloadRule::Kind::File},
                                {"script", PayloadRule::Kind::Script},
                                {"folder", PayloadRule::Kind::Folder},
                                {"pattern", PayloadRule::Kind::Pattern}};

PayloadRule readRule(const TableReader& reader) {
    reader.refuseUnknown(payloadKeys());
    PayloadRule rule;
    int kinds = 0;
    for (const KindKey& key : kindKeys) {
        if (const auto source = reader.path(key.name)) {
            rule.kind = key.kind;
            rule.source = *source;
            ++kinds;
        }
    }
    if (kinds != 1) {
        reader.fail(reader.table(), "payload needs one of file, script, folder and pattern");
    }
    const bool single =
        rule.kind == PayloadRule::Kind::File || rule.kind == PayloadRule::Kind::Script;
    const auto target = reader.text("target");
    if (!target && single) {
        reader.fail(reader.table(), "payload needs a target");
    }
    rule.target = target.value_or("");
    rule.name = reader.text("name");
    return rule;
}

std::optional<std::vector<PayloadRule>> readRules(const TableReader& reader,
                                                  const std::string& path) {
    const toml::node* const node = reader.table().get("payload");
    if (node == nullptr) {
        return std::nullopt;
    }
    if (!node->is_array_of_tables()) {
        reader.fail(*node, "\"payload\" is not an array of tables");
    }
    std::vector<PayloadRule> rules;
    for (const toml::node& element : *node->as_array()) {
        rules.push_back(readRule(TableReader(*element.as_table(), path)));
    }
    return rules;
}

}  // namespace

const std::vector<ReleaseKey>& releaseKeys() {
    static const std::vector<ReleaseKey> keys = {
        {"manufacturer", "text", "for example QV"},
        {"model", "text", "for example QA01RTVN"},
        {"version", "text", "version of the package, A.B.C.D"},
        {"system-version", "text", "version of its system part, A.B.C.D"},
        {"application-version", "text", "version of its application part, A.B.C.D"},
        {"hardware-revisions", "array of texts", "supported hardware revisions"},
        {"payload", "array of tables", "the payload, in the order of installation"},
        {"compress", "boolean", "whether the payload is compressed; true unless stated"},
        {"key", "text", "the signing key: a file, or a pkcs11: URI"},
        {"certificate", "text", "PEM certificate of that key, the one the devices trust"},
        {"include-certificate", "boolean",
         "whether the signature carries a copy of the certificate; false unless stated"},
        {"output", "text", "the package to write"},
    };
    return keys;
}

const std::vector<ReleaseKey>& payloadKeys() {
    static const std::vector<ReleaseKey> keys = {
        {"file", "text", "a file that is installed"},
        {"script", "text",
         "a script that is installed, and run then if its target ends in \"Script.run\""},
        {"folder", "text", "a folder: every file below it, sorted by path"},
        {"pattern", "text",
         "a path with *, ? and [...]: every file that matches, sorted by path. Its path below the "
         "last folder without a wildcard is added to the target"},
        {"target", "text",
         "the path below the target directory; for a folder or pattern, what goes in front of the "
         "paths below it, nothing unless stated"},
        {"name", "text", "the name in the archive, likewise; the target unless stated"},
    };
    return keys;
}

Release parseRelease(std::string_view text, const std::string& path) {
    toml::table table;
    try {
        table = toml::parse(text);
    } catch (const toml::parse_error& error) {
        throw PackError(printable(path) + ":" + std::to_string(error.source().begin.line) + ": " +
                        printable(error.description()));
    }
    const TableReader reader(table, path);
    reader.refuseUnknown(releaseKeys());
    Release release;
    release.manufacturer = reader.text("manufacturer");
    release.model = reader.text("model");
    release.version = reader.text("version");
    release.systemVersion = reader.text("system-version");
    release.applicationVersion = reader.text("application-version");
    release.hwRevs = reader.texts("hardware-revisions");
    release.payload = readRules(reader, path);
    release.compress = reader.flag("compress");
    release.includeCertificate = reader.flag("include-certificate");
    release.key = reader.text("key");
    if (release.key && !isTokenUri(*release.key)) {
        release.key = reader.fromHere(*release.key);
    }
    release.certificate = reader.path("certificate");
    release.output = reader.path("output");
    return release;
}

Release readReleaseFile(const std::string& path) {
    return parseRelease(readSmallFile(path, fileLimit), path);
}

}  // namespace Norv::Corvane::Pack
