// The flag through which a caller asks a running installation to stop.
//
// Shared between an installation's worker, which owns it, and its `Installer`. Safe to use from
// both threads at once; nothing here throws.

#pragma once

#include <atomic>

namespace Norv::Corvane::Common {

struct CancellationToken {
    std::atomic<bool> cancelRequested{false};
};

}  // namespace Norv::Corvane::Common
