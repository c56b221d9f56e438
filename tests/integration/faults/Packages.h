// Real packages for the fault tests, made without a key.
//
// A validator that accepts exactly one manifest text replaces the signature check. It accepts what
// a perfect signature would, at the cost of a comparison. So tests can try thousands of damaged
// packages in seconds, and a success is right only with exactly the packed payload.

#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "Norv/Corvane/Common/FirmwareDescription.h"
#include "Norv/Corvane/Common/IFirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/ValidatedFirmwareZip.h"

namespace Norv::Corvane::Test {

struct Payload {
    // Entry name and installation path in one.
    std::string name;
    std::string content;
    Common::FileKind kind = Common::FileKind::Firmware;
};

class ExactText : public Common::IFirmwareDescriptionValidator {
public:
    explicit ExactText(std::string text) : text_(std::move(text)) {}

    boost::optional<bool> ValidateSignature(boost::string_view description) const override {
        return description == text_;
    }

private:
    std::string text_;
};

// The manifest that lists `files` with their true lengths and digests.
std::string manifestOf(const std::vector<Payload>& files);

enum class Storage { Stored, Deflated };

// Writes a package with the manifest as its last entry; replaces an existing file.
void writePackage(const boost::filesystem::path& path, const std::vector<Payload>& files,
                  Storage storage = Storage::Stored);

// The package as the validator of `files` lets it pass. Throws when it does not.
Common::ValidatedFirmwareZip validated(const boost::filesystem::path& path,
                                       const std::vector<Payload>& files);

// `size` bytes that do not compress, the same for the same seed.
std::string noise(std::size_t size, unsigned seed = 1);

// Rewrites the file in place: who has it open sees the change.
void replaceContent(const boost::filesystem::path& path, const std::string& content);

}  // namespace Norv::Corvane::Test
