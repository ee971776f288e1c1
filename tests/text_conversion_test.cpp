// Conversion between numbers and texts.
#include "element_samples.h"

#include <gtest/gtest.h>
#include <pyx/pyx.h>

#include <cfenv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#ifdef __SSE2__
#include <pmmintrin.h>
#endif

namespace Quorvane::Pyx {
namespace {

using namespace std::string_literals;

ZVariant convert(const ZVariant& value, WellKnownType target) {
    return value.convertTo(target, ConversionMode::CastOrText);
}

std::string textOf(const ZVariant& number) {
    return convert(number, WellKnownType::string).elementAt<std::string>(0);
}

template <class T>
std::optional<T> readAs(const std::string& text) {
    const ZVariant number = convert(text, Internal::ElementTraits<T>::code);
    return number.isNull() ? std::nullopt : std::optional(number.elementAt<T>(0));
}

class TextConversion : public testing::Test {
protected:
    ~TextConversion() override { std::locale::global(std::locale::classic()); }

    // Calls test() where numbers round to nearest, where they do not, and where only the vector unit, which computes,
    // rounds up or takes denormal numbers for zero.
    template <class Test>
    static void inEveryArithmetic(Test test) {
        std::fenv_t usual;
        std::fegetenv(&usual);
        test();
        std::fesetround(FE_UPWARD);
        test();
        std::fesetenv(&usual);
#ifdef __SSE2__
        for (const unsigned bits : {_MM_ROUND_UP, _MM_DENORMALS_ZERO_ON}) {
            _mm_setcsr(_mm_getcsr() | bits);
            test();
            std::fesetenv(&usual);
        }
#endif
    }
};

// Limits, the powers of ten where the notation changes with what is near them, and any bits, to meet all exponents.
template <class T>
std::vector<T> manyNumbers() {
    using Limits = std::numeric_limits<T>;
    std::vector<T> numbers{0, 1, 65, Limits::max(), Limits::min(), Limits::lowest(), Limits::denorm_min()};
    if constexpr (std::is_floating_point_v<T>) {
        for (int exponent = -7; exponent <= 18; ++exponent) {
            const T power = std::pow(T{10}, static_cast<T>(exponent));
            numbers.insert(numbers.end(), {power, std::nextafter(power, T{0}), T{1.5} * power, power - T{0.5}, -power});
        }
        numbers.insert(numbers.end(), {T{-0.0}, Limits::infinity(), Limits::quiet_NaN(), -Limits::quiet_NaN()});
    }
    std::mt19937_64 random(20240229);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        std::memcpy(&numbers.emplace_back(), &bits, sizeof(T));
    }
    return numbers;
}

template <class T>
void expectTextsByStream() {
    if constexpr (isRealElement<T>) {
        const std::vector<T> numbers = manyNumbers<T>();
        const ZVariant texts = convert(ZVariant::fromData(numbers.data(), numbers.size()), WellKnownType::string);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            ASSERT_EQ(texts.elementAt<std::string>(i), textByStream(numbers[i]));
        }
    }
}
// A std::vector<bool> has no elements in memory.
template <>
void expectTextsByStream<bool>() {}

void expectAllTextsByStream() {
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) expectTextsByStream<type>();
#include <pyx/types/element_types.def>
}

TEST_F(TextConversion, OfNumbersGivesWhatAStreamWrites) {
    inEveryArithmetic(expectAllTextsByStream);
    EXPECT_EQ(textOf(100000.0), "100000.0");
    EXPECT_EQ(textOf(1e6F), "1e+06");
    EXPECT_EQ(textOf(HUGE_VAL), "inf.0");
    EXPECT_EQ(textOf(std::copysign(std::nan(""), -1.0)), "-nan.0");
    EXPECT_EQ(textOf(static_cast<signed char>(48)), "0");
    EXPECT_EQ(textOf(static_cast<unsigned char>(0)), "\0"s);
    EXPECT_EQ(textOf(true), "true");
}

