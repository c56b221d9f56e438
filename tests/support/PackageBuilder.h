// Firmware packages for tests: sound unless told otherwise, made by the code of firmware-pack.

#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Keys.h"
#include "Manifest.h"
#include "ValidatorFixture.h"

namespace Norv::Corvane::Test {

// The text with a signature of this key. xmlsec has to be up.
std::string signXml(const std::string& xml, const TestKey& key);

// Describes a package, step by step; `build` makes it. At first: device QV/QA01RTVN, versions
// 1.2.3.4, 5.6.7.8 and 9.10.11.12, hardware revisions "A" and "B", no payload, signed by `rsaKey`.
class PackageBuilder {
public:
    // Adds a payload file; entry name and installation path are the same unless given apart.
    PackageBuilder& firmware(std::string path, std::string data);
    PackageBuilder& script(std::string path, std::string data);
    PackageBuilder& file(Pack::PayloadKind kind, std::string localPath, std::string remotePath,
                         std::string data);

    // Stores payload uncompressed, so that its bytes are found as they are in the package.
    PackageBuilder& stored();

    // Changes the manifest after the digests were filled in, before it becomes XML.
    PackageBuilder& editManifest(std::function<void(Pack::Manifest&)> edit);
    // Changes the XML before it is signed: the signature covers the change.
    PackageBuilder& editXml(std::function<void(std::string&)> edit);
    // Changes the XML after it was signed.
    PackageBuilder& tamper(std::function<void(std::string&)> edit);

    PackageBuilder& signedBy(const TestKey& key);
    PackageBuilder& withoutSignature();

    // Flips one bit in the middle of this entry after its digest was taken. Not for empty files.
    PackageBuilder& flipBit(const std::string& localPath);
    // Lists this file in the manifest but leaves it out of the archive.
    PackageBuilder& omit(const std::string& localPath);

    // Puts the manifest under another entry name; none leaves it out.
    PackageBuilder& manifestEntry(std::optional<std::string> name);
    // Takes this text for the manifest entry as it is, in place of all of the above.
    PackageBuilder& manifestText(std::string text);

    // The manifest entry's text.
    std::string manifest() const;

    // Writes the package and returns its path. Throws `Pack::PackError`.
    boost::filesystem::path build(const TemporaryDirectory& directory,
                                  const std::string& name = "package.zip") const;

private:
    struct Payload {
        Pack::PayloadKind kind;
        std::string localPath;
        std::string remotePath;
        std::string data;
        bool flipped = false;
        bool omitted = false;
    };

    Payload& find(const std::string& localPath);

    std::vector<Payload> payload_;
    bool deflate_ = true;
    // Called when a signature is made: generating a key takes its time.
    std::function<const TestKey&()> key_ = rsaKey;
    std::optional<std::string> manifestEntry_ = Pack::manifestEntryName;
    std::optional<std::string> manifestText_;
    std::vector<std::function<void(Pack::Manifest&)>> manifestEdits_;
    std::vector<std::function<void(std::string&)>> xmlEdits_;
    std::vector<std::function<void(std::string&)>> tamperings_;
};

}  // namespace Norv::Corvane::Test
