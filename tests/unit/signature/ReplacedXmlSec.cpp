#include "ReplacedXmlSec.h"

#include <dlfcn.h>
#include <libxml/parser.h>
#include <openssl/ui.h>
#include <xmlsec/keysmngr.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>

#include <algorithm>
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

void recordStartup(const char* name) {
    if (std::count(startups().begin(), startups().end(), name) == 0) {
        startups().emplace_back(name);
    }
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

std::vector<std::string>& startups() {
    static auto& names = *new std::vector<std::string>();
    return names;
}

std::vector<std::string>& shutdowns() {
    // Never destroyed: libxml2 shuts itself down once more when the program ends.
    static auto& names = *new std::vector<std::string>();
    return names;
}

extern "C" {

int xmlSecInit() {
    recordStartup(__func__);
    return fails("xmlSecInit") ? failure : idle() ? 0 : real<decltype(xmlSecInit)>("xmlSecInit")();
}

// Fails for the version that the library asks for; its OpenSSL part asks for its own.
int xmlSecCheckVersionExt(int major, int minor, int subminor, xmlSecCheckVersionMode mode) {
    if (major == 1 && minor == 2 && subminor == 28 && mode == xmlSecCheckVersionABICompatible) {
        recordStartup(__func__);
        if (fails(__func__)) {
            return failure;
        }
    }
    return real<decltype(xmlSecCheckVersionExt)>("xmlSecCheckVersionExt")(major, minor, subminor,
                                                                          mode);
}

int xmlSecOpenSSLAppInit(const char* config) {
    recordStartup(__func__);
    if (config != nullptr) {
        return -77;
    }
    return fails("xmlSecOpenSSLAppInit") ? failure
           : idle()                      ? 0
                    : real<decltype(xmlSecOpenSSLAppInit)>("xmlSecOpenSSLAppInit")(config);
}

int xmlSecOpenSSLInit() {
    recordStartup(__func__);
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

xmlSecDSigCtxPtr xmlSecDSigCtxCreate(xmlSecKeysMngrPtr manager) {
    constexpr const char* name = "xmlSecDSigCtxCreate";
    return fails(name) ? nullptr : real<decltype(xmlSecDSigCtxCreate)>(name)(manager);
}

int xmlSecDSigCtxEnableReferenceTransform(xmlSecDSigCtxPtr context, xmlSecTransformId id) {
    constexpr const char* name = "xmlSecDSigCtxEnableReferenceTransform";
    return fails(name) ? failure
                       : real<decltype(xmlSecDSigCtxEnableReferenceTransform)>(name)(context, id);
}

int xmlSecDSigCtxEnableSignatureTransform(xmlSecDSigCtxPtr context, xmlSecTransformId id) {
    constexpr const char* name = "xmlSecDSigCtxEnableSignatureTransform";
    return fails(name) ? failure
                       : real<decltype(xmlSecDSigCtxEnableSignatureTransform)>(name)(context, id);
}

// What libxml2 does when it is older than the program wants it to be.
void xmlCheckVersion(int version) {
    if (version == 20912) {
        recordStartup(__func__);
    }
    if (fails("xmlCheckVersion") && version == 20912) {
        xmlGenericError(xmlGenericErrorContext, "program compiled against libxml %d\n", version);
    } else {
        real<decltype(xmlCheckVersion)>("xmlCheckVersion")(version);
    }
}

xmlParserCtxtPtr xmlNewParserCtxt() {
    constexpr const char* name = "xmlNewParserCtxt";
    return fails(name) ? nullptr : real<decltype(xmlNewParserCtxt)>(name)();
}

void xmlInitParser() {
    recordStartup(__func__);
    real<decltype(xmlInitParser)>(__func__)();
}

int xmlSubstituteEntitiesDefault(int value) {
    recordStartup(__func__);
    return real<decltype(xmlSubstituteEntitiesDefault)>(__func__)(value);
}

int xmlSecDSigCtxVerify(xmlSecDSigCtxPtr context, xmlNodePtr signature) {
    constexpr const char* name = "xmlSecDSigCtxVerify";
    return fails(name) ? failure : real<decltype(xmlSecDSigCtxVerify)>(name)(context, signature);
}

int xmlSecOpenSSLShutdown() {
    shutdowns().emplace_back(__func__);
    return real<decltype(xmlSecOpenSSLShutdown)>(__func__)();
}

int xmlSecOpenSSLAppShutdown() {
    shutdowns().emplace_back(__func__);
    return real<decltype(xmlSecOpenSSLAppShutdown)>(__func__)();
}

int xmlSecShutdown() {
    shutdowns().emplace_back(__func__);
    return real<decltype(xmlSecShutdown)>(__func__)();
}

void xmlCleanupParser() {
    shutdowns().emplace_back(__func__);
    real<decltype(xmlCleanupParser)>(__func__)();
}

UI_METHOD* UI_create_method(const char* title) {
    constexpr const char* name = "UI_create_method";
    return fails(name) ? nullptr : real<decltype(UI_create_method)>(name)(title);
}
}

}  // namespace Norv::Corvane::Test
