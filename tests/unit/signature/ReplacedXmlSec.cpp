#include "ReplacedXmlSec.h"

#include <dlfcn.h>
#include <xmlsec/keysmngr.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmlsec.h>

#include <cstdlib>

namespace Norv::Corvane::Test {
namespace {

std::string failing;
int failure = 0;

// The function of this name that was to be called.
template <typename Function>
Function* real(const char* name) {
    void* const found = ::dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        std::abort();
    }
    return reinterpret_cast<Function*>(found);
}

bool fails(const char* name) {
    return failing == name;
}

// Whether a function that starts something up is to do nothing.
bool idle() {
    return fails("xmlSecInit") || fails("xmlSecCheckVersionExt") || fails("xmlSecOpenSSLAppInit") ||
           fails("xmlSecOpenSSLInit");
}

}  // namespace

Failure::Failure(const std::string& function, int result) {
    failing = function;
    failure = result;
}

Failure::~Failure() {
    failing.clear();
}

extern "C" {

int xmlSecInit() {
    return fails("xmlSecInit") ? failure : idle() ? 0 : real<decltype(xmlSecInit)>("xmlSecInit")();
}

// Fails for the version that the library asks for; its OpenSSL part asks for its own.
int xmlSecCheckVersionExt(int major, int minor, int subminor, xmlSecCheckVersionMode mode) {
    if (fails("xmlSecCheckVersionExt") && major == 1 && minor == 2 && subminor == 28 &&
        mode == xmlSecCheckVersionABICompatible) {
        return failure;
    }
    return real<decltype(xmlSecCheckVersionExt)>("xmlSecCheckVersionExt")(major, minor, subminor,
                                                                          mode);
}

int xmlSecOpenSSLAppInit(const char* config) {
    if (config != nullptr) {
        return -77;
    }
    return fails("xmlSecOpenSSLAppInit") ? failure
           : idle()                      ? 0
                    : real<decltype(xmlSecOpenSSLAppInit)>("xmlSecOpenSSLAppInit")(config);
}

int xmlSecOpenSSLInit() {
    return fails("xmlSecOpenSSLInit") ? failure
           : idle()                   ? 0
                                      : real<decltype(xmlSecOpenSSLInit)>("xmlSecOpenSSLInit")();
}

xmlSecKeysMngrPtr xmlSecKeysMngrCreate() {
    return fails("xmlSecKeysMngrCreate")
               ? nullptr
               : real<decltype(xmlSecKeysMngrCreate)>("xmlSecKeysMngrCreate")();
}

int xmlSecOpenSSLAppDefaultKeysMngrInit(xmlSecKeysMngrPtr manager) {
    constexpr const char* name = "xmlSecOpenSSLAppDefaultKeysMngrInit";
    return fails(name) ? failure
                       : real<decltype(xmlSecOpenSSLAppDefaultKeysMngrInit)>(name)(manager);
}

int xmlSecOpenSSLAppKeyCertLoad(xmlSecKeyPtr key, const char* path, xmlSecKeyDataFormat format) {
    constexpr const char* name = "xmlSecOpenSSLAppKeyCertLoad";
    return fails(name) ? failure
                       : real<decltype(xmlSecOpenSSLAppKeyCertLoad)>(name)(key, path, format);
}

int xmlSecOpenSSLAppDefaultKeysMngrAdoptKey(xmlSecKeysMngrPtr manager, xmlSecKeyPtr key) {
    constexpr const char* name = "xmlSecOpenSSLAppDefaultKeysMngrAdoptKey";
    return fails(name)
               ? failure
               : real<decltype(xmlSecOpenSSLAppDefaultKeysMngrAdoptKey)>(name)(manager, key);
}
}

}  // namespace Norv::Corvane::Test
