// The JSON form of the index, in memory.

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/system/system_error.hpp>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "ManufacturerPrefix.h"
#include "Norv/Corvane/Common/FirmwareIndex.h"

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

namespace json = boost::json;

using Ombrel::Project::DeviceType;
using Ombrel::Project::Version;
using Type = DeviceType::Type;

static_assert(std::is_aggregate_v<Firmwares>);
static_assert(std::is_aggregate_v<Firmwares::Firmware>);
static_assert(json::has_value_from<Firmwares>::value && json::has_value_to<Firmwares>::value);
static_assert(json::has_value_from<Firmwares::Firmware>::value &&
              json::has_value_to<Firmwares::Firmware>::value);

const char* const exampleText =
    R"([{"filename":"rootfs-4.2.1.img","type":"QVQA01RTVN","version":"4.2.1.7",)"
    R"("supportedHwRevs":["A1","B3"],"sha256":"0c2f8e5a"},)"
    R"({"filename":"bootloader.bin","type":"QVWOLMZB04","version":"1.0.0.0",)"
    R"("supportedHwRevs":[],"sha256":"5e1d7c9b"}])";

Firmwares described() {
    return {{{"rootfs-4.2.1.img", Type::QA01RTVN, {4, 2, 1, 7}, {"A1", "B3"}, "0c2f8e5a"},
             {"bootloader.bin", Type::WOLMZB04, {1, 0, 0, 0}, {}, "5e1d7c9b"}}};
}

// A valid record of which `member` has another value, or is missing if that is empty.
json::value recordWith(const std::string& member, const std::string& value) {
    auto record = json::value_from(described().firmwares.front());
    if (value.empty()) {
        record.as_object().erase(member);
    } else {
        record.as_object()[member] = json::parse(value);
    }
    return record;
}

Firmwares::Firmware read(const json::value& record) {
    return json::value_to<Firmwares::Firmware>(record);
}

TEST(FirmwareIndexJson, WritesTheFiveMembersOfEachRecordInOrder) {
    EXPECT_EQ(json::serialize(json::value_from(described())), exampleText);
}

TEST(FirmwareIndexJson, ReadsWhatItWrites) {
    EXPECT_EQ(json::value_to<Firmwares>(json::parse(exampleText)), described());
}

TEST(FirmwareIndexJson, ConvertsASingleRecord) {
    const auto record = described().firmwares.front();
    const auto value = json::value_from(record);
    EXPECT_TRUE(value.is_object());
    EXPECT_EQ(read(value), record);
}

TEST(FirmwareIndexJson, WritesAnEmptyListAsAnEmptyArray) {
    EXPECT_EQ(json::serialize(json::value_from(Firmwares{})), "[]");
    EXPECT_EQ(json::value_to<Firmwares>(json::parse("[]")), Firmwares{});
}

TEST(FirmwareIndexJson, PutsThePrefixBeforeACodeThatLacksIt) {
    EXPECT_EQ(withManufacturerPrefix("QA01RTVN"), "QVQA01RTVN");
    EXPECT_EQ(withManufacturerPrefix("Q"), "QVQ");
    EXPECT_EQ(withManufacturerPrefix("VQ"), "QVVQ");
    EXPECT_EQ(withManufacturerPrefix("qv01"), "QVqv01");
}

TEST(FirmwareIndexJson, PutsNoSecondPrefixBeforeACode) {
    EXPECT_EQ(withManufacturerPrefix("QVQA01RTVN"), "QVQA01RTVN");
    EXPECT_EQ(withManufacturerPrefix("QV"), "QV");
}

TEST(FirmwareIndexJson, WritesATypeWithoutCodeAsThePrefixAlone) {
    for (const Type type : {Type::None, static_cast<Type>(6)}) {
        const auto record = json::value_from(Firmwares::Firmware{"a", type, {}, {}, ""});
        EXPECT_EQ(record.at("type"), "QV");
        EXPECT_EQ(read(record).type, DeviceType(Type::None));
    }
}

TEST(FirmwareIndexJson, ReadsATypeWithoutPrefixLikeOneWithIt) {
    EXPECT_EQ(read(recordWith("type", R"("QA01RTVN")")).type, DeviceType(Type::QA01RTVN));
    EXPECT_EQ(read(recordWith("type", R"("QVQA01RTVN")")).type, DeviceType(Type::QA01RTVN));
}

