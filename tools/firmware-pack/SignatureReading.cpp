#include "SignatureReading.h"

#include <openssl/err.h>

#include <algorithm>
#include <string_view>

#include "Digest.h"
#include "OpenSsl.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

// A hostile signature may contain any number of them.
constexpr std::size_t mostHints = 8;

std::string_view localName(pugi::xml_node node) {
    const std::string_view name = node.name();
    return name.substr(name.find(':') + 1);
}

std::vector<std::uint8_t> fromBase64(const std::string& text) {
    std::string packed;
    std::copy_if(text.begin(), text.end(), std::back_inserter(packed), [](char c) {
        return std::string_view(" \t\r\n").find(c) == std::string_view::npos;
    });
    std::vector<std::uint8_t> bytes(packed.size() / 4 * 3);
    const int size =
        packed.size() > (std::size_t{1} << 20U) || packed.empty()
            ? -1
            : EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(packed.data()),
                              static_cast<int>(packed.size()));
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
}

std::string describeCertificate(const std::string& base64) {
    std::vector<std::uint8_t> der = fromBase64(base64);
    const unsigned char* at = der.data();
    const CertificatePtr certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
    const BioPtr memory(BIO_new(BIO_s_mem()));
    if (!certificate || !memory ||
        X509_NAME_print_ex(memory.get(), X509_get_subject_name(certificate.get()), 0,
                           XN_FLAG_RFC2253) < 0) {
        ERR_clear_error();
        return "a certificate that cannot be read";
    }
    char* subject = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &subject);
    der.resize(static_cast<std::size_t>(at - der.data()));  // padding decodes to zero bytes
    return "certificate of " + std::string(subject, static_cast<std::size_t>(length)) +
           ", SHA-256 " +
           toHex(digestBytes({reinterpret_cast<const char*>(der.data()), der.size()}).sha256);
}

class Reader : public pugi::xml_tree_walker {
public:
    InspectedSignature result;

    bool for_each(pugi::xml_node& node) override {
        const std::string_view name = localName(node);
        const char* const algorithm = node.attribute("Algorithm").value();
        if (name == "CanonicalizationMethod" && result.canonicalization.empty()) {
            result.canonicalization = algorithm;
        } else if (name == "SignatureMethod" && result.method.empty()) {
            result.method = algorithm;
        } else if (name == "DigestMethod" && result.digests.size() < mostHints) {
            result.digests.emplace_back(algorithm);
        } else if (name == "SignatureValue") {
            result.hasValue = result.hasValue || *node.text().get() != '\0';
        } else if (name == "SigningTime" && !result.signingTime) {
            result.signingTime = node.text().get();
        } else if (result.keyHints.size() < mostHints) {
            addHint(name, node);
        }
        return true;
    }

private:
    void addHint(std::string_view name, pugi::xml_node node) {
        const std::string text = node.text().get();
        if (name == "KeyName") {
            result.keyHints.push_back("name " + text);
        } else if (name == "X509SubjectName") {
            result.keyHints.push_back("subject " + text);
        } else if (name == "X509Certificate") {
            result.keyHints.push_back(describeCertificate(text));
        }
    }
};

}  // namespace

std::optional<InspectedSignature> readSignature(pugi::xml_node root) {
    for (pugi::xml_node child : root.children()) {
        if (localName(child) == "Signature") {
            Reader reader;
            child.traverse(reader);
            return std::move(reader.result);
        }
    }
    return std::nullopt;
}

}  // namespace Norv::Corvane::Pack
