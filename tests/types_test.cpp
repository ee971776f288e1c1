// The catalogue of element types, their classes and portable names, the common type of two, and interned texts.
#include "values.h"

#include <pyx/types/InternedString.h>
#include <pyx/types/dispatch.h>
#include <pyx/types/portable_type_names.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <typeindex>
#include <unordered_set>

namespace Quorvane::Pyx {
namespace {

using namespace Internal;

// In the order of instantiation. Clients store codes and names, and compare messages, so all are written out once more.
const struct Row {
    std::uint16_t code;
    std::string name;
    std::type_index type;
    std::string portableName;
} catalogue[] = {
    {0x0001, "double", typeid(double), "double"},
    {0x0002, "float", typeid(float), "float"},
    {0x0004, "int8", typeid(signed char), "int8_t"},
    {0x0005, "int16", typeid(short), "int16_t"},
    {0x0006, "int32", typeid(int), "int"},
    {0x0007, "int64", typeid(long long), "int64_t"},
    {0x8001, "complexDouble", typeid(std::complex<double>), "std::complex<double>"},
    {0x8002, "complexFloat", typeid(std::complex<float>), "std::complex<float>"},
    {0x8004, "complexInt8", typeid(Complex<signed char>), "Quorvane::Pyx::Complex<signed char,void>"},
    {0x8005, "complexInt16", typeid(Complex<short>), "Quorvane::Pyx::Complex<short,void>"},
    {0x8006, "complexInt32", typeid(Complex<int>), "Quorvane::Pyx::Complex<int,void>"},
    {0x8007, "complexInt64", typeid(Complex<long long>), "Quorvane::Pyx::Complex<__int64,void>"},
    {0x4003, "bool", typeid(bool), "bool"},
    {0x4004, "unsignedInt8", typeid(unsigned char), "uint8_t"},
    {0x4005, "unsignedInt16", typeid(unsigned short), "uint16_t"},
    {0x4006, "unsignedInt32", typeid(unsigned), "unsigned int"},
    {0x4007, "unsignedInt64", typeid(unsigned long long), "uint64_t"},
    {0xC003, "complexBool", typeid(Complex<bool>), "Quorvane::Pyx::Complex<bool,void>"},
    {0xC004, "complexUnsignedInt8", typeid(Complex<unsigned char>), "Quorvane::Pyx::Complex<unsigned char,void>"},
    {0xC005, "complexUnsignedInt16", typeid(Complex<unsigned short>), "Quorvane::Pyx::Complex<unsigned short,void>"},
    {0xC006, "complexUnsignedInt32", typeid(Complex<unsigned>), "Quorvane::Pyx::Complex<unsigned int,void>"},
    {0xC007, "complexUnsignedInt64", typeid(Complex<unsigned long long>),
     "Quorvane::Pyx::Complex<unsigned __int64,void>"},
    {0x0010, "string", typeid(std::string), "std::string"},
    {0x0030, "duration", typeid(Duration), "Quorvane::Pyx::Duration"},
    {0x0040, "timePoint", typeid(TimePoint), "Quorvane::Pyx::TimePoint"},
};

std::vector<WellKnownType> allCodes() {
    std::vector<WellKnownType> types;
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        types.push_back(WellKnownType::fromCode(static_cast<std::uint16_t>(code)));
    }
    return types;
}

// The class and the portable name of its elements, or why it has none.
std::string elementsOf(WellKnownType type) try {
    const auto name = [](auto tag) { return typeid(typename decltype(tag)::type).name(); };
    return dispatchElementType(type, name) + (" " + normalizeTypeName(typeNameOfWellKnownType(type)));
} catch (const std::runtime_error& error) {
    return error.what();
}

TEST(ElementTypes, AreThoseOfTheCatalogue) {
    const auto types = allCodes();
    EXPECT_TRUE(std::equal(std::begin(elementTypes), std::end(elementTypes), std::begin(catalogue), std::end(catalogue),
                           [](WellKnownType type, const Row& row) { return type.code() == row.code; }));
    for (const WellKnownType type : types) {
        std::string name = type == WellKnownType::customType ? "customType" : "unknown";
        std::string elements = (type.code() & 15) != 0 ? "not a numeric type" : "unknown type";
        for (const Row& row : catalogue) {
            if (type.code() == row.code) {
                name = row.name;
                elements = row.type.name() + (" " + row.portableName);
            }
        }
        const unsigned kind = type.code() % 16;
        const bool isUnsigned = type.code() / 0x4000 % 2 != 0;
        EXPECT_TRUE(type.isNumeric() == (kind != 0) && type.isFloating() == (kind == 1 || kind == 2)) << type.code();
        EXPECT_TRUE(type.isUnsigned() == isUnsigned && type.isSigned() == (kind != 0 && !isUnsigned)) << type.code();
        EXPECT_EQ(type.isComplex(), type.code() >= 0x8000);
        EXPECT_EQ(type.componentType().code(), type.code() % 0x8000);
        EXPECT_EQ(type.complexType().code(), type.code() % 0x8000 + 0x8000);
        EXPECT_EQ(type.toString(), name) << type.code();
        EXPECT_EQ(elementsOf(type), elements) << type.code();
        if (name != "unknown") {
            EXPECT_EQ(testing::PrintToString(type), name);
            EXPECT_EQ(WellKnownType(name), type);
            std::transform(name.begin(), name.end(), name.begin(), [](char c) { return std::toupper(c); });
            EXPECT_EQ(WellKnownType(name), type);
        }
    }
    EXPECT_EQ(std::set<WellKnownType>(types.begin(), types.end()).size(), types.size());
    EXPECT_EQ(std::unordered_set<WellKnownType>(types.begin(), types.end()).size(), types.size());
    EXPECT_EQ(WellKnownType::customType.code(), 0x0020);
    EXPECT_EQ(WellKnownType("String8"), WellKnownType::string);
    for (const std::string name : {"", "unknown", "int8 ", " int8", "int", "string16", "int8\xC0", "[nt8"}) {
        EXPECT_EQ(WellKnownType(name), WellKnownType::unknown) << name;
    }
    EXPECT_EQ(WellKnownType(std::string_view("int8\0", 5)), WellKnownType::unknown);
}

TEST(ElementTypes, HaveACommonOne) {
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
            EXPECT_EQ(commonType(left.complexType(), right.complexType()), common.complexType());
        }
    }
    for (const WellKnownType type : allCodes()) {
        for (const WellKnownType other : {type, WellKnownType::unknown}) {
            EXPECT_TRUE(commonType(type, other) == type && commonType(other, type) == type) << type.code();
        }
    }
    // Types that are not numeric have none with others. Codes outside the catalogue rank with bool, and only those of
    // the catalogue are promoted.
    const std::uint16_t others[][3] = {{0x0010, 0x0006, 0},      {0x0010, 0x4003, 0},      {0x0030, 0x0001, 0},
                                       {0x0030, 0x0040, 0},      {0x8000, 0x0006, 0},      {0x0003, 0x4003, 0x0004},
                                       {0x4003, 0x0003, 0x0003}, {0x0003, 0x0006, 0x0006}, {0x0003, 0x4006, 0x0007},
                                       {0x0003, 0x4008, 0},      {0x8003, 0x4008, 0x8000}, {0x4008, 0x4003, 0x4003},
                                       {0x4003, 0x4008, 0x4008}, {0x0016, 0x0004, 0x0004}, {0x0016, 0xC004, 0x8005}};
    for (const auto& [left, right, common] : others) {
        EXPECT_EQ(commonType(WellKnownType::fromCode(left), WellKnownType::fromCode(right)).code(), common)
            << left << ' ' << right;
    }
}