TEST_F(TextConversion, OfNumbersFollowsTheGlobalLocale) {
    std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    expectAllTextsByStream();
    EXPECT_EQ(textOf(1234567), "1.234.567");
    EXPECT_EQ(textOf(2.5), "2,5.0");  // deliberately: there is no '.' in it
    EXPECT_EQ(textOf(1234.0), "1.234");
    std::locale::global(std::locale::classic());
    EXPECT_EQ(textOf(1234567), "1234567");
}

TEST_F(TextConversion, ReadsTheNumberAtTheBeginningAndCastsIt) {
    const std::pair<std::string, double> numbers[] = {
        {"12abc", 12}, {" \t\n7", 7},   {"+.5", 0.5},        {"-1e3x", -1000},
        {"0x10", 16},  {"1\0002"s, 1},  {"1e999", HUGE_VAL}, {"-Infinity", -HUGE_VAL},
        {"1,5", 1},    {"2.5true", 2.5}};
    for (const auto& [text, number] : numbers) {
        EXPECT_EQ(readAs<double>(text), number) << text;
        EXPECT_EQ(readAs<float>(text), static_cast<float>(number)) << text;
    }
    EXPECT_TRUE(std::isnan(readAs<double>("nan").value()));
    EXPECT_TRUE(std::signbit(readAs<double>("-0").value()));
    EXPECT_EQ(readAs<int>("3.9"), 3);
    EXPECT_EQ(readAs<int>("3e9"), -1294967296);
    EXPECT_EQ(readAs<unsigned short>("-1"), 65535);
    EXPECT_EQ(readAs<long long>("9007199254740993"), 9007199254740992);
    EXPECT_EQ(readAs<unsigned long long>("18446744073709549568"), 18446744073709549568U);
    EXPECT_EQ(readAs<long long>("1e999"), std::numeric_limits<long long>::min());
}

TEST_F(TextConversion, ReadsDecimalNumbersAsStrtodDoesInEveryArithmetic) {
    inEveryArithmetic([] {
        std::istringstream texts(
            "0.1 -0.1 8.6 1. 1.e2 00012.5 1e 1e+ 1E-5 0x 0x1p3 -0X.8 0e0 1.2.3 --1 9007199254740993 "
            "123456789012345678901234567890 1.7976931348623159e308 4.9e-324 2.4703282292062327e-324 "
            "-2.4703282292062328e-324 1e-400");
        for (std::string text; texts >> text;) {
            const double expected = std::strtod(text.c_str(), nullptr);
            const double number = readAs<double>(text).value_or(0);
            EXPECT_EQ(number, expected) << text;
            EXPECT_EQ(std::signbit(number), std::signbit(expected)) << text;
        }
    });
}

TEST_F(TextConversion, RefusesAllTextsForOneWithoutNumberButNotToBool) {
    for (const std::string& text : {""s, "abc"s, "-"s, " "s, "\0001"s, "e5"s, "true"s}) {
        const ZVariant texts = ZVariant::fromData({"1"s, text});
        EXPECT_TRUE(convert(texts, WellKnownType::double_).isNull()) << text;
        EXPECT_TRUE(convert(texts, WellKnownType::unsignedInt8).isNull()) << text;
        EXPECT_EQ(testing::PrintToString(convert(texts, WellKnownType::bool_)),
                  text == "true" ? "[true, true]" : "[true, false]");
    }
}

TEST_F(TextConversion, ToBoolIsTrueForTheWordAndForNumbersButZero) {
    for (const char* const text : {"true", "1", "2.5", "-1", "0x10", "nan", "inf", " 1x", "1e-320"}) {
        EXPECT_EQ(readAs<bool>(text), true) << text;
    }
    for (const std::string& text :
         {"false"s, "TRUE"s, " true"s, "true "s, "true\0"s, "0.0"s, "-0"s, "0true"s, "1e-999"s}) {
        EXPECT_EQ(readAs<bool>(text), false) << text;
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
