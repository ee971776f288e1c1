// How one real number becomes another: the cast, and the test that `Exact` adds to it. Arrays, scalars and texts all
// follow these two functions.
#pragma once

#include <cstdint>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

// A bool from outside is a byte that may hold anything.
template <class S>
S loadNumber(const S* source) {
    if constexpr (std::is_same_v<S, bool>) {
        return *reinterpret_cast<const unsigned char*>(source) != 0;
    } else {
        return *source;
    }
}

// A value that a floating type and all integers up to 64 bits have in common: 2^bits.
template <class Floating>
constexpr Floating powerOfTwo(int bits) {
    return bits == 0 ? Floating{1} : 2 * powerOfTwo<Floating>(bits - 1);
}

// Defined for every input, unlike the language's cast: truncates toward zero, wraps what fits 64 bits to the target's
// width, and takes everything else, NaN included, for 2^63.
template <class T, class Floating>
T castFloatingToInteger(Floating value) {
    if (value >= -powerOfTwo<Floating>(63) && value < powerOfTwo<Floating>(63)) {
        return static_cast<T>(static_cast<std::int64_t>(value));
    }
    if (value >= powerOfTwo<Floating>(63) && value < powerOfTwo<Floating>(64)) {
        return static_cast<T>(static_cast<std::uint64_t>(value));
    }
    return static_cast<T>(std::uint64_t{1} << 63);
}

template <class T, class S>
T castNumber(S value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value != S{};
    } else if constexpr (std::is_same_v<S, bool>) {
        return value ? T{1} : T{0};
    } else if constexpr (std::is_floating_point_v<S> && std::is_integral_v<T>) {
        return castFloatingToInteger<T>(value);
    } else {
        return static_cast<T>(value);
    }
}

// Whether a cast from S to T keeps every value, for `Exact`. From integers to floating types the comparison would be
// made in the floating type, so that it always passes, although large integers lose digits; NaN passes where the type
// stays or widens.
template <class S, class T>
inline constexpr bool alwaysExact = std::is_same_v<S, T> || std::is_same_v<S, bool> ||
                                    (std::is_integral_v<S> && std::is_floating_point_v<T>) ||
                                    (std::is_same_v<S, float> && std::is_same_v<T, double>);

// Whether `converted`, the cast of `value`, still has its value. Integers compare as the language's usual arithmetic
// conversions do, deliberately even where that looks wrong: -1 as unsigned 32 bits passes, since the comparison itself
// converts the -1.
template <class S, class T>
bool keepsValue(S value, T converted) {
    if constexpr (alwaysExact<S, T>) {
        return true;
    } else if constexpr (std::is_integral_v<S> && std::is_integral_v<T> && !std::is_same_v<T, bool>) {
        using Common = std::common_type_t<S, T>;
        return static_cast<Common>(converted) == static_cast<Common>(value);
    } else {
        return static_cast<S>(converted) == value;
    }
}

}  // namespace Quorvane::Pyx::Internal
