// The libraries that a validation is made of, each called on its own and with nothing around it.

#pragma once

#include <memory>
#include <string>

struct _xmlSecKeysMngr;

namespace Norv::Corvane::Benchmarks {

// Opens the archive, reads the manifest, closes the archive. libzip.
std::string readManifestBare(const std::string& package);

// Parses the document, finds its signature and verifies it. libxml2, xmlsec and OpenSSL.
class BareVerifier {
public:
    // xmlsec has to be up. Throws `std::runtime_error` when the certificate cannot be loaded.
    explicit BareVerifier(const std::string& certificate);

    bool verify(const std::string& text) const;

private:
    struct Deleter {
        void operator()(_xmlSecKeysMngr* manager) const noexcept;
    };
    std::unique_ptr<_xmlSecKeysMngr, Deleter> manager_;
};

// Loads the text into a tree and drops it. pugixml.
bool loadTreeBare(const std::string& text);

}  // namespace Norv::Corvane::Benchmarks
