// The work that no installer can avoid, and nothing else.

#pragma once

#include <zip.h>

#include <memory>
#include <string>
#include <vector>

namespace Norv::Corvane::Benchmarks {

// Each entry is read in chunks of 262144 bytes, hashed and written, in the order of `names`. Where
// a file goes is worked out beforehand.
class Floor {
public:
    Floor(std::string target, const std::vector<std::string>& names);

    // Takes the open archive and closes it. Directories are made once, before their first file.
    // Throws `std::runtime_error` when anything goes wrong.
    void install(zip_t* archive);

private:
    struct Step {
        std::string name;
        std::string path;
        // Empty when the directory exists by then.
        std::string directoryToMake;
    };

    void copy(zip_file_t* entry, int descriptor);

    std::string target_;
    std::vector<Step> steps_;
    std::unique_ptr<unsigned char[]> chunk_;
};

}  // namespace Norv::Corvane::Benchmarks
