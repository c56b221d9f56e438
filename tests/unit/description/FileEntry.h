// A file entry of a manifest, for tests that change one thing about it.

#pragma once

#include <gtest/gtest.h>

#include <boost/optional.hpp>
#include <pugixml.hpp>
#include <string>

#include "Norv/Corvane/Common/FirmwareDescription.h"

namespace Norv::Corvane::Test {

// The attributes of a file entry; an empty text leaves the attribute out.
struct FileEntry {
    std::string type = R"(xsi:type="FirmwareFileType")";
    std::string local = R"(LocalFilePath="bin/app")";
    std::string remote = R"(RemoteFilePath="usr/bin/app")";
    std::string hash = R"(HashValue="AAEC/w==")";
    std::string algorithm = R"(HashAlgorithm="sha256")";
    std::string length = R"(Length="42")";

    std::string text(const std::string& name = "File") const {
        return "<" + name + " " + type + " " + local + " " + remote + " " + hash + " " + algorithm +
               " " + length + "/>";
    }

    boost::optional<Common::FirmwareDescription::File> parse() const {
        pugi::xml_document document;
        EXPECT_TRUE(document.load_string(text().c_str())) << text();
        return Common::parseFile(document.first_child());
    }
};

inline FileEntry ofLength(const std::string& length) {
    FileEntry entry;
    entry.length = "Length=\"" + length + "\"";
    return entry;
}

}  // namespace Norv::Corvane::Test
