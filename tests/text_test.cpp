// Texts of numbers and values: fixed ones, and what random operations leave alone, which is locales, the settings of
// streams, the modes of the vector unit and the texts of failures.
#include "values.h"

#include <pyx/pyx.h>

#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace Quorvane::Pyx {
namespace {

using namespace std::string_literals;

std::string textOf(const ZVariant& number) {
    return number.as<std::string>(ConversionMode::CastOrText);
}

template <class T>
T readAs(const std::string& text) {
    return ZVariant(text).as<T>(ConversionMode::CastOrText);
}

void expectConversionByStream() {
    for (const WellKnownType type : elementTypes) {
        Internal::dispatchElementType(type, [](auto tag) {
            using T = typename decltype(tag)::type;
            if constexpr (isRealElement<T>) {
                using Limits = std::numeric_limits<T>;
                for (const T number :
                     {T(65), Limits::max(), Limits::min(), Limits::lowest(), Limits::denorm_min(), Limits::infinity(),
                      T(1234567), T(0.1), T(1000000000000000), T(10000000000000000)}) {
                    EXPECT_EQ(textOf(number), textByStream(number));
                }
            }
        });
    }
    EXPECT_EQ(readAs<double>("0.3"), std::strtod("0.3", nullptr));
}

TEST(TextConversion, GivesFixedResults) {
    EXPECT_EQ(textOf(100000.0), "100000.0");
    EXPECT_EQ(textOf(1e6F), "1e+06");
    EXPECT_EQ(textOf(HUGE_VAL), "inf.0");
    EXPECT_EQ(textOf(static_cast<signed char>(48)), "0");
    EXPECT_EQ(textOf(static_cast<unsigned char>(0)), "\0"s);
    EXPECT_EQ(textOf(true), "true");
    EXPECT_EQ(readAs<double>("12abc"), 12);
    EXPECT_EQ(readAs<double>("1,5"), 1);
    EXPECT_EQ(readAs<double>("+1\0002"s), 1);
    EXPECT_EQ(readAs<double>("1e-400"), 0);
    EXPECT_TRUE(readAs<bool>("true") && readAs<bool>("1e-320") && !readAs<bool>("true ") && !readAs<bool>("abc"));
}

TEST(TextConversion, FollowsTheGlobalLocale) {
    std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    expectConversionByStream();
    EXPECT_EQ(textOf(1234567), "1.234.567");
    EXPECT_EQ(textOf(2.5), "2,5.0");  // deliberately: there is no '.' in it
    EXPECT_EQ(textOf(1234.0), "1.234");
    std::locale::global(std::locale::classic());
    EXPECT_EQ(textOf(1234567), "1234567");
}

#if defined(__SSE2__)
TEST(TextConversion, FollowsTheVectorUnit) {
    // It alone takes denormal numbers for zero, or rounds upward.
    const unsigned plain = _mm_getcsr();
    for (const unsigned mode : {0x8040U, 0x4000U}) {
        _mm_setcsr(plain | mode);
        expectConversionByStream();
        _mm_setcsr(plain);
    }
}
#endif

template <class Value>
struct ValueText : testing::Test {};
TYPED_TEST_SUITE(ValueText, BothValues, );

TYPED_TEST(ValueText, IsTheSameInAllForms) {
    const auto texts = TypeParam::fromData({"it's \n"s, "a\0b"s, ""s});
    const std::string text = "['it's \n', 'a\0b', '']"s;
    std::ostringstream out;
    EXPECT_EQ(&ConsoleFormatter::serialize(texts, out), &out);
    out << texts << testing::PrintToString(texts);
    EXPECT_EQ(out.str(), text + text + text);
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
    // Boolalpha stays behind a bool only.
    out << V(1) << V(Complex<bool>(true)) << V::template allocate<bool>({0}) << true << ' ' << V(false) << ' ' << true;
    EXPECT_EQ(out.str(), "1(1,0)[]1 false true");
    out.str("");
    out.setstate(std::ios::badbit);
    EXPECT_NO_THROW(out << V(1.5));
    EXPECT_EQ(out.str(), "");
}

TYPED_TEST(ValueText, KeepsWhatWasWrittenBeforeAFailure) {
    using V = TypeParam;
    const auto fails = [](const V& value, const std::string& written, const std::string& rest) {
        const char* const name = std::is_same_v<V, ZVariant> ? "ZVariant" : "ZVariantAbi";
        const std::string text = "Cannot convert Quorvane::Pyx::"s + name + " of type '" + rest;
        std::ostringstream out;
        EXPECT_RAISES(std::runtime_error, text, out << "x = " << value);
        EXPECT_RAISES(std::runtime_error, text, ConsoleFormatter::serialize(value, out));
        EXPECT_EQ(out.str(), "x = " + written + written);
    };
    fails(Duration(), "", "Quorvane::Pyx::Duration' (size: 1) to 'int64_t'");
    fails(V::template allocate<TimePoint>({3}), "[", "Quorvane::Pyx::TimePoint' (size: 3) to 'int64_t'");
}

}  // namespace
}  // namespace Quorvane::Pyx
