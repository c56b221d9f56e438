// The public key of a certificate, loaded with the call that the installed xmlsec has for it.

#pragma once

#include <xmlsec/openssl/app.h>
#include <xmlsec/version.h>

namespace Norv::Corvane::Common {

// From a PEM file; null on failure.
inline xmlSecKeyPtr loadCertificateKey(const char* path) {
#if XMLSEC_VERSION_MAJOR > 1 || XMLSEC_VERSION_MINOR >= 3
    // xmlsec 1.3 deprecates the other call, and 1.3.4 removes it.
    return xmlSecOpenSSLAppKeyLoadEx(path, xmlSecKeyDataTypePublic, xmlSecKeyDataFormatCertPem,
                                     nullptr, nullptr, nullptr);
#else
    return xmlSecOpenSSLAppKeyLoad(path, xmlSecKeyDataFormatCertPem, nullptr, nullptr, nullptr);
#endif
}

}  // namespace Norv::Corvane::Common
