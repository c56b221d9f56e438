#include "Floor.h"

#include <fcntl.h>
#include <openssl/sha.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <set>
#include <stdexcept>
#include <utility>

namespace Norv::Corvane::Benchmarks {
namespace {

constexpr std::size_t chunkSize = 262144;

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

}  // namespace

Floor::Floor(std::string target, const std::vector<std::string>& names)
    : target_(std::move(target)), chunk_(new unsigned char[chunkSize]) {
    std::set<std::string> known;
    for (const std::string& name : names) {
        const std::string path = target_ + "/" + name;
        const std::string directory = path.substr(0, path.rfind('/'));
        steps_.push_back({name, path, known.insert(directory).second ? directory : ""});
    }
}

void Floor::install(zip_t* archive) {
    mkdir(target_.c_str(), 0777);
    for (const Step& step : steps_) {
        if (!step.directoryToMake.empty()) {
            mkdir(step.directoryToMake.c_str(), 0777);
        }
        zip_file_t* const entry = zip_fopen(archive, step.name.c_str(), 0);
        const int descriptor = open(step.path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        require(entry != nullptr && descriptor >= 0, "floor: open");
        copy(entry, descriptor);
        close(descriptor);
        zip_fclose(entry);
    }
    zip_close(archive);
}

void Floor::copy(zip_file_t* entry, int descriptor) {
    SHA256_CTX context;
    SHA256_Init(&context);
    zip_int64_t count = 0;
    while ((count = zip_fread(entry, chunk_.get(), chunkSize)) > 0) {
        const auto size = static_cast<std::size_t>(count);
        SHA256_Update(&context, chunk_.get(), size);
        require(::write(descriptor, chunk_.get(), size) == static_cast<ssize_t>(count),
                "floor: write");
    }
    require(count == 0, "floor: read");
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256_Final(digest.data(), &context);
    // Keeps the digest from being optimised away.
    asm volatile("" : : "g"(digest.data()) : "memory");
}

}  // namespace Norv::Corvane::Benchmarks
