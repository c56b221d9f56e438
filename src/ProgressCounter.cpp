#include "Norv/Corvane/Common/ProgressCounter.h"

#include <algorithm>
#include <utility>

namespace Norv::Corvane::Common {

ProgressCounter::SharedState::SharedState(unsigned int total,
                                          std::function<void(unsigned int)> callback)
    : totalKiB(std::max(total >> 10, 1U)), onProgress(std::move(callback)) {}

ProgressCounter::ProgressCounter(SharedState& state) noexcept : state_(state) {}

void ProgressCounter::write(libtorrent::span<const unsigned char> data, bool /*last*/) {
    state_.bytesWritten += static_cast<unsigned int>(data.size());
}

bool ProgressCounter::done() {
    const unsigned int percent = (state_.bytesWritten >> 10) * 100 / state_.totalKiB;
    if (percent != state_.lastPercent) {
        state_.onProgress(percent);
        state_.lastPercent = percent;
    }
    return true;
}

}  // namespace Norv::Corvane::Common
