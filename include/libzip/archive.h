// Owning handles for libzip: an open archive and an open entry.
//
// Both are move-only; a moved-from object holds nothing and may only be destroyed or assigned to.
// An archive and its entries are used from one thread at a time. Operations that libzip refuses
// throw `std::runtime_error` with libzip's own text, unless their result reports the failure.

#pragma once

#include <zip.h>

#include <cstddef>
#include <memory>
#include <string>

#include "Norv/Export.h"

namespace libzip {

// An open entry. It must not outlive the archive that it was opened from.
class NORV_EXPORT file {
public:
    // Takes ownership of `handle`.
    explicit file(zip_file_t* handle) noexcept : handle_(handle) {}

    // Reads at most `length` bytes into `buffer`. Returns the count read, 0 at the end of the
    // entry, or a negative value on error.
    zip_int64_t read(void* buffer, std::size_t length) noexcept;

    // What one read of at most `length` bytes delivers; empty on error. Allocates `length` bytes.
    std::string read(std::size_t length);

private:
    struct Closer {
        void operator()(zip_file_t* handle) const noexcept { zip_fclose(handle); }
    };
    std::unique_ptr<zip_file_t, Closer> handle_;
};

class NORV_EXPORT archive {
public:
    // Opens the archive at `path` with libzip's open flags, such as ZIP_RDONLY.
    explicit archive(const std::string& path, int flags);

    // Index of the entry `name`, negative when there is none.
    zip_int64_t find(const std::string& name, zip_flags_t flags = 0) const noexcept;

    file open(const std::string& name, zip_flags_t flags = 0) const;

    zip_stat_t stat(const std::string& name, zip_flags_t flags = 0) const;

    // For callers that use libzip directly; the archive keeps ownership. Null after a move.
    zip_t* handle() const noexcept { return handle_.get(); }

private:
    struct Closer {
        // An archive that cannot be closed is thrown away: nothing was to be written anyway.
        void operator()(zip_t* handle) const noexcept {
            if (zip_close(handle) == -1) {
                zip_discard(handle);
            }
        }
    };
    std::unique_ptr<zip_t, Closer> handle_;
};

}  // namespace libzip
