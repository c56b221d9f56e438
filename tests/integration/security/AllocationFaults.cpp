#include "AllocationFaults.h"

#include <libxml/parser.h>
#include <libxml/xmlmemory.h>
#include <openssl/crypto.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <pugixml.hpp>
#include <stdexcept>

#include "Sandbox.h"

namespace Norv::Corvane::Test {
namespace {

// Behind the hooks there is the C library, whose functions are not called by name but here.
constexpr auto allocate = &std::malloc;
constexpr auto reallocate = &std::realloc;
constexpr auto release = &std::free;

struct Faults {
    bool active = false;
    unsigned long count = 0;
    AllocationFault fault{};
};
Faults faults;

bool fails() {
    if (!faults.active) {
        return false;
    }
    ++faults.count;
    const unsigned long number = faults.fault.number;
    return faults.fault.lasting ? faults.count >= number : faults.count == number;
}

void* allocateOrFail(std::size_t size) {
    return fails() ? nullptr : allocate(size);
}

void* reallocateOrFail(void* memory, std::size_t size) {
    return fails() ? nullptr : reallocate(memory, size);
}

char* duplicateOrFail(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    void* const copy = allocateOrFail(size);
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

void* allocateForOpenSsl(std::size_t size, const char* /*file*/, int /*line*/) {
    return size == 0 ? nullptr : allocateOrFail(size);
}

void* reallocateForOpenSsl(void* memory, std::size_t size, const char* /*file*/, int /*line*/) {
    return reallocateOrFail(memory, size);
}

void releaseForOpenSsl(void* memory, const char* /*file*/, int /*line*/) {
    release(memory);
}

bool install() {
    pugi::set_memory_management_functions(allocateOrFail, release);
    return xmlMemSetup(release, allocateOrFail, reallocateOrFail, duplicateOrFail) == 0 &&
           CRYPTO_set_mem_functions(allocateForOpenSsl, reallocateForOpenSsl, releaseForOpenSsl) ==
               1;
}

const bool installed = install();

// Ends a fault whichever way the work ends.
class Activation {
public:
    explicit Activation(const AllocationFault& fault) { faults = {true, 0, fault}; }
    Activation(const Activation&) = delete;
    Activation& operator=(const Activation&) = delete;
    ~Activation() { faults.active = false; }
};

}  // namespace

unsigned long allocationsIn(const std::function<void()>& work) {
    if (!installed) {
        throw std::runtime_error("too late to come between");
    }
    const Activation activation({0, false});
    work();
    return faults.count;
}

void withFault(const AllocationFault& fault, const std::function<void()>& work) {
    const Activation activation(fault);
    work();
}

unsigned long sweepStep() {
    const char* const chosen = std::getenv("CORVANE_ALLOCATION_STEP");
    // A prime, so that it hits every part of work that repeats.
    constexpr unsigned long usual = 97;
    return chosen != nullptr ? std::strtoul(chosen, nullptr, 10)
                             : usual * static_cast<unsigned long>(slowness());
}

void logToNowhere() {
    auto quiet = std::make_shared<spdlog::sinks::null_sink_mt>();
    auto logger = std::make_shared<spdlog::logger>("quiet", quiet);
    logger->set_level(spdlog::level::debug);
    logger->set_error_handler([](const std::string&) {});
    spdlog::set_default_logger(logger);
}

}  // namespace Norv::Corvane::Test

void* operator new(std::size_t size) {
    using namespace Norv::Corvane::Test;
    void* const memory = allocateOrFail(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Norv::Corvane::Test::allocateOrFail(size == 0 ? 1 : size);
}

// Inline, gcc takes them for a mismatch of what `new` gave.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    Norv::Corvane::Test::release(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    Norv::Corvane::Test::release(memory);
}