TEST(ElementClasses, DefaultsAreZeroAndEqualityLooksAtBothParts) {
    EXPECT_TRUE(Complex<bool>() == Complex<bool>(false, false) && Complex<int>(3) == Complex<int>(3, 0));
    EXPECT_TRUE(Complex<int>(3, 1) != Complex<int>(3, 2) && Complex<int>(3, 1) != Complex<int>(2, 1));
    EXPECT_TRUE(Duration().isZero() && !Duration(0, 1).isZero() && !Duration(1, 0).isZero());
    EXPECT_TRUE(TimePoint(1, 2) != TimePoint(1, 3) && TimePoint(1, 2) != TimePoint(2, 2));
}

TEST(PortableNames, AreWithoutWhatDiffers) {
    const std::pair<CtTypeName, std::string> table[] = {
        {CtTypeExtractor<AbiErrorRecord>::n(), "AbiErrorRecord"},
        {{"class std::complex<double> >::n", 4}, "std::complex<double>"},
        {{"class Quorvane::Pyx::Complex<class A,struct B>>::n", 4}, "Quorvane::Pyx::Complex<A,B>"},
        {{"std::__1", 0}, "std::__1"},
        {{"std::__1::a<std::__1", 0}, "std::a<std"},
        {{"clasclass s x", 0}, "class x"}};
    for (const auto& [name, normalized] : table) {
        EXPECT_EQ(normalizeTypeName(name), normalized);
    }
}

TEST(InternedString, IsOnePointerForEqualTexts) {
    const std::string buffer = "abc";
    const InternedString prefix(std::string_view(buffer).substr(0, 2)), none, empty("");
    EXPECT_TRUE(prefix.data() == InternedString("ab").data() && prefix.data() != buffer.data());
    EXPECT_TRUE(prefix == InternedString(std::string("ab")) && prefix.view() == "ab");
    EXPECT_TRUE(prefix != InternedString("AB") && prefix != InternedString(std::string_view("ab\0c", 4)));
    EXPECT_TRUE(none == InternedString() && none != empty && none != "");
    EXPECT_TRUE(empty.data() != nullptr && empty == InternedString(std::string_view()));
    EXPECT_TRUE(prefix == "ab" && std::string("ab") == prefix && prefix != std::string_view("abc") && "b" != prefix);
    EXPECT_EQ(testing::PrintToString(prefix), "ab");
    EXPECT_EQ((std::unordered_set<InternedString>{prefix, "ab", empty}.size()), 2u);
    // It stays where it is, whatever comes later and whichever set goes.
    const std::string lengthy = "a text that needs a buffer of its own";
    const InternedString kept(lengthy);
    for (int i = 0; i < 20000; ++i) {
        const InternedStringSetManager another;
        (void)InternedString("filler " + std::to_string(i));
    }
    EXPECT_TRUE(prefix.view() == "ab" && prefix == InternedString("ab"));
    EXPECT_TRUE(kept.view() == lengthy && kept == InternedString(lengthy));
}

}  // namespace
}  // namespace Quorvane::Pyx
