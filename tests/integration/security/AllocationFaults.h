// Allocations that fail: those of libxml2, xmlsec, OpenSSL and pugixml, and those by `new`.
//
// Linking this file puts itself in between, before any of them allocates. Not for several threads.

#pragma once

#include <functional>

namespace Norv::Corvane::Test {

struct AllocationFault {
    // The first that fails, counted from one.
    unsigned long number;
    // All that follow fail, too.
    bool lasting;
};

// How many allocations the work makes.
unsigned long allocationsIn(const std::function<void()>& work);

// Does the work with a fault, and hands exceptions on.
void withFault(const AllocationFault& fault, const std::function<void()>& work);

// How far apart the faults of a sweep are: CORVANE_ALLOCATION_STEP if that is set.
unsigned long sweepStep();

// Makes the default logger format every line and write none.
void logToNowhere();

}  // namespace Norv::Corvane::Test
