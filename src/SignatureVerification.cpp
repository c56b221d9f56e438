#include "SignatureVerification.h"

#include <xmlsec/buffer.h>
#include <xmlsec/list.h>
#include <xmlsec/membuf.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>

#include <algorithm>
#include <utility>

namespace Norv::Corvane::Common {
namespace {

struct ContextDeleter {
    void operator()(xmlSecDSigCtx* context) const noexcept { xmlSecDSigCtxDestroy(context); }
};
using ContextPtr = std::unique_ptr<xmlSecDSigCtx, ContextDeleter>;

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

// Called when a reference is about to be digested and its bytes are to be kept. Makes room for them
// at once: growing step by step leaves holes of the same size in the heap. Failure shows later.
int reserveKept(xmlSecTransformCtx* reference) {
    const auto expected = *static_cast<const xmlSecSize*>(reference->userData);
    for (xmlSecTransform* step = reference->first; step != nullptr; step = step->next) {
        if (xmlSecTransformCheckId(step, xmlSecTransformMemBufId)) {
            xmlSecBuffer* const kept = xmlSecTransformMemBufGetBuffer(step);
            kept->allocMode = xmlSecAllocModeExact;
            static_cast<void>(xmlSecBufferSetMaxSize(kept, expected));
            kept->allocMode = xmlSecAllocModeDouble;
            break;
        }
    }
    return 0;
}

// Only the whole enclosing document may be referenced, and it may be selected, canonicalised and
// digested in the usual ways only: all of that happens before the signature itself is looked at. If
// `keptSize` is given, the bytes that each reference digests are kept, and about that many are
// expected. Null if the verification could not be carried out.
ContextPtr verify(xmlSecKeysMngr* manager, xmlNode* signature, xmlSecSize* keptSize) {
    ContextPtr context(xmlSecDSigCtxCreate(manager));
    if (!context || !allowAlgorithms(context.get())) {
        return nullptr;
    }
    context->enabledReferenceUris = xmlSecTransformUriTypeEmpty;
    context->flags |= XMLSEC_DSIG_FLAGS_IGNORE_MANIFESTS;
    if (keptSize != nullptr) {
        context->flags |= XMLSEC_DSIG_FLAGS_STORE_SIGNEDINFO_REFERENCES;
        context->userData = keptSize;
        context->referencePreExecuteCallback = reserveKept;
    }
    if (xmlSecDSigCtxVerify(context.get(), signature) < 0) {
        return nullptr;
    }
    return context;
}

// Takes the bytes out of the context, which cannot outlive the document. Null if there are none.
SignedBytes takeBytes(xmlSecPtrList& references, xmlSecSize index) {
    auto* const reference =
        static_cast<xmlSecDSigReferenceCtx*>(xmlSecPtrListGetItem(&references, index));
    xmlSecBuffer* const kept =
        reference == nullptr ? nullptr : xmlSecDSigReferenceCtxGetPreDigestBuffer(reference);
    SignedBytes bytes(xmlSecBufferCreate(0));
    if (kept == nullptr || !bytes) {
        return nullptr;
    }
    std::swap(*kept, *bytes);
    return bytes;
}

}  // namespace

void SignedBytesDeleter::operator()(_xmlSecBuffer* bytes) const noexcept {
    xmlSecBufferDestroy(bytes);
}

Verification verifySignature(_xmlSecKeysMngr* manager, _xmlNode* signature,
                             boost::optional<std::size_t> keptSize) {
    auto expected = static_cast<xmlSecSize>(keptSize.value_or(0));
    const ContextPtr context = verify(manager, signature, keptSize ? &expected : nullptr);
    Verification verification;
    if (!context) {
        return verification;
    }
    verification.verdict = context->status == xmlSecDSigStatusSucceeded;
    if (*verification.verdict && keptSize) {
        xmlSecPtrList& references = context->signedInfoReferences;
        for (xmlSecSize i = 0; i < xmlSecPtrListGetSize(&references); ++i) {
            verification.signedBytes.push_back(takeBytes(references, i));
        }
    }
    return verification;
}

}  // namespace Norv::Corvane::Common
