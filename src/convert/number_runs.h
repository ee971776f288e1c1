// Loops over runs of numbers: as many elements at once as the compiler can vectorise, so no calls, branches or early
// exits per element. Failure is collected for a block.
#pragma once

#include "convert/number_rules.h"
#include "convert/wide_vectors.h"

#include <pyx/types/element_types.h>
#include <pyx/variant/ElementOperations.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

// How many elements several loops treat in turn. Short, so that what they do overlaps in the processor, and some
// vectors long, of which those of bytes hold many.
template <class T>
using BlockLength = std::integral_constant<std::uint64_t, sizeof(T) == 1 ? 256 : 32>;

// Calls convertBlock(first, length) for each block of a run of T, until it answers false. The length of a full block is
// a BlockLength, so that its loops are compiled for this one length.
template <class T, class ConvertBlock>
bool inBlocks(std::uint64_t count, ConvertBlock convertBlock) {
    std::uint64_t first = 0;
    for (; count - first >= BlockLength<T>::value; first += BlockLength<T>::value) {
        if (!convertBlock(first, BlockLength<T>())) {
            return false;
        }
    }
    return first == count || convertBlock(first, count - first);
}

// An unsigned integer as wide as the floating type, for its bits.
template <class Floating>
using BitsOf = std::conditional_t<sizeof(Floating) == 8, std::uint64_t, std::uint32_t>;

// The elements of a run, or the real parts of a run of complex ones.
template <class S, std::uint64_t stride>
struct Values {
    const S* first;
    S operator[](std::uint64_t i) const { return loadNumber(first + stride * i); }
    Values from(std::uint64_t i) const { return {first + stride * i}; }
};

// Whether all values lie strictly between -limit and limit; a NaN does not. The bits of magnitudes order as the
// magnitudes do, and the sign of their difference is collected instead of a comparison, which not every processor has
// for 64-bit lanes.
template <class Floating, std::uint64_t stride, class Length>
bool allWithin(Values<Floating, stride> values, Length length, Floating limit) {
    static_assert(std::numeric_limits<Floating>::is_iec559);
    using Bits = BitsOf<Floating>;
    constexpr Bits magnitude = std::numeric_limits<Bits>::max() >> 1;
    const Bits limitBits = std::bit_cast<Bits>(limit);
    Bits below = ~magnitude;
    for (std::uint64_t i = 0; i < length; ++i) {
        below &= (std::bit_cast<Bits>(values[i]) & magnitude) - limitBits;
    }
    return below != 0;
}

// The signed integer through which the processor converts a floating value to T in one step.
template <class T>
using CastVehicle = std::conditional_t<(sizeof(T) < 4 || std::is_same_v<T, int>), std::int32_t, std::int64_t>;

// Whether a cast looks at a block before it converts it.
template <class S, class T>
inline constexpr bool castChecksRange = std::is_floating_point_v<S>&& std::is_integral_v<T> && !std::is_same_v<T, bool>;

// Zero implies keepsValue. Nonzero does not imply a change: an infinity that stays sets bits too. A loop collects these
// bits over a block instead of comparisons. Where the processor flushes results to zero, a denormal number that a float
// cannot hold may pass or be refused: such a processor does not compute by IEEE 754, and the rule promises nothing for
// it. What a bool is follows from the value, which is cheaper than to widen the bool.
template <class S, class T>
auto changedBits(S value, [[maybe_unused]] T converted) {
    if constexpr (std::is_floating_point_v<S>) {
        const S kept = std::is_same_v<T, bool> ? (value != S{} ? S{1} : S{0}) : static_cast<S>(converted);
        return std::bit_cast<BitsOf<S>>(kept - value);
    } else if constexpr (std::is_same_v<T, bool>) {
        return value & ~S{1};
    } else {
        using Common = std::common_type_t<S, T>;
        return static_cast<Common>(converted) ^ static_cast<Common>(value);
    }
}

// Converts a block by the cast; false when `exact` is set and an element would change.
template <class Cast, class S, std::uint64_t stride, class T, class Length>
bool convertBlockBy(Cast cast, Values<S, stride> source, T* target, Length length, bool exact) {
    for (std::uint64_t i = 0; i < length; ++i) {
        target[i] = cast(source[i]);
    }
    if constexpr (!alwaysExact<S, T>) {
        if (exact) {
            decltype(changedBits(source[0], *target)) changed = 0;
            for (std::uint64_t i = 0; i < length; ++i) {
                changed |= changedBits(source[i], target[i]);
            }
            bool kept = true;
            for (std::uint64_t i = 0; changed != 0 && kept && i < length; ++i) {
                kept = keepsValue(source[i], target[i]);
            }
            return kept;
        }
    }
    return true;
}

