// The matrix of conversions once more, element by element and as plainly as can be: what tests and fuzz targets hold
// the library's own against.
#pragma once

#include "element_samples.h"

#include <pyx/types/dispatch.h>
#include <pyx/variant/ConversionMode.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace Quorvane::Pyx {

// A long double holds every part of every number.
static_assert(std::numeric_limits<long double>::digits >= 64);
struct Number {
    long double real = 0;
    long double imaginary = 0;
};
// The bytes of an element in memory, or the characters of a text.
using Bytes = std::string;
struct Sample {
    Number number;
    Bytes bytes;
};
using Converted = std::optional<Bytes>;

// The bytes of a number; the default element of a type that is not numeric.
inline Bytes bytesOf(WellKnownType type, Number number) {
    return Internal::dispatchElementType(type.componentType(), [&](auto tag) -> Bytes {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_arithmetic_v<T>) {
            const T parts[2] = {static_cast<T>(number.real), static_cast<T>(number.imaginary)};
            return Bytes(reinterpret_cast<const char*>(parts), sizeof(T) * (type.isComplex() ? 2 : 1));
        }
        return Bytes(std::is_same_v<T, std::string> ? 0 : sizeof(T), '\0');
    });
}

inline int bitsOf(WellKnownType integer) {
    return static_cast<int>(8 * bytesOf(integer, {}).size());
}

// Truncates what fits 64 bits then, signed or unsigned, takes everything else for 2^63, and keeps the low bits.
inline long double wrapped(long double value, int bits, bool isUnsigned) {
    std::uint64_t word = std::uint64_t{1} << 63;
    if (value >= std::ldexp(-1.0L, 63) && value < std::ldexp(1.0L, 64)) {
        word = value < 0 ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value))
                         : static_cast<std::uint64_t>(value);
    }
    const std::uint64_t low = word << (64 - bits) >> (64 - bits);
    return static_cast<long double>(low) - (!isUnsigned && low >> (bits - 1) != 0 ? std::ldexp(1.0L, bits) : 0.0L);
}

inline long double castPart(long double value, WellKnownType to) {
    if (to.isFloating()) {
        return to == WellKnownType::double_ ? static_cast<double>(value) : static_cast<float>(value);
    }
    return to == WellKnownType::bool_ ? value != 0 : wrapped(value, bitsOf(to), to.isUnsigned());
}

inline bool keepsPart(long double value, WellKnownType from, WellKnownType to) {
    const long double cast = castPart(value, to);
    if (from == to || from == WellKnownType::bool_ || (to.isFloating() && from != WellKnownType::double_)) {
        return true;
    } else if (to.isFloating() || to == WellKnownType::bool_) {
        return cast == value;
    } else if (from.isFloating()) {
        return castPart(cast, from) == value;
    }
    // The usual arithmetic conversions: at least int, the wider of the two, and unsigned if a type of that width is.
    const int bits = std::max({bitsOf(from), bitsOf(to), 32});
    const bool isUnsigned = (from.isUnsigned() && bitsOf(from) == bits) || (to.isUnsigned() && bitsOf(to) == bits);
    return wrapped(value, bits, isUnsigned) == wrapped(cast, bits, isUnsigned);
}

inline Converted convertedNumber(WellKnownType from, WellKnownType to, Number number, bool exact) {
    const WellKnownType part = from.componentType();
    const WellKnownType toPart = to.componentType();
    const Number cast{castPart(number.real, toPart), castPart(number.imaginary, toPart)};
    bool kept = keepsPart(number.real, part, toPart);
    if (from.isComplex() && to.isComplex()) {
        kept = kept && keepsPart(number.imaginary, part, toPart);
    } else if (from.isComplex()) {
        kept = castPart(cast.real, part) == number.real && (to == WellKnownType::bool_ || number.imaginary == 0);
    }
    return exact && !kept ? std::nullopt : Converted(bytesOf(to, cast));
}

inline Bytes textOf(WellKnownType type, long double number) {
    return Internal::dispatchElementType(type, [&](auto tag) -> Bytes {
        using T = typename decltype(tag)::type;
        if constexpr (isRealElement<T>) {
            return textByStream(static_cast<T>(number));
        }
        return {};
    });
}

inline Converted convertedText(const Bytes& text, WellKnownType to) {
    char* end = nullptr;
    const long double number = std::strtod(text.c_str(), &end);
    if (to == WellKnownType::bool_) {
        return bytesOf(to, {text == "true" || number != 0 ? 1.0L : 0.0L});
    }
    return end == text.c_str() ? std::nullopt : Converted(bytesOf(to, {castPart(number, to)}));
}

inline bool copiesWords(WellKnownType from, WellKnownType to) {
    return from == to || (from == WellKnownType::duration && to == WellKnownType::timePoint);
}

inline Converted converted(WellKnownType from, WellKnownType to, const Sample& element, ConversionMode mode) {
    const auto& [number, bytes] = element;
    const bool exact = mode == ConversionMode::Exact;
    const bool withText = mode == ConversionMode::CastOrText;
    if (mode > ConversionMode::CastOrText) {
        return std::nullopt;
    } else if (from == to || (!exact && copiesWords(from, to))) {
        return bytes;
    } else if (from.isNumeric() && to.isNumeric()) {
        return convertedNumber(from, to, number, exact);
    } else if (withText && from.isNumeric() && !from.isComplex() && to == WellKnownType::string) {
        return textOf(from, number.real);
    } else if (withText && from == WellKnownType::string && to.isNumeric() && !to.isComplex()) {
        return convertedText(bytes, to);
    }
    const bool isDefault = from.isNumeric() ? number.real == 0 && number.imaginary == 0 : bytes == bytesOf(from, {});
    return exact && isDefault ? Converted(bytesOf(to, {})) : std::nullopt;
}

inline bool convertsEmptyArray(WellKnownType from, WellKnownType to, ConversionMode mode) {
    return (from.isNumeric() && to.isNumeric()) || (mode <= ConversionMode::CastOrText && copiesWords(from, to));
}

// Where conversions change their minds.
inline std::vector<long double> interestingNumbers() {
    std::vector<long double> numbers{0, 1, 2, -1, 0.5, -0.5, 2.5, -255.5, 0.1, 3e9, -3e9, 1e300};
    for (const int bits : {7, 8, 15, 16, 24, 31, 32, 53, 63, 64}) {
        const long double power = std::ldexp(1.0L, bits);
        numbers.insert(numbers.end(), {power - 1, power, power + 1, -power, -power - 1});
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    numbers.insert(numbers.end(),
                   {std::nextafter(0x1p63, 0), std::nextafter(-0x1p63, -HUGE_VAL), std::nextafter(0x1p64, 0),
                    std::nextafter(0x1p31F, 0.F), std::nextafter(-0x1p31F, -HUGE_VALF), std::nextafter(0x1p63F, 0.F),
                    std::nextafter(-0x1p63F, -HUGE_VALF), std::nextafter(0x1p64F, 0.F), FLT_TRUE_MIN, FLT_MAX,
                    FLT_MAX * (1 + 0x1p-25), DBL_TRUE_MIN, DBL_MAX, -0.0, HUGE_VAL, -HUGE_VAL, -nan, nan});
    return numbers;
}

}  // namespace Quorvane::Pyx
