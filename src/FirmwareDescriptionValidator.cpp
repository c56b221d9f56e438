#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"

#include <libxml/parser.h>
#include <xmlsec/keysmngr.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>

#include <algorithm>
#include <climits>

#include "LibraryState.h"
#include "Log.h"
#include "ManifestText.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "SignedDocument.h"
#include "WorkBudget.h"
#include "XmlVersions.h"

namespace Norv::Corvane::Common {
namespace {

struct KeyDeleter {
    void operator()(xmlSecKey* key) const noexcept { xmlSecKeyDestroy(key); }
};

struct ContextDeleter {
    void operator()(xmlSecDSigCtx* context) const noexcept { xmlSecDSigCtxDestroy(context); }
};
using ContextPtr = std::unique_ptr<xmlSecDSigCtx, ContextDeleter>;

// The trusted key, whatever the signature's KeyInfo says: a key that comes with the manifest proves
// nothing, and an honest one that does not name ours must not be in the way.
xmlSecKeyPtr trustedKey(xmlNodePtr /*keyInfo*/, xmlSecKeyInfoCtxPtr context) {
    return xmlSecKeysMngrFindKey(context->keysMngr, nullptr, context);
}

bool allowAlgorithms(xmlSecDSigCtx* context) {
    const xmlSecTransformId canonicalisations[] = {
        xmlSecTransformInclC14NId,   xmlSecTransformInclC14NWithCommentsId,
        xmlSecTransformInclC14N11Id, xmlSecTransformInclC14N11WithCommentsId,
        xmlSecTransformExclC14NId,   xmlSecTransformExclC14NWithCommentsId};
    const xmlSecTransformId references[] = {
        xmlSecTransformEnvelopedId,     xmlSecOpenSSLTransformSha1Id,
        xmlSecOpenSSLTransformSha224Id, xmlSecOpenSSLTransformSha256Id,
        xmlSecOpenSSLTransformSha384Id, xmlSecOpenSSLTransformSha512Id};
    const xmlSecTransformId signatures[] = {
        xmlSecOpenSSLTransformRsaSha1Id,     xmlSecOpenSSLTransformRsaSha224Id,
        xmlSecOpenSSLTransformRsaSha256Id,   xmlSecOpenSSLTransformRsaSha384Id,
        xmlSecOpenSSLTransformRsaSha512Id,   xmlSecOpenSSLTransformEcdsaSha1Id,
        xmlSecOpenSSLTransformEcdsaSha224Id, xmlSecOpenSSLTransformEcdsaSha256Id,
        xmlSecOpenSSLTransformEcdsaSha384Id, xmlSecOpenSSLTransformEcdsaSha512Id,
        xmlSecOpenSSLTransformDsaSha1Id,     xmlSecOpenSSLTransformDsaSha256Id};

    const auto forReferences = [&](xmlSecTransformId id) {
        return xmlSecDSigCtxEnableReferenceTransform(context, id) >= 0;
    };
    const auto forSignatures = [&](xmlSecTransformId id) {
        return xmlSecDSigCtxEnableSignatureTransform(context, id) >= 0;
    };
    return std::all_of(std::begin(canonicalisations), std::end(canonicalisations), forReferences) &&
           std::all_of(std::begin(canonicalisations), std::end(canonicalisations), forSignatures) &&
           std::all_of(std::begin(references), std::end(references), forReferences) &&
           std::all_of(std::begin(signatures), std::end(signatures), forSignatures);
}

// Only the whole enclosing document may be referenced, and it may be selected, canonicalised and
// digested in the usual ways only: all of that happens before the signature itself is looked at.
ContextPtr makeContext(xmlSecKeysMngr* manager) {
    ContextPtr context(xmlSecDSigCtxCreate(manager));
    if (!context || !allowAlgorithms(context.get())) {
        return nullptr;
    }
    context->enabledReferenceUris = xmlSecTransformUriTypeEmpty;
    context->flags |= XMLSEC_DSIG_FLAGS_IGNORE_MANIFESTS;
    return context;
}

}  // namespace

void KeysManagerDeleter::operator()(_xmlSecKeysMngr* manager) const noexcept {
    xmlSecKeysMngrDestroy(manager);
}

std::error_code FirmwareDescriptionValidator::Init() {
    // The versions that the first devices shipped with; later ones must be compatible to them.
    constexpr int libxml2Version = 20912;
    constexpr int xmlSecMajor = 1;
    constexpr int xmlSecMinor = 2;
    constexpr int xmlSecSubminor = 28;

    const LibraryStateGuard guard;
    xmlInitParser();
    xmlCheckVersion(libxml2Version);
    xmlLoadExtDtdDefaultValue = XML_DETECT_IDS | XML_COMPLETE_ATTRS;
    xmlSubstituteEntitiesDefault(1);

    if (const int result = xmlSecInit(); result < 0) {
        Log::error("xmlSecInit failed with {}", result);
        return XmlSecError::InitFailed;
    }
    if (const int result = xmlSecCheckVersionExt(xmlSecMajor, xmlSecMinor, xmlSecSubminor,
                                                 xmlSecCheckVersionABICompatible);
        result != 1) {
        Log::error("xmlSec wrong version expected 1 got {}", result);
        return XmlSecError::WrongVersion;
    }
    if (const int result = xmlSecOpenSSLAppInit(nullptr); result < 0) {
        Log::error("xmlSecCryptoAppInit failed with {}", result);
        return XmlSecError::CryptoAppInitFailed;
    }
    const int result = xmlSecOpenSSLInit();
    logXmlSecComplaints();
    if (result < 0) {
        Log::error("xmlSecCryptoInit failed with {}", result);
        return XmlSecError::CryptoInitFailed;
    }
    return XmlSecError::Success;
}

void FirmwareDescriptionValidator::Deinit() {
    {
        const LibraryStateGuard guard;
        xmlSecOpenSSLShutdown();
        xmlSecOpenSSLAppShutdown();
        xmlSecShutdown();
    }
    xmlCleanupParser();
}

KeysManagerPtr FirmwareDescriptionValidator::LoadTrustedCert(
    const boost::filesystem::path& certificate) {
    const LibraryStateGuard guard;
    const PasswordPromptGuard noPrompt;
    const char* const path = certificate.c_str();

    KeysManagerPtr manager(xmlSecKeysMngrCreate());
    if (!manager) {
        Log::error("xmlSecKeysMngrCreate failed ");
        return nullptr;
    }
    if (const int result = xmlSecOpenSSLAppDefaultKeysMngrInit(manager.get()); result < 0) {
        Log::error("xmlSecCryptoAppDefaultKeysMngrInit failed with {}", result);
        return nullptr;
    }
    manager->getKey = trustedKey;

    std::unique_ptr<xmlSecKey, KeyDeleter> key(loadCertificateKey(path));
    if (!key) {
        Log::error("xmlSecCryptoAppKeyLoad failed");
        return nullptr;
    }
    if (const int result = xmlSecOpenSSLAppKeyCertLoad(key.get(), path, xmlSecKeyDataFormatCertPem);
        result < 0) {
        Log::error("xmlSecCryptoAppKeyCertLoad failed with {}", result);
        return nullptr;
    }
    if (const int result = xmlSecOpenSSLAppDefaultKeysMngrAdoptKey(manager.get(), key.get());
        result < 0) {
        Log::error("xmlSecCryptoAppDefaultKeysMngrAdoptKey failed with {}", result);
        return nullptr;
    }
    static_cast<void>(key.release());
    return manager;
}

std::error_code FirmwareDescriptionValidator::Open(const boost::filesystem::path& certificate) {
    keysManager_ = LoadTrustedCert(certificate);
    return keysManager_ ? XmlSecError::Success : XmlSecError::CertLoadingFailed;
}

void FirmwareDescriptionValidator::Close() noexcept {
    keysManager_.reset();
}

boost::optional<bool> FirmwareDescriptionValidator::ValidateSignature(
    boost::string_view description) const {
    if (!keysManager_ || description.size() > INT_MAX || !ManifestText::readsAlike(description)) {
        return boost::none;
    }
    const WorkBudget budget(description);
    if (!budget.allowsParsing()) {
        return boost::none;
    }
    const LibraryStateGuard guard;
    const SignedDocument document(description);
    if (!document) {
        return boost::none;
    }
    xmlNode* const signature = document.signature();
    if (signature == nullptr || !budget.allowsVerification(demandsOf(signature))) {
        return boost::none;
    }
    const ContextPtr context = makeContext(keysManager_.get());
    if (!context || xmlSecDSigCtxVerify(context.get(), signature) < 0) {
        return boost::none;
    }
    return context->status == xmlSecDSigStatusSucceeded;
}

}  // namespace Norv::Corvane::Common
