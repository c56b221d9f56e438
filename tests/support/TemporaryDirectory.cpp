#include "TemporaryDirectory.h"

#include <algorithm>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = boost::filesystem;

namespace Norv::Corvane::Test {

TemporaryDirectory::TemporaryDirectory() {
    std::string name = "/tmp/corvane-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot create " + name);
    }
    path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    boost::system::error_code ignored;
    // A test may have taken its own right to look into a directory away.
    fs::permissions(path_, fs::add_perms | fs::owner_all, ignored);
    for (fs::recursive_directory_iterator it(path_, ignored), end; !ignored && it != end;
         it.increment(ignored)) {
        if (it->symlink_status(ignored).type() == fs::directory_file) {
            fs::permissions(it->path(), fs::add_perms | fs::owner_all, ignored);
        }
    }
    fs::remove_all(path_, ignored);
}

fs::path TemporaryDirectory::write(const std::string& relative, std::string_view bytes) const {
    const fs::path path = path_ / relative;
    fs::create_directories(path.parent_path());
    std::ofstream file(path.string(), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
    return path;
}

std::vector<std::string> TemporaryDirectory::files() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_)) {
        if (entry.symlink_status().type() != fs::directory_file) {
            names.push_back(fs::relative(entry.path(), path_).string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path.string(), std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return bytes;
}

}  // namespace Norv::Corvane::Test
