// Ends the process when a fuzz target finds a broken promise, so that the input is kept.

#pragma once

#include <cstdio>
#include <cstdlib>

inline void require(bool kept, const char* promise) {
    if (!kept) {
        std::fprintf(stderr, "broken promise: %s\n", promise);
        std::abort();
    }
}
