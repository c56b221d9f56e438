// The public key of a certificate, by whichever call the version of xmlsec has for it.

#pragma once

#include <xmlsec/openssl/app.h>
#include <xmlsec/version.h>

namespace Norv::Corvane::Common {

// From a PEM file; null on failure.
inline xmlSecKeyPtr loadCertificateKey(const char* path) {
#if XMLSEC_VERSION_MAJOR > 1 || XMLSEC_VERSION_MINOR >= 3
    // From 1.3 on, which deprecates the other call; 1.3.4 has removed it.
    return xmlSecOpenSSLAppKeyLoadEx(path, xmlSecKeyDataTypePublic, xmlSecKeyDataFormatCertPem,
                                     nullptr, nullptr, nullptr);
#else
    return xmlSecOpenSSLAppKeyLoad(path, xmlSecKeyDataFormatCertPem, nullptr, nullptr, nullptr);
#endif
}

}  // namespace Norv::Corvane::Common
