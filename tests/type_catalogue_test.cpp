// Names of element types, and the common type of two.
#include <gtest/gtest.h>
#include <pyx/types/WellKnownType.h>

#include <cctype>
#include <set>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

namespace Quorvane::Pyx {
namespace {

std::vector<WellKnownType> allCodes() {
    std::vector<WellKnownType> types;
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        types.push_back(WellKnownType::fromCode(static_cast<std::uint16_t>(code)));
    }
    return types;
}

TEST(TypeCatalogue, NamesAndParsesExactlyItsTypes) {
    // The names in the order of the codes, written out once more, since clients store them.
    std::istringstream names(
        "double float int8 int16 int32 int64 string customType duration timePoint bool unsignedInt8 unsignedInt16 "
        "unsignedInt32 unsignedInt64 complexDouble complexFloat complexInt8 complexInt16 complexInt32 complexInt64 "
        "complexBool complexUnsignedInt8 complexUnsignedInt16 complexUnsignedInt32 complexUnsignedInt64");
    for (const WellKnownType type : allCodes()) {
        if (type.toString() == "unknown") {
            continue;
        }
        std::string name;
        names >> name;
        EXPECT_EQ(type.toString(), name);
        EXPECT_EQ(testing::PrintToString(type), name);
        EXPECT_EQ(WellKnownType(name), type);
        for (char& c : name) {
            c = static_cast<char>(std::toupper(c));
        }
        EXPECT_EQ(WellKnownType(name), type);
    }
    std::string rest;
    EXPECT_FALSE(names >> rest) << "The last names are those of no code.";

    EXPECT_EQ(WellKnownType("String8"), WellKnownType::string);
    for (const std::string name : {"", "unknown", "int8 ", " int8", "int", "string16", "int8\xC0", "[nt8"}) {
        EXPECT_EQ(WellKnownType(name), WellKnownType::unknown) << name;
    }
    EXPECT_EQ(WellKnownType(std::string_view("int8\0", 5)), WellKnownType::unknown);
}

TEST(TypeCatalogue, TypesAreKeys) {
    const auto types = allCodes();
    EXPECT_EQ(std::set<WellKnownType>(types.begin(), types.end()).size(), types.size());
    EXPECT_EQ(std::unordered_set<WellKnownType>(types.begin(), types.end()).size(), types.size());
}

TEST(TypeCatalogue, CommonTypesAreThoseOfTheTable) {
    constexpr WellKnownType b = WellKnownType::bool_, f = WellKnownType::float_, d = WellKnownType::double_;
    constexpr WellKnownType i8 = WellKnownType::int8, u8 = WellKnownType::unsignedInt8;
    constexpr WellKnownType i16 = WellKnownType::int16, u16 = WellKnownType::unsignedInt16;
    constexpr WellKnownType i32 = WellKnownType::int32, u32 = WellKnownType::unsignedInt32;
    constexpr WellKnownType i64 = WellKnownType::int64, u64 = WellKnownType::unsignedInt64;
    constexpr std::size_t count = 11;
    constexpr WellKnownType table[count][count] = {
        {b, i8, i16, i32, i64, u8, u16, u32, u64, f, d},
        {i8, i8, i16, i32, i64, i16, i32, i64, d, f, d},
        {i16, i16, i16, i32, i64, i16, i32, i64, d, f, d},
        {i32, i32, i32, i32, i64, i32, i32, i64, d, f, d},
        {i64, i64, i64, i64, i64, i64, i64, i64, d, f, d},
        {u8, i16, i16, i32, i64, u8, u16, u32, u64, f, d},
        {u16, i32, i32, i32, i64, u16, u16, u32, u64, f, d},
        {u32, i64, i64, i64, i64, u32, u32, u32, u64, f, d},
        {u64, d, d, d, d, u64, u64, u64, u64, f, d},
        {f, f, f, f, f, f, f, f, f, f, d},
        {d, d, d, d, d, d, d, d, d, d, d},
    };
    const auto commonType = WellKnownType::getCommonWellKnownType;
    for (std::size_t row = 0; row < count; ++row) {
        for (std::size_t column = 0; column < count; ++column) {
            // The first row, that of bool, names the types themselves.
            const WellKnownType left = table[0][row], right = table[0][column], common = table[row][column];
            EXPECT_EQ(commonType(left, right), common) << left << ' ' << right;
            EXPECT_EQ(commonType(left.complexType(), right), common.complexType()) << left << ' ' << right;
            EXPECT_EQ(commonType(left, right.complexType()), common.complexType()) << left << ' ' << right;
            EXPECT_EQ(commonType(left.complexType(), right.complexType()), common.complexType())
                << left << ' ' << right;
        }
    }
}

TEST(TypeCatalogue, CommonTypesBesideTheTable) {
    for (const WellKnownType type : allCodes()) {
        EXPECT_EQ(WellKnownType::getCommonWellKnownType(type, type), type);
        EXPECT_EQ(WellKnownType::getCommonWellKnownType(type, WellKnownType::unknown), type);
        EXPECT_EQ(WellKnownType::getCommonWellKnownType(WellKnownType::unknown, type), type);
    }
    const struct {
        std::uint16_t a, b, common;
    } rows[] = {// Types that are not numeric have none with others.
                {0x0010, 0x0006, 0},
                {0x0010, 0x4003, 0},
                {0x0030, 0x0001, 0},
                {0x0030, 0x0040, 0},
                {0x8000, 0x0006, 0},
                // Codes outside the catalogue rank with bool, and only those of the catalogue are promoted.
                {0x0003, 0x4003, 0x0004},
                {0x4003, 0x0003, 0x0003},
                {0x0003, 0x0006, 0x0006},
                {0x0003, 0x4006, 0x0007},
                {0x0003, 0x4008, 0},
                {0x8003, 0x4008, 0x8000},
                {0x4008, 0x4003, 0x4003},
                {0x4003, 0x4008, 0x4008},
                {0x0016, 0x0004, 0x0004},
                {0x0016, 0xC004, 0x8005}};
    for (const auto& [a, b, common] : rows) {
        EXPECT_EQ(WellKnownType::getCommonWellKnownType(WellKnownType::fromCode(a), WellKnownType::fromCode(b)).code(),
                  common)
            << a << ' ' << b;
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