template <class S, std::uint64_t stride, class T, class Length>
bool convertBlock(Values<S, stride> source, T* target, Length length, bool exact) {
    if constexpr (castChecksRange<S, T>) {
        using Vehicle = CastVehicle<T>;
        if (allWithin(source, length, powerOfTwo<S>(8 * sizeof(Vehicle) - 1))) {
            const auto cast = [](S value) { return static_cast<T>(static_cast<Vehicle>(value)); };
            return convertBlockBy(cast, source, target, length, exact);
        }
    }
    return convertBlockBy([](S value) { return castNumber<T>(value); }, source, target, length, exact);
}

template <class S, std::uint64_t stride, class T>
bool convertValues(Values<S, stride> source, T* target, std::uint64_t count, bool exact) {
    if (!castChecksRange<S, T> && (!exact || alwaysExact<S, T>)) {
        return convertBlock(source, target, count, false);
    }
    return inBlocks<T>(count, [=](std::uint64_t first, auto length) {
        return convertBlock(source.from(first), target + first, length, exact);
    });
}

template <class S, class T>
bool convertReals(const S* source, T* target, std::uint64_t count, bool exact) {
    if constexpr (std::is_same_v<S, T>) {
        copyElements(target, source, count);
        return true;
    } else {
        return convertValues(Values<S, 1>{source}, target, count, exact);
    }
}

// A complex array of n is an array of 2n components.
template <class Complex>
Component<Complex>* componentsOf(Complex* elements) {
    return reinterpret_cast<Component<Complex>*>(elements);
}
template <class Complex>
const Component<Complex>* componentsOf(const Complex* elements) {
    return reinterpret_cast<const Component<Complex>*>(elements);
}

template <class S, class T>
bool convertRealsToComplex(const S* source, T* target, std::uint64_t count, bool exact) {
    using Part = Component<T>;
    return inBlocks<Part>(count, [&](std::uint64_t first, auto length) {
        Part reals[BlockLength<Part>::value];
        const bool kept = convertBlock(Values<S, 1>{source + first}, reals, length, exact);
        Part* const parts = componentsOf(target + first);
        for (std::uint64_t i = 0; i < length; ++i) {
            parts[2 * i] = reals[i];
            parts[2 * i + 1] = Part{};
        }
        return kept;
    });
}

// Whether complex numbers keep their values as `converted`. Unlike between reals, the real part is converted back, and
// NaN is refused where it could stay. Deliberately only the real part decides what is a bool.
template <class Part, class T>
bool keepsComplex(const Part* parts, const T* converted, std::uint64_t length) {
    bool kept = true;
    for (std::uint64_t i = 0; i < length; ++i) {
        kept = kept & (castNumber<Part>(converted[i]) == loadNumber(parts + 2 * i));
        if constexpr (!std::is_same_v<T, bool>) {
            kept = kept & (loadNumber(parts + 2 * i + 1) == Part{});
        }
    }
    return kept;
}

template <class S, class T>
bool convertComplexToReals(const S* source, T* target, std::uint64_t count, bool exact) {
    using Part = Component<S>;
    const Part* const parts = componentsOf(source);
    if (!exact) {
        return convertValues(Values<Part, 2>{parts}, target, count, false);
    }
    return inBlocks<T>(count, [=](std::uint64_t first, auto length) {
        convertBlock(Values<Part, 2>{parts + 2 * first}, target + first, length, false);
        if constexpr (std::is_floating_point_v<Part>) {
            BitsOf<Part> changed = 0;
            for (std::uint64_t i = first; i < first + length; ++i) {
                changed |= changedBits(parts[2 * i], target[i]);
                if constexpr (!std::is_same_v<T, bool>) {
                    // Without the sign: -0.0 is zero.
                    changed |= std::bit_cast<BitsOf<Part>>(parts[2 * i + 1]) << 1;
                }
            }
            if (changed == 0) {
                return true;
            }
        }
        return keepsComplex(parts + 2 * first, target + first, length);
    });
}

// Where wide vectors bring a third or more. Conversions of complex numbers and among floating types wait for the
// memory.
template <class S, class T>
constexpr bool gainsByWideVectors() {
    constexpr bool isComplex = isComplexElement<S> || isComplexElement<T>;
    constexpr bool staysFloating = std::is_floating_point_v<S> && std::is_floating_point_v<T>;
    return !isComplex && !staysFloating && !std::is_same_v<S, T>;
}

// Converts numbers of any kind; false when `exact` is set and an element would change.
template <class S, class T>
bool convertNumbers(const S* source, T* target, std::uint64_t count, bool exact) {
    const auto convert = [=] {
        if constexpr (isComplexElement<S> && isComplexElement<T>) {
            return convertReals(componentsOf(source), componentsOf(target), 2 * count, exact);
        } else if constexpr (isComplexElement<T>) {
            return convertRealsToComplex(source, target, count, exact);
        } else if constexpr (isComplexElement<S>) {
            return convertComplexToReals(source, target, count, exact);
        } else {
            return convertReals(source, target, count, exact);
        }
    };
    if constexpr (gainsByWideVectors<S, T>()) {
        return onWidestVectors(convert);
    } else {
        return convert();
    }
}

}  // namespace Quorvane::Pyx::Internal
