// The same verdict with nothing but calls of libzip, xmlsec and pugixml.

#include <libxml/parser.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmlsec.h>

#include <string>

#include "BareValidation.h"

int main(int argc, char** argv) {
    using namespace Norv::Corvane::Benchmarks;

    xmlInitParser();
    if (argc != 3 || xmlSecInit() < 0 || xmlSecOpenSSLAppInit(nullptr) < 0 ||
        xmlSecOpenSSLInit() < 0) {
        return 2;
    }
    const BareVerifier verifier(argv[1]);
    const std::string text = readManifestBare(argv[2]);
    return verifier.verify(text) && loadTreeBare(text) ? 0 : 1;
}
