// Where a virtual function sits in its class's table: what programs that were built earlier call.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Norv::Corvane::Test {

// The index, counted from 0. A virtual destructor takes two slots. A pointer to a virtual member
// function starts with the offset into the table; an odd number marks it as such on some
// architectures.
template <typename Function>
std::size_t virtualSlot(Function function) {
    std::uintptr_t offset = 0;
    static_assert(sizeof function >= sizeof offset);
    std::memcpy(&offset, &function, sizeof offset);
    return (offset & ~std::uintptr_t{1}) / sizeof(void*);
}

}  // namespace Norv::Corvane::Test
