// Wherever the signature check says true, what the library reads of the manifest is what libxml2
// reads of the bytes that were signed.
//
// An input is a manifest without values in its signature, and after a byte 0xFF any number of
// edits. The manifest is signed with the trusted key, as an honest maker of packages would, and the
// edits are an attacker's. Limits for the check may stand in front: little room for names, an
// allocation that fails. The bytes that were signed are read without such limits.

#include "FuzzTarget.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Keys.h"
#include "LibraryLimits.h"
#include "ManifestEdits.h"
#include "ManifestReading.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "TemporaryDirectory.h"
#include "XmlSigning.h"

namespace {

using namespace Norv::Corvane;

// Signing costs more than everything else together, and most inputs differ in their edits only.
class Signer {
public:
    // The text itself when it cannot be signed.
    const std::string& sign(const std::string& manifest, const Test::TestKey& key) {
        const auto found = signed_.find(manifest);
        if (found != signed_.end()) {
            return found->second;
        }
        constexpr std::size_t mostKept = 1024;
        if (signed_.size() == mostKept) {
            signed_.clear();
        }
        try {
            return signed_[manifest] = Test::fillSignature(manifest, key);
        } catch (const std::runtime_error&) {
            return signed_[manifest] = manifest;
        }
    }

private:
    std::unordered_map<std::string, std::string> signed_;
};

// What a process needs once. Prints its count at the end.
class Session {
public:
    Session() {
        auto quiet = std::make_shared<spdlog::sinks::null_sink_mt>();
        spdlog::set_default_logger(std::make_shared<spdlog::logger>("quiet", quiet));
        Fuzz::LimitedLibrary::prepare();
        const Test::KeyFiles files = Test::writeKey(key, directory_);
        if (Common::FirmwareDescriptionValidator::Init() || validator.Open(files.certificate)) {
            std::abort();
        }
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        std::fprintf(stderr, "signature_differential: %lu manifests judged, %lu true\n", judged,
                     accepted);
        validator.Close();
        Common::FirmwareDescriptionValidator::Deinit();
    }

    const Test::TestKey& key = Test::ecKey();
    Common::FirmwareDescriptionValidator validator;
    Signer signer;
    unsigned long judged = 0;
    unsigned long accepted = 0;

private:
    Test::TemporaryDirectory directory_;
};

// Allocations that are missed one after the other, each in a run of its own. Few of them matter to
// what is read, and those before the signature end a run early.
constexpr unsigned faultsTried = 16;

void check(Session& session, const std::string& manifest, const Fuzz::Limits& limits) {
    boost::optional<bool> verdict;
    {
        const Fuzz::LimitedLibrary limited(limits);
        verdict = session.validator.ValidateSignature(manifest);
    }
    ++session.judged;
    if (verdict != true) {
        return;
    }
    ++session.accepted;
    const std::string used = Test::readingOf(manifest);
    const std::string meant = Test::signedReadingOf(manifest, session.key);
    if (used != meant) {
        std::fprintf(stderr, "--- used\n%s--- signed\n%s--- manifest\n%s\n", used.c_str(),
                     meant.c_str(), manifest.c_str());
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Session session;
    const std::string_view whole(reinterpret_cast<const char*>(data), size);
    const std::string input(Fuzz::withoutLimits(whole));
    const std::size_t end = std::min(input.find('\xFF'), input.size());
    const std::string_view edits = std::string_view(input).substr(std::min(end + 1, input.size()));

    const std::string manifest =
        Fuzz::edited(session.signer.sign(input.substr(0, end), session.key), edits);
    Fuzz::Limits limits = Fuzz::limitsOf(whole);
    check(session, manifest, limits);
    for (unsigned i = 1; limits.fault != 0 && i < faultsTried; ++i) {
        ++limits.fault;
        check(session, manifest, limits);
    }
    return 0;
}
