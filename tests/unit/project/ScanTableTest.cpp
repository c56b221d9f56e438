// tests/data/scan.tsv: what the scanning library makes of 8,275 texts.

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "Norv/Ombrel/Project/MacAddress.h"
#include "Norv/Ombrel/Project/Version.h"

namespace Norv::Ombrel::Project {
namespace {

// Undoes \xNN and double backslashes.
std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            result += text[i];
        } else if (text.at(i + 1) == 'x') {
            result += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
            i += 3;
        } else {
            result += '\\';
            ++i;
        }
    }
    return result;
}

std::string parsed(const std::string& kind, const std::string& text) {
    if (kind == "mac") {
        const auto mac = MacAddress::parse(text);
        return mac ? fmt::format("{}", *mac) : "-";
    }
    if (kind == "version") {
        const auto version = Version::parse(text);
        return version ? to_string(*version) : "-";
    }
    throw std::invalid_argument("unknown kind " + kind);
}

TEST(ScanTable, EveryRowParsesToItsExpectedValue) {
    std::ifstream table(CORVANE_TEST_DATA_DIR "/scan.tsv");
    int rows = 0;
    for (std::string row; std::getline(table, row); ++rows) {
        const std::size_t first = row.find('\t');
        const std::size_t last = row.rfind('\t');
        ASSERT_LT(first, last) << row;
        EXPECT_EQ(parsed(row.substr(0, first), unescaped(row.substr(first + 1, last - first - 1))),
                  row.substr(last + 1))
            << row;
    }
    EXPECT_EQ(rows, 8275);
}

}  // namespace
}  // namespace Norv::Ombrel::Project
