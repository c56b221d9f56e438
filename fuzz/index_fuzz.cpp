// Index files: a load yields what the file says or one of the announced exceptions, and a save
// writes exactly the records that it is given. Both are compared with the JSON that the library is
// to see.

#include <unistd.h>

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/system/system_error.hpp>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Check.h"
#include "FuzzTarget.h"
#include "Norv/Corvane/Common/FirmwareIndex.h"

namespace {

namespace json = boost::json;
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

using Norv::Ombrel::Project::DeviceType;
using Norv::Ombrel::Project::Version;

json::array textsOf(const std::vector<std::string>& texts) {
    json::array array;
    for (const std::string& text : texts) {
        array.emplace_back(text);
    }
    return array;
}

// The text that has to be in the file.
std::string written(const FirmwareIndex::Firmwares& index) {
    json::array records;
    for (const auto& firmware : index.firmwares) {
        const std::string code(to_string(firmware.type.type));
        records.push_back(json::object{{"filename", firmware.filename},
                                       {"type", "QV" + code},
                                       {"version", to_string(firmware.version)},
                                       {"supportedHwRevs", textsOf(firmware.supportedHwRevs)},
                                       {"sha256", firmware.sha256}});
    }
    return json::serialize(records);
}

// Whether the record of the file says the same.
bool says(const json::object& record, const FirmwareIndex::Firmwares::Firmware& firmware) {
    const std::string type(record.at("type").as_string());
    const std::string version(record.at("version").as_string());
    return record.at("filename").as_string() == firmware.filename &&
           DeviceType::parse(type, std::nullopt).value_or(DeviceType::Type::None) ==
               firmware.type &&
           Version::parse(version).value_or(Version{}) == firmware.version &&
           record.at("supportedHwRevs").as_array() == textsOf(firmware.supportedHwRevs) &&
           record.at("sha256").as_string() == firmware.sha256;
}

std::string content() {
    std::ifstream file(indexPath(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
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
    const json::array records = json::parse(content()).as_array();
    require(
        std::equal(records.begin(), records.end(), index->firmwares.begin(), index->firmwares.end(),
                   [](const json::value& record, const auto& firmware) {
                       return says(record.as_object(), firmware);
                   }),
        "a load returns what the file says");
    FirmwareIndex::Save(indexPath(), *index);
    require(content() == written(*index), "a save writes what it is given");
    require(FirmwareIndex::Load(indexPath()) == index, "saving and loading changes nothing");
    return 0;
}
