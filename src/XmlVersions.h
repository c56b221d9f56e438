// What differs between the versions of libxml2 and of xmlsec that this is built with.

#pragma once

#include <libxml/xmlerror.h>
#include <libxml/xmlversion.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/version.h>

namespace Norv::Corvane::Common {

#if LIBXML_VERSION >= 21200
// What a structured error handler is given: constant from libxml2 2.12 on.
using XmlErrorArgument = const xmlError*;
#else
using XmlErrorArgument = xmlError*;
#endif

// The public key of a certificate in a PEM file; null on failure.
inline xmlSecKeyPtr loadCertificateKey(const char* path) {
#if XMLSEC_VERSION_MAJOR > 1 || XMLSEC_VERSION_MINOR >= 3
    // From xmlsec 1.3 on, which deprecates the other call; 1.3.4 has removed it.
    return xmlSecOpenSSLAppKeyLoadEx(path, xmlSecKeyDataTypePublic, xmlSecKeyDataFormatCertPem,
                                     nullptr, nullptr, nullptr);
#else
    return xmlSecOpenSSLAppKeyLoad(path, xmlSecKeyDataFormatCertPem, nullptr, nullptr, nullptr);
#endif
}

}  // namespace Norv::Corvane::Common
