// The text of values, for both value types.
#include "element_samples.h"
#include "values.h"

#include <pyx/pyx.h>

#include <complex>
#include <iomanip>
#include <sstream>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using namespace std::string_literals;
using testing::PrintToString;

struct ValueName {
    template <class Value>
    static std::string GetName(int) {
        return std::is_same_v<Value, ZVariant> ? "ZVariant" : "ZVariantAbi";
    }
};

template <class Value>
class ValueText : public testing::Test {
protected:
    // The bytes of a bool can be other than 0 and 1.
    template <class T>
    static Value ofBytes(std::vector<unsigned char> bytes) {
        return Value::fromData(reinterpret_cast<const T*>(bytes.data()), bytes.size() / sizeof(T));
    }

    static std::string failure(const std::string& rest) {
        return "Cannot convert Quorvane::Pyx::" + ValueName::GetName<Value>(0) + " of type '" + rest;
    }
};
TYPED_TEST_SUITE(ValueText, BothValues, ValueName);

TYPED_TEST(ValueText, IsTheSameInAllForms) {
    using V = TypeParam;
    const std::vector<std::pair<V, std::string>> table{
        {V(), "null"},
        {V(1.5), "1.5"},
        {V(0.1F), "0.1"},
        {V(1e6), "1e+06"},
        {V::fromData({1.5}, {1, 1, 1}), "1.5"},
        {V::fromData({1.5, 2.5}), "[1.5, 2.5]"},
        {V::fromData({1, 2, 3, 4}, {2, 2}, DataOrdering::ColumnMajor), "[1, 2, 3, 4]"},
        {V("it's \n"), "'it's \n'"},
        {V::fromData({"a\0b"s, ""s}), "['a\0b', '']"s},
        {V(true), "true"},
        {this->template ofBytes<bool>({2}), "true"},
        {this->template ofBytes<bool>({0, 1, 2, 255}), "[false, true, true, true]"},
        {this->template ofBytes<Complex<bool>>({2, 255, 0, 0}), "[(1,1), (0,0)]"},
        {V(static_cast<signed char>(65)), "65"},
        {V(static_cast<unsigned char>(255)), "255"},
        {V(std::numeric_limits<long long>::min()), "-9223372036854775808"},
        {V(std::numeric_limits<unsigned long long>::max()), "18446744073709551615"},
        {V(std::complex<float>(1.5F, -2)), "(1.5,-2)"},
        {V(Complex<unsigned char>(200, 7)), "(200,7)"},
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    {V::template allocate<type>({0, 4}), "[]"}, {V::template allocate<type>({}), "[]"},
#include <pyx/types/element_types.def>
    };
    for (const auto& [value, text] : table) {
        EXPECT_EQ(PrintToString(value), text);
        std::ostringstream out;
        EXPECT_EQ(&ConsoleFormatter::serialize(value, out), &out);
        out << value;
        EXPECT_EQ(out.str(), text + text);
    }
    V shrunk = V::fromData({"a"s, "b"s, "c"s});
    shrunk.reshapeNoRealloc({2});
    EXPECT_EQ(PrintToString(shrunk), "['a', 'b']");
}

TYPED_TEST(ValueText, FollowsTheSettingsOfTheStream) {
    using V = TypeParam;
    std::ostringstream out;
    out << std::hex << std::showbase << V::fromData({10, 255}) << ' ' << V(Complex<short>(16, 0)) << std::dec << ' ';
    out << std::setprecision(3) << std::showpos << V(3.14159) << std::noshowpos << ' ' << std::setprecision(17);
    out << V(0.1F) << ' ' << std::setfill('.') << std::setw(6) << V(42) << V(7);
    EXPECT_EQ(out.str(), "[0xa, 0xff] (16,0) +3.14 0.10000000149011612 ....427");

    out.str("");
    out.imbue(std::locale(std::locale::classic(), new CommaPunctuation));
    out << V(1234567) << ' ' << V(2.5);
    EXPECT_EQ(out.str(), "1.234.567 2,5");

    out.str("");
    out.setstate(std::ios::badbit);
    EXPECT_NO_THROW(out << V(1.5));
    EXPECT_EQ(out.str(), "");
}

TYPED_TEST(ValueText, LeavesBoolalphaSetBehindABoolOnly) {
    std::ostringstream out;
    out << TypeParam(1) << TypeParam(Complex<bool>(true)) << TypeParam::template allocate<bool>({0}) << true << ' ';
    out << TypeParam(false) << ' ' << true;
    EXPECT_EQ(out.str(), "1(1,0)[]1 false true");
}

TYPED_TEST(ValueText, FailsForDurationsAndTimePointsBehindTheBracket) {
    const auto fails = [](const TypeParam& value, const std::string& written, const std::string& rest) {
        std::ostringstream out;
        EXPECT_RAISES(std::runtime_error, ValueText<TypeParam>::failure(rest), out << "x = " << value);
        EXPECT_RAISES(std::runtime_error, ValueText<TypeParam>::failure(rest), ConsoleFormatter::serialize(value, out));
        EXPECT_EQ(out.str(), "x = " + written + written);
    };
    fails(Duration(), "", "Quorvane::Pyx::Duration' (size: 1) to 'int64_t'");
    fails(TypeParam::template allocate<TimePoint>({3}), "[", "Quorvane::Pyx::TimePoint' (size: 3) to 'int64_t'");
}

TYPED_TEST(ValueText, OfARefusedConversionNamesBothTypesAndTheSize) {
    const auto fails = [](const TypeParam& value, WellKnownType target, const std::string& rest) {
        EXPECT_RAISES(std::runtime_error, ValueText<TypeParam>::failure(rest), value.convertOrThrow(target));
    };
    fails("1", WellKnownType::complexInt64, "std::string' (size: 1) to 'Quorvane::Pyx::Complex<__int64,void>'");
    fails(TypeParam::template allocate<float>({0, 4}), WellKnownType::string, "float' (size: 0) to 'std::string'");
    fails(TypeParam::template allocate<int>({2, 3}), WellKnownType::duration,
          "int' (size: 6) to 'Quorvane::Pyx::Duration'");
}

}  // namespace
}  // namespace Quorvane::Pyx
