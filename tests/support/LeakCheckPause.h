// Makes LeakSanitizer ignore what a library is known to lose.
//
// While a pause lives, what this thread allocates is not reported. Use it only for calls with a
// known bug in somebody else's library, next to a comment that names the bug. Without effect in
// builds without AddressSanitizer.

#pragma once

// There in builds with AddressSanitizer only.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

namespace Norv::Corvane::Test {

class LeakCheckPause {
public:
    LeakCheckPause() {
        if (__lsan_disable) {
            __lsan_disable();
        }
    }
    LeakCheckPause(const LeakCheckPause&) = delete;
    LeakCheckPause& operator=(const LeakCheckPause&) = delete;
    ~LeakCheckPause() {
        if (__lsan_enable) {
            __lsan_enable();
        }
    }
};

}  // namespace Norv::Corvane::Test
