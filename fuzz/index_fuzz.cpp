// Index files: a load yields an index or one of the announced exceptions, and what was loaded
// survives being saved and loaded again.

#include <unistd.h>

#include <boost/system/system_error.hpp>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include "Check.h"
#include "FuzzTarget.h"
#include "Norv/Corvane/Common/FirmwareIndex.h"

namespace {

namespace FirmwareIndex = Norv::Corvane::Common::FirmwareIndex;

// One file per process, replaced by each input.
class IndexFile {
public:
    IndexFile() {
        const int descriptor = mkstemp(&path_[0]);
        require(descriptor >= 0, "a temporary file");
        ::close(descriptor);
    }
    IndexFile(const IndexFile&) = delete;
    IndexFile& operator=(const IndexFile&) = delete;
    ~IndexFile() { ::unlink(path_.c_str()); }

    const std::string& path() const { return path_; }

private:
    std::string path_ = "/tmp/corvane-index-XXXXXX";
};

const std::string& indexPath() {
    static const IndexFile file;
    return file.path();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    {
        std::ofstream file(indexPath(), std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    std::optional<FirmwareIndex::Firmwares> index;
    try {
        index = FirmwareIndex::Load(indexPath());
    } catch (const boost::system::system_error&) {
        return 0;
    } catch (const std::invalid_argument&) {
        return 0;
    } catch (const std::out_of_range&) {
        return 0;
    }
    require(index.has_value(), "an existing file is an index or an error");
    FirmwareIndex::Save(indexPath(), *index);
    require(FirmwareIndex::Load(indexPath()) == index, "saving and loading changes nothing");
    return 0;
}
