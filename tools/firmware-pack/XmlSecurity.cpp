#include "XmlSecurity.h"

#include <libxml/parser.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmlsec.h>

#include "Error.h"

namespace Norv::Corvane::Pack {

XmlSecurity::XmlSecurity() {
    xmlInitParser();
    if (xmlSecInit() < 0 || xmlSecCheckVersion() != 1) {
        throw PackError("xmlsec cannot be initialised");
    }
    if (xmlSecOpenSSLAppInit(nullptr) < 0 || xmlSecOpenSSLInit() < 0) {
        throw PackError("the OpenSSL back end of xmlsec cannot be initialised");
    }
}

XmlSecurity::~XmlSecurity() {
    xmlSecOpenSSLShutdown();
    xmlSecOpenSSLAppShutdown();
    xmlSecShutdown();
    xmlCleanupParser();
}

}  // namespace Norv::Corvane::Pack
