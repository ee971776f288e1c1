// Elements of all types once more, as plainly as can be: their numbers, bytes and texts, when two are equal, and what
// each becomes in another type. What tests hold the library's own rules against.
#pragma once

#include <pyx/types/dispatch.h>
#include <pyx/types/element_types.h>
#include <pyx/variant/ConversionMode.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace Quorvane::Pyx {

inline constexpr WellKnownType elementTypes[] = {
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) WellKnownType::enumerator,
#include <pyx/types/element_types.def>
};

inline bool isElementType(WellKnownType type) {
    return std::find(std::begin(elementTypes), std::end(elementTypes), type) != std::end(elementTypes);
}

template <class T>
inline constexpr bool isRealElement = Internal::isNumericElement<T> && !Internal::isComplexElement<T>;

// The text that a real number is to convert to.
template <class T>
std::string textByStream(T value) {
    std::ostringstream stream;
    stream.precision(std::numeric_limits<T>::digits10);
    stream << std::boolalpha << value;
    const bool readsAsFloating = stream.str().find_first_of(".e") != std::string::npos;
    return stream.str() + (std::is_floating_point_v<T> && !readsAsFloating ? ".0" : "");
}

// Numbers as in 1.234.567,5
struct CommaPunctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

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

inline Number numberOf(WellKnownType type, const Bytes& bytes) {
    return Internal::dispatchElementType(type.componentType(), [&](auto tag) -> Number {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_arithmetic_v<T>) {
            // Any byte may be a bool.
            std::conditional_t<std::is_same_v<T, bool>, unsigned char, T> parts[2]{};
            std::memcpy(parts, bytes.data(), std::min(bytes.size(), sizeof(parts)));
            if constexpr (std::is_same_v<T, bool>) {
                return {parts[0] != 0 ? 1.0L : 0.0L, parts[1] != 0 ? 1.0L : 0.0L};
            }
            return {static_cast<long double>(parts[0]), static_cast<long double>(parts[1])};
        }
        return {};
    });
}

// As the library compares them.
inline bool areEqual(WellKnownType type, const Bytes& left, const Bytes& right) {
    if (!type.isFloating()) {
        return left == right;
    }
    const Number a = numberOf(type, left);
    const Number b = numberOf(type, right);
    return a.real == b.real && a.imaginary == b.imaginary;
}

// The same bits, but that one NaN is as good as another.
inline bool areSame(WellKnownType type, const Bytes& left, const Bytes& right) {
    const auto isSamePart = [](long double a, long double b) {
        return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
    };
    const Number a = numberOf(type, left);
    const Number b = numberOf(type, right);
    return left == right || (type.isFloating() && isSamePart(a.real, b.real) && isSamePart(a.imaginary, b.imaginary));
}

// What a stream shows of an element that is not a duration or a point in time.
inline std::string printedElement(WellKnownType type, const Bytes& bytes) {
    if (type == WellKnownType::string) {
        return "'" + bytes + "'";
    } else if (type == WellKnownType::bool_) {
        return numberOf(type, bytes).real != 0 ? "true" : "false";
    }
    std::ostringstream out;
    const Number number = numberOf(type, bytes);
    if (type.isComplex()) {
        out << std::complex<double>(static_cast<double>(number.real), static_cast<double>(number.imaginary));
    } else if (type.isFloating()) {
        out << static_cast<double>(number.real);
    } else if (number.real < 0) {
        out << static_cast<long long>(number.real);
    } else {
        out << static_cast<unsigned long long>(number.real);
    }
    return out.str();
}

inline std::size_t sizeOfElement(WellKnownType type) {
    return Internal::dispatchElementType(type, [](auto tag) { return sizeof(typename decltype(tag)::type); });
}

inline Bytes readElement(WellKnownType type, const void* stored, std::uint64_t position) {
    return type == WellKnownType::string
               ? static_cast<const std::string*>(stored)[position]
               : Bytes(static_cast<const char*>(stored) + position * sizeOfElement(type), sizeOfElement(type));
}

inline void writeElement(WellKnownType type, void* stored, std::uint64_t position, const Bytes& element) {
    if (type == WellKnownType::string) {
        static_cast<std::string*>(stored)[position] = element;
    } else {
        std::memcpy(static_cast<char*>(stored) + position * element.size(), element.data(), element.size());
    }
}

// Elements as the library wants them in memory.
class NativeElements {
public:
    NativeElements(WellKnownType type, const std::vector<Bytes>& elements) {
        if (type == WellKnownType::string) {
            texts_ = elements;
        } else {
            words_.resize(elements.size() * sizeOfElement(type) / sizeof(std::uint64_t) + 1);
            for (std::size_t i = 0; i < elements.size(); ++i) {
                writeElement(type, words_.data(), i, elements[i]);
            }
        }
    }

    void* data() { return texts_.empty() ? static_cast<void*>(words_.data()) : texts_.data(); }

private:
    std::vector<std::string> texts_;
    std::vector<std::uint64_t> words_;
};

}  // namespace Quorvane::Pyx
