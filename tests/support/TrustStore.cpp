#include "TrustStore.h"

#include <openssl/x509.h>

#include <cstdlib>

namespace Norv::Corvane::Test {
namespace {

std::optional<std::string> exchange(const char* name, const std::optional<std::string>& value) {
    const char* const before = std::getenv(name);
    const auto kept = before == nullptr ? std::nullopt : std::optional<std::string>(before);
    if (value) {
        ::setenv(name, value->c_str(), 1);
    } else {
        ::unsetenv(name);
    }
    return kept;
}

}  // namespace

TrustStore::TrustStore(const TestKey& authority)
    : fileBefore_(exchange(X509_get_default_cert_file_env(),
                           directory_.write("authorities.pem", authority.certificatePem).string())),
      directoryBefore_(exchange(X509_get_default_cert_dir_env(), directory_.path().string())) {}

TrustStore::~TrustStore() {
    exchange(X509_get_default_cert_file_env(), fileBefore_);
    exchange(X509_get_default_cert_dir_env(), directoryBefore_);
}

}  // namespace Norv::Corvane::Test
