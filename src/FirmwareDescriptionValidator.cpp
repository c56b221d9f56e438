#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"

#include <libxml/parser.h>
#include <xmlsec/buffer.h>
#include <xmlsec/keysmngr.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmlsec.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "CertificateKey.h"
#include "LibraryState.h"
#include "Log.h"
#include "ManifestText.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "ReadingComparison.h"
#include "SignatureDemands.h"
#include "SignatureVerification.h"
#include "SignedDocument.h"
#include "WorkBudget.h"

namespace Norv::Corvane::Common {
namespace {

struct KeyDeleter {
    void operator()(xmlSecKey* key) const noexcept { xmlSecKeyDestroy(key); }
};

// The trusted key, whatever the signature's KeyInfo says: a key that comes with the manifest proves
// nothing, and an honest manifest need not name ours.
xmlSecKeyPtr trustedKey(xmlNodePtr /*keyInfo*/, xmlSecKeyInfoCtxPtr context) {
    return xmlSecKeysMngrFindKey(context->keysMngr, nullptr, context);
}

// Whether the manifest is read for use as it was signed.
bool readsAsSigned(boost::string_view description, std::size_t elementsBeforeSignature,
                   const std::vector<SignedBytes>& references) {
    const ReadingComparison reading(description, elementsBeforeSignature);
    const auto agrees = [&](const SignedBytes& bytes) {
        return bytes &&
               reading.agreesWith(reinterpret_cast<char*>(xmlSecBufferGetData(bytes.get())),
                                  xmlSecBufferGetSize(bytes.get()));
    };
    return !references.empty() && std::all_of(references.begin(), references.end(), agrees);
}

boost::optional<bool> judge(xmlSecKeysMngr* manager, boost::string_view description) {
    const WorkBudget budget(description);
    if (!budget.allowsParsing()) {
        return boost::none;
    }
    std::size_t elementsBeforeSignature = 0;
    Verification verification;
    {
        LibraryStateGuard guard;
        const SignedDocument document(description, guard.complaints());
        xmlNode* const signature = document ? document.signature() : nullptr;
        if (signature == nullptr) {
            return boost::none;
        }
        const SignatureDemands demands = demandsOf(signature);
        if (!budget.allowsVerification(demands)) {
            return boost::none;
        }
        const bool keepAtOnce = budget.allowsKeeping(demands);
        if (!keepAtOnce) {
            verification = verifySignature(manager, signature, boost::none);
        }
        if (keepAtOnce || verification.verdict == true) {
            verification = verifySignature(manager, signature, description.size() / 2 * 3);
        }
        if (guard.memoryLacked()) {
            return boost::none;
        }
        elementsBeforeSignature = SignedDocument::elementsBefore(signature);
    }
    // The document is freed by now, because what follows takes as much memory again.
    if (verification.verdict == true &&
        !readsAsSigned(description, elementsBeforeSignature, verification.signedBytes)) {
        return boost::none;
    }
    return verification.verdict;
}

}  // namespace

void KeysManagerDeleter::operator()(_xmlSecKeysMngr* manager) const noexcept {
    xmlSecKeysMngrDestroy(manager);
}

std::error_code FirmwareDescriptionValidator::Init() try {
    // The versions that the first devices shipped with; later ones must be compatible with them.
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
    LibraryComplaints::includeXmlSec();
    if (result < 0) {
        Log::error("xmlSecCryptoInit failed with {}", result);
        return XmlSecError::CryptoInitFailed;
    }
    return XmlSecError::Success;
} catch (...) {
    // Lack of memory, or a host's logger that throws; likewise below.
    return XmlSecError::InitFailed;
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
    const boost::filesystem::path& certificate) try {
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
} catch (...) {
    return nullptr;
}

std::error_code FirmwareDescriptionValidator::Open(const boost::filesystem::path& certificate) {
    keysManager_ = LoadTrustedCert(certificate);
    return keysManager_ ? XmlSecError::Success : XmlSecError::CertLoadingFailed;
}

void FirmwareDescriptionValidator::Close() noexcept {
    keysManager_.reset();
}

boost::optional<bool> FirmwareDescriptionValidator::ValidateSignature(
    boost::string_view description) const try {
    if (!keysManager_ || description.size() > INT_MAX || !ManifestText::readsAlike(description)) {
        return boost::none;
    }
    return judge(keysManager_.get(), description);
} catch (...) {
    return boost::none;
}

}  // namespace Norv::Corvane::Common
