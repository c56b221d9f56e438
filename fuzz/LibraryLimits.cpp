#include "LibraryLimits.h"

#include <libxml/parser.h>
#include <libxml/xmlmemory.h>

#include <cstdlib>
#include <cstring>

namespace Norv::Corvane::Fuzz {
namespace {

constexpr auto allocate = &std::malloc;
constexpr auto reallocate = &std::realloc;
constexpr auto release = &std::free;

Limits current;
unsigned allocations = 0;

bool fails() {
    if (current.fault == 0) {
        return false;
    }
    ++allocations;
    return current.lasting ? allocations >= current.fault : allocations == current.fault;
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

// Called for each node that is made, the document's first.
void limitDictionary(xmlNode* node) {
    if (node->doc != nullptr && node->doc->dict != nullptr) {
        xmlDictSetLimit(node->doc->dict, current.dictionary);
    }
}

}  // namespace

Limits limitsOf(std::string_view input) {
    if (input.size() < limitsSize || input.front() != limitsMark) {
        return {};
    }
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(input[i]); };
    // Room grows by steps, from one thousand bytes on; beyond 21,000 no input gets.
    constexpr unsigned dictionaries[] = {0, 999, 4999, 20999};
    return {dictionaries[byte(1) % 4], byte(2) * 256U + byte(3), byte(4) % 2 != 0};
}

std::string_view withoutLimits(std::string_view input) {
    const bool limited = input.size() >= limitsSize && input.front() == limitsMark;
    return limited ? input.substr(limitsSize) : input;
}

LimitedLibrary::LimitedLibrary(const Limits& limits) {
    allocations = 0;
    current = limits;
    if (limits.dictionary != 0) {
        xmlRegisterNodeDefault(limitDictionary);
    }
}

LimitedLibrary::~LimitedLibrary() {
    current = {};
    xmlRegisterNodeDefault(nullptr);
}

void LimitedLibrary::prepare() {
    if (xmlMemSetup(release, allocateOrFail, reallocateOrFail, duplicateOrFail) != 0) {
        std::abort();
    }
}

}  // namespace Norv::Corvane::Fuzz
