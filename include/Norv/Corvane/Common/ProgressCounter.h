// The sink that turns bytes into a percentage.
//
// One `SharedState` serves a whole installation, and one `ProgressCounter` on it each file. All are
// used on one thread, on which the callback runs, too.

#pragma once

#include <functional>
#include <libtorrent/span.hpp>

#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT ProgressCounter {
public:
    struct NORV_EXPORT SharedState {
        // `total` is the number of bytes of the whole installation. An empty `onProgress` throws
        // `std::bad_function_call` once a report is due.
        SharedState(unsigned int total, std::function<void(unsigned int)> onProgress);

        // At least 1.
        unsigned int totalKiB;
        std::function<void(unsigned int)> onProgress;
        // Wraps modulo 2^32.
        unsigned int bytesWritten = 0;
        unsigned int lastPercent = 0;
    };

    // `state` is not owned and must outlive the counter.
    explicit ProgressCounter(SharedState& state) noexcept;

    void write(libtorrent::span<const unsigned char> data, bool last);

    // Reports the percentage of whole KiB if it changed since the last report; exceeds 100 when
    // more passes than the total. Always true.
    bool done();

private:
    SharedState& state_;
};

}  // namespace Norv::Corvane::Common