TEST(FirmwareIndexJson, ReadsAnUnknownTypeAsNone) {
    for (const char* const type : {R"("QVXX99XXXX")", R"("")", R"("qvqa01rtvn")", R"("QVQV")"}) {
        EXPECT_EQ(read(recordWith("type", type)).type, DeviceType(Type::None)) << type;
    }
}

TEST(FirmwareIndexJson, NeitherWritesNorReadsTheQualifier) {
    auto qualified = described().firmwares.front();
    const auto plain = json::value_from(qualified);
    qualified.type.qualifier = "lab";
    EXPECT_EQ(json::value_from(qualified), plain);
    EXPECT_EQ(read(plain).type.qualifier, std::nullopt);
}

TEST(FirmwareIndexJson, ReadsAVersionThatIsNoneAsZero) {
    EXPECT_EQ(read(recordWith("version", R"("banana")")).version, Version{});
    EXPECT_EQ(read(recordWith("version", R"("1.2.3")")).version, Version{});
    EXPECT_EQ(read(recordWith("version", R"("")")).version, Version{});
}

TEST(FirmwareIndexJson, ReadsMembersInAnyOrderAndIgnoresUnknownOnes) {
    const auto record = read(json::parse(
        R"({"sha256":"5e","extra":{"filename":"no"},"version":"1.0.0.0","type":"QVWOLMZB04",)"
        R"("supportedHwRevs":["A1"],"filename":"bootloader.bin","Filename":null})"));
    EXPECT_EQ(record,
              (Firmwares::Firmware{"bootloader.bin", Type::WOLMZB04, {1, 0, 0, 0}, {"A1"}, "5e"}));
}

TEST(FirmwareIndexJson, KeepsTextsAsTheyAre) {
    const Firmwares::Firmware record{std::string("a\0b\n\"\\/\x7f \xc3\xa4\xf0\x9f\x9a\x80", 15),
                                     Type::None,
                                     {},
                                     {"", " A1 "},
                                     "NOT A DIGEST"};
    const auto text = json::serialize(json::value_from(record));
    EXPECT_EQ(read(json::parse(text)), record);
}

TEST(FirmwareIndexJson, ThrowsOutOfRangeForEachMissingMember) {
    for (const char* const member : {"filename", "type", "version", "supportedHwRevs", "sha256"}) {
        EXPECT_THROW(read(recordWith(member, "")), std::out_of_range) << member;
    }
}

TEST(FirmwareIndexJson, ThrowsTheConversionErrorForAMemberOfAnotherType) {
    const auto codeFor = [](const char* member, const char* value) {
        try {
            read(recordWith(member, value));
        } catch (const boost::system::system_error& error) {
            return error.code();
        }
        return boost::system::error_code();
    };
    for (const char* const member : {"filename", "type", "version", "sha256"}) {
        for (const char* const value : {"null", "true", "1", "1.5", "[]", "{}", R"(["a"])"}) {
            EXPECT_EQ(codeFor(member, value), json::error::not_string) << member << value;
        }
    }
    for (const char* const value : {"null", "false", "1", "{}", R"("A1")"}) {
        EXPECT_EQ(codeFor("supportedHwRevs", value), json::error::not_array) << value;
    }
    for (const char* const value : {"[1]", R"(["A1",null])", R"([["A1"]])"}) {
        EXPECT_EQ(codeFor("supportedHwRevs", value), json::error::not_string) << value;
    }
}

TEST(FirmwareIndexJson, ThrowsInvalidArgumentForARecordThatIsNoObject) {
    for (const char* const record : {"null", "[]", "1", R"("text")"}) {
        try {
            read(json::parse(record));
            ADD_FAILURE() << record;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), "not an object");
        }
        const std::string list = std::string("[") + record + "]";
        EXPECT_THROW(json::value_to<Firmwares>(json::parse(list)), std::invalid_argument);
    }
}

TEST(FirmwareIndexJson, ThrowsNotAnArrayForADocumentThatIsNone) {
    for (const char* const document : {"null", "{}", "1", R"("text")"}) {
        try {
            json::value_to<Firmwares>(json::parse(document));
            ADD_FAILURE() << document;
        } catch (const boost::system::system_error& error) {
            EXPECT_EQ(error.code(), json::error::not_array) << document;
        }
    }
}

TEST(FirmwareIndexJson, RejectsTheWholeListForOneBadRecord) {
    auto document = json::parse(exampleText);
    document.as_array().back().as_object().erase("sha256");
    EXPECT_THROW(json::value_to<Firmwares>(document), std::out_of_range);
}

}  // namespace
}  // namespace Norv::Corvane::Common::FirmwareIndex
