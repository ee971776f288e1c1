// Loops over runs of numbers: as many elements at once as the compiler can vectorise, so no calls, branches or early
// exits per element. Failure is collected for a block.
#pragma once

#include "convert/number_rules.h"

#include <pyx/types/element_types.h>
#include <pyx/variant/ElementOperations.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

// Short enough that the compiler unrolls loops over a block, and that what several loops do to a block in turn overlaps
// in the processor.
using BlockLength = std::integral_constant<std::uint64_t, 32>;

// Calls convertBlock(first, length) for each block of a run, until it answers false. The length of a full block is a
// BlockLength, so that its loops are compiled for this one length.
template <class ConvertBlock>
bool inBlocks(std::uint64_t count, ConvertBlock convertBlock) {
    std::uint64_t first = 0;
    for (; count - first >= BlockLength::value; first += BlockLength::value) {
        if (!convertBlock(first, BlockLength())) {
            return false;
        }
    }
    return first == count || convertBlock(first, count - first);
}

// An unsigned integer as wide as the floating type, for its bits.
template <class Floating>
using BitsOf = std::conditional_t<sizeof(Floating) == 8, std::uint64_t, std::uint32_t>;

// Whether all values lie strictly between -limit and limit; a NaN does not. The bits of magnitudes order as the
// magnitudes do, and the sign of their difference is collected instead of a comparison, which not every processor has
// for 64-bit lanes.
template <class Floating, class Length>
bool allWithin(const Floating* values, Length length, Floating limit) {
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

template <class S, class T, class Length>
void castBlock(const S* source, T* target, Length length) {
    if constexpr (castChecksRange<S, T>) {
        using Vehicle = CastVehicle<T>;
        if (allWithin(source, length, powerOfTwo<S>(8 * sizeof(Vehicle) - 1))) {
            for (std::uint64_t i = 0; i < length; ++i) {
                target[i] = static_cast<T>(static_cast<Vehicle>(source[i]));
            }
            return;
        }
    }
    for (std::uint64_t i = 0; i < length; ++i) {
        target[i] = castNumber<T>(loadNumber(source + i));
    }
}

// None of these bits is set only where keepsValue holds; one may be set there too, as for an infinity that stays.
// Collected over a block instead of comparisons.
template <class S, class T>
auto changedBits(S value, T converted) {
    if constexpr (std::is_floating_point_v<S>) {
        return std::bit_cast<BitsOf<S>>(static_cast<S>(converted) - value);
    } else {
        using Common = std::common_type_t<S, T>;
        return static_cast<Common>(converted) ^ static_cast<Common>(value);
    }
}

// Converts a block; false when `exact` is set and an element would change.
template <class S, class T, class Length>
bool convertBlock(const S* source, T* target, Length length, bool exact) {
    castBlock(source, target, length);
    if constexpr (!alwaysExact<S, T>) {
        if (exact) {
            decltype(changedBits(*source, *target)) changed = 0;
            for (std::uint64_t i = 0; i < length; ++i) {
                changed |= changedBits(source[i], target[i]);
            }
            return changed == 0 || std::equal(source, source + length, target, keepsValue<S, T>);
        }
    }
    return true;
}

template <class S, class T>
bool convertReals(const S* source, T* target, std::uint64_t count, bool exact) {
    if constexpr (std::is_same_v<S, T>) {
        copyElements(target, source, count);
        return true;
    } else {
        if (!castChecksRange<S, T> && (!exact || alwaysExact<S, T>)) {
            return convertBlock(source, target, count, false);
        }
        return inBlocks(count, [&](std::uint64_t first, auto length) {
            return convertBlock(source + first, target + first, length, exact);
        });
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
    return inBlocks(count, [&](std::uint64_t first, auto length) {
        Part reals[BlockLength::value];
        if (!convertBlock(source + first, reals, length, exact)) {
            return false;
        }
        Part* const parts = componentsOf(target + first);
        for (std::uint64_t i = 0; i < length; ++i) {
            parts[2 * i] = reals[i];
            parts[2 * i + 1] = Part{};
        }
        return true;
    });
}

template <class S, class T>
bool convertComplexToReals(const S* source, T* target, std::uint64_t count, bool exact) {
    using Part = Component<S>;
    return inBlocks(count, [&](std::uint64_t first, auto length) {
        const Part* const parts = componentsOf(source + first);
        T* const converted = target + first;
        Part reals[BlockLength::value] = {};
        for (std::uint64_t i = 0; i < length; ++i) {
            reals[i] = loadNumber(parts + 2 * i);
        }
        castBlock(reals, converted, length);
        if (!exact) {
            return true;
        }
        bool kept = true;
        for (std::uint64_t i = 0; i < length; ++i) {
            // Unlike between reals, the value is converted back, and NaN is refused where it could stay.
            kept = kept & (castNumber<Part>(converted[i]) == loadNumber(parts + 2 * i));
            // Deliberately only the real part decides what is a bool.
            if constexpr (!std::is_same_v<T, bool>) {
                kept = kept & (loadNumber(parts + 2 * i + 1) == Part{});
            }
        }
        return kept;
    });
}

// Converts numbers of any kind; false when `exact` is set and an element would change.
template <class S, class T>
bool convertNumbers(const S* source, T* target, std::uint64_t count, bool exact) {
    if constexpr (isComplexElement<S> && isComplexElement<T>) {
        return convertReals(componentsOf(source), componentsOf(target), 2 * count, exact);
    } else if constexpr (isComplexElement<T>) {
        return convertRealsToComplex(source, target, count, exact);
    } else if constexpr (isComplexElement<S>) {
        return convertComplexToReals(source, target, count, exact);
    } else {
        return convertReals(source, target, count, exact);
    }
}

}  // namespace Quorvane::Pyx::Internal
