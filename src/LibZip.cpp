#include <cerrno>
#include <stdexcept>

#include "libzip/archive.h"

namespace libzip {
namespace {

zip_t* openArchive(const std::string& path, int flags) {
    int code = 0;
    zip_t* const handle = zip_open(path.c_str(), flags, &code);
    const int systemError = errno;
    if (handle == nullptr) {
        zip_error_t error;
        zip_error_init(&error);
        zip_error_set(&error, code, systemError);
        const std::string text = zip_error_strerror(&error);
        zip_error_fini(&error);
        throw std::runtime_error(text);
    }
    return handle;
}

}  // namespace

zip_int64_t file::read(void* buffer, std::size_t length) noexcept {
    return zip_fread(handle_.get(), buffer, length);
}

std::string file::read(std::size_t length) {
    std::string data(length, '\0');
    const zip_int64_t count = read(&data[0], length);
    data.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return data;
}

archive::archive(const std::string& path, int flags) : handle_(openArchive(path, flags)) {}

zip_int64_t archive::find(const std::string& name, zip_flags_t flags) const noexcept {
    return zip_name_locate(handle_.get(), name.c_str(), flags);
}

file archive::open(const std::string& name, zip_flags_t flags) const {
    zip_file_t* const entry = zip_fopen(handle_.get(), name.c_str(), flags);
    if (entry == nullptr) {
        throw std::runtime_error(zip_strerror(handle_.get()));
    }
    return file(entry);
}

zip_stat_t archive::stat(const std::string& name, zip_flags_t flags) const {
    zip_stat_t status;
    zip_stat_init(&status);
    if (zip_stat(handle_.get(), name.c_str(), flags, &status) < 0) {
        throw std::runtime_error(zip_strerror(handle_.get()));
    }
    return status;
}

}  // namespace libzip
