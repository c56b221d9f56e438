// An index whose path comes to lead to another file at some moment of a save.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdarg>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>

#include "Norv/Corvane/Common/FirmwareIndex.h"
#include "TemporaryDirectory.h"

namespace {

// Called before and after each call below; empty outside the tests.
std::function<void()> moment;

void pass() {
    // What it does itself is no moment.
    const std::function<void()> current = std::exchange(moment, nullptr);
    if (current) {
        current();
        moment = current;
    }
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// In place of the C library's, for this program and the libraries that it uses.
extern "C" int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = va_arg(arguments, unsigned);
    va_end(arguments);
    static const auto original = next<int (*)(const char*, int, ...)>("open64");
    pass();
    const int descriptor = original(path, flags, mode);
    pass();
    return descriptor;
}

extern "C" int stat64(const char* path, struct stat64* status) noexcept {
    static const auto original = next<int (*)(const char*, struct stat64*)>("stat64");
    pass();
    const int result = original(path, status);
    pass();
    return result;
}

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

namespace fs = std::filesystem;

TEST(FirmwareIndexRename, NeverTouchesAFileThatASaveDidNotOpen) {
    const Corvane::Test::TemporaryDirectory directory;
    const fs::path index = directory.path().native() + "/index.json";
    // Another name by which the file that was at the path first stays known.
    const fs::path opened = directory.path().native() + "/opened.json";
    int moments = 0;
    // Each turn puts the other file in place one moment later, until the save has ended before it.
    for (bool renamed = true; renamed; ++moments) {
        directory.write("index.json", "old");
        fs::remove(opened);
        fs::create_hard_link(index, opened);
        const fs::path other = directory.write("other.json", "not to be touched").native();
        renamed = false;
        moment = [&, left = moments]() mutable {
            // Until then, the save has opened nothing.
            if (fs::file_size(opened) == 0 && left-- == 0) {
                fs::rename(other, index);
                renamed = true;
            }
        };
        Save(index, {});
        moment = nullptr;
        SCOPED_TRACE(moments);
        EXPECT_EQ(Corvane::Test::readFile(opened.native()), "[]");
        EXPECT_EQ(Corvane::Test::readFile(index.native()), renamed ? "not to be touched" : "[]");
    }
    // Around the lock's opening of the file, and around the look where the path leads.
    EXPECT_GE(moments, 4);
}

}  // namespace
}  // namespace Norv::Corvane::Common::FirmwareIndex
