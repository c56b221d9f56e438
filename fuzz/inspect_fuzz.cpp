// Packages that are looked into: what is printed about them is safe to print.

#include <openssl/evp.h>
#include <spdlog/spdlog.h>
#include <sys/mman.h>
#include <unistd.h>

#include <boost/json/parse.hpp>
#include <string>

#include "Check.h"
#include "Error.h"
#include "FuzzTarget.h"
#include "Inspection.h"
#include "Text.h"

using namespace Norv::Corvane;

namespace {

// A file in memory; it has a path for as long as this lives.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : descriptor_(memfd_create("zip", 0)) {
        require(::write(descriptor_, data, size) == static_cast<ssize_t>(size), "a file in memory");
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(descriptor_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

bool isPrintable(const std::string& text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        if (Pack::printable(line) != line) {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    spdlog::set_level(spdlog::level::off);
    const MemoryFile file(data, size);
    try {
        const Pack::Inspection inspection = Pack::inspectPackage(file.path(), {});
        require(isPrintable(Pack::toText(inspection)), "the table is safe to print");
        const std::string json = Pack::toJson(inspection);
        for (const char c : json) {
            require(c == '\n' || (c >= ' ' && c <= '~'), "the JSON is printable ASCII");
        }
        const auto object = boost::json::parse(json).as_object();
        require(object.at("files").as_array().size() == inspection.files.size(),
                "the JSON lists every file");
    } catch (const Pack::PackError& error) {
        require(Pack::printable(error.what()) == error.what(), "the reason is safe to print");
    }
    return 0;
}
