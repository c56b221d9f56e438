// Two tables of texts with the answers of scnlib's release 1.1.3; see tests/data/README.md.

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

// Compares every row of the table with what is parsed here; returns how many there are.
int compareRows(const char* path) {
    std::ifstream table(path);
    int rows = 0;
    for (std::string row; std::getline(table, row); ++rows) {
        const std::size_t first = row.find('\t');
        const std::size_t last = row.rfind('\t');
        if (first == last) {
            throw std::invalid_argument("not three fields: " + row);
        }
        EXPECT_EQ(parsed(row.substr(0, first), unescaped(row.substr(first + 1, last - first - 1))),
                  row.substr(last + 1))
            << row;
    }
    return rows;
}

TEST(ScanTable, EveryRowParsesToItsExpectedValue) {
    EXPECT_EQ(compareRows(CORVANE_TEST_DATA_DIR "/scan.tsv"), 8275);
}

TEST(ScanTable, EveryRowWithPlusSignsParsesToItsExpectedValue) {
    EXPECT_EQ(compareRows(CORVANE_TEST_DATA_DIR "/scan-plus.tsv"), 2800);
}

}  // namespace
}  // namespace Norv::Ombrel::Project
