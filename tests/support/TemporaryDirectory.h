// A directory of the test's own.

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Norv::Corvane::Test {

// Created empty, removed with everything in it at the end. Its path holds no blank. Throws
// `std::runtime_error` when the file system refuses.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const boost::filesystem::path& path() const { return path_; }
    boost::filesystem::path operator/(const std::string& relative) const {
        return path_ / relative;
    }

    // Writes a file below the directory, missing parents included, and returns its path.
    boost::filesystem::path write(const std::string& relative, std::string_view bytes) const;

    // The relative paths of everything that is not a directory, sorted.
    std::vector<std::string> files() const;

private:
    boost::filesystem::path path_;
};

// The whole file. Throws `std::runtime_error` when it cannot be read.
std::string readFile(const boost::filesystem::path& path);

}  // namespace Norv::Corvane::Test
