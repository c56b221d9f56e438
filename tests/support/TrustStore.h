// The certificate authorities that the machine as a whole trusts, for OpenSSL and all on top of it.

#pragma once

#include <optional>
#include <string>

#include "Keys.h"
#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {

// While it lives, this authority is the only one in the store. Takes effect on what is set up in
// this process from then on. Changes the environment: not while other threads run.
class TrustStore {
public:
    explicit TrustStore(const TestKey& authority);
    ~TrustStore();
    TrustStore(const TrustStore&) = delete;
    TrustStore& operator=(const TrustStore&) = delete;

private:
    TemporaryDirectory directory_;
    std::optional<std::string> fileBefore_;
    std::optional<std::string> directoryBefore_;
};

}  // namespace Norv::Corvane::Test
