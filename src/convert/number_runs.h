// Loops over runs of numbers: as many elements at once as the compiler can vectorise, so no calls, branches or early
// exits per element. Failure is collected for a block.
#pragma once

#include "convert/number_rules.h"

#include <pyx/types/element_types.h>
#include <pyx/variant/ElementOperations.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

// Short enough that source and target of a block stay in the first-level cache between two passes.
inline constexpr std::uint64_t blockLength = 1024;

// Calls convertBlock(first, count) for each block of a run, until it answers false.
template <class ConvertBlock>
bool inBlocks(std::uint64_t count, ConvertBlock convertBlock) {
    for (std::uint64_t first = 0; first < count; first += blockLength) {
        if (!convertBlock(first, std::min(blockLength, count - first))) {
            return false;
        }
    }
    return true;
}

// An integer as wide as the wider of the two, to collect failures in: loops vectorise when all lanes have one width.
template <class S, class T>
using FailureMask = std::conditional_t<
    (sizeof(S) > 4 || sizeof(T) > 4), std::uint64_t,
    std::conditional_t<(sizeof(S) > 2 || sizeof(T) > 2), std::uint32_t,
                       std::conditional_t<(sizeof(S) > 1 || sizeof(T) > 1), std::uint16_t, std::uint8_t>>>;

// Whether all values lie in [lowest, beyond); a NaN does not.
template <class Floating>
bool allWithin(const Floating* values, std::uint64_t count, Floating lowest, Floating beyond) {
    FailureMask<Floating, Floating> outside = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        outside |= static_cast<FailureMask<Floating, Floating>>(!(values[i] >= lowest) | !(values[i] < beyond));
    }
    return outside == 0;
}

// The signed integer through which the processor converts a floating value to T in one step.
template <class T>
using CastVehicle = std::conditional_t<(sizeof(T) < 4 || std::is_same_v<T, int>), std::int32_t, std::int64_t>;

template <class Floating, class T>
void castFloatingBlock(const Floating* source, T* target, std::uint64_t count) {
    using Vehicle = CastVehicle<T>;
    constexpr Floating limit = powerOfTwo<Floating>(8 * sizeof(Vehicle) - 1);
    if (allWithin(source, count, -limit, limit)) {
        for (std::uint64_t i = 0; i < count; ++i) {
            target[i] = static_cast<T>(static_cast<Vehicle>(source[i]));
        }
    } else {
        for (std::uint64_t i = 0; i < count; ++i) {
            target[i] = castFloatingToInteger<T>(source[i]);
        }
    }
}

template <class S, class T>
void castReals(const S* source, T* target, std::uint64_t count) {
    if constexpr (std::is_same_v<S, T>) {
        copyElements(target, source, count);
    } else if constexpr (std::is_floating_point_v<S> && std::is_integral_v<T> && !std::is_same_v<T, bool>) {
        inBlocks(count, [&](std::uint64_t first, std::uint64_t length) {
            castFloatingBlock(source + first, target + first, length);
            return true;
        });
    } else {
        for (std::uint64_t i = 0; i < count; ++i) {
            target[i] = castNumber<T>(loadNumber(source + i));
        }
    }
}

template <class S, class T>
bool convertRealsExactly(const S* source, T* target, std::uint64_t count) {
    if constexpr (alwaysExact<S, T>) {
        castReals(source, target, count);
        return true;
    } else {
        return inBlocks(count, [&](std::uint64_t first, std::uint64_t length) {
            castReals(source + first, target + first, length);
            FailureMask<S, T> changed = 0;
            for (std::uint64_t i = first; i < first + length; ++i) {
                changed |= static_cast<FailureMask<S, T>>(!keepsValue(source[i], target[i]));
            }
            return changed == 0;
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
    Part* const parts = componentsOf(target);
    return inBlocks(count, [&](std::uint64_t first, std::uint64_t length) {
        FailureMask<S, Part> changed = 0;
        for (std::uint64_t i = first; i < first + length; ++i) {
            const S value = loadNumber(source + i);
            const Part real = castNumber<Part>(value);
            parts[2 * i] = real;
            parts[2 * i + 1] = Part{};
            changed |= static_cast<FailureMask<S, Part>>(!keepsValue(value, real));
        }
        return !exact || changed == 0;
    });
}

template <class S, class T>
bool convertComplexToReals(const S* source, T* target, std::uint64_t count, bool exact) {
    using Part = Component<S>;
    const Part* const parts = componentsOf(source);
    return inBlocks(count, [&](std::uint64_t first, std::uint64_t length) {
        FailureMask<Part, T> changed = 0;
        for (std::uint64_t i = first; i < first + length; ++i) {
            const Part real = loadNumber(parts + 2 * i);
            const T converted = castNumber<T>(real);
            target[i] = converted;
            // Unlike between reals, the value is converted back, and NaN is refused where it could stay.
            bool kept = castNumber<Part>(converted) == real;
            // Deliberately only the real part decides what is a bool.
            if constexpr (!std::is_same_v<T, bool>) {
                kept = kept & (loadNumber(parts + 2 * i + 1) == Part{});
            }
            changed |= static_cast<FailureMask<Part, T>>(!kept);
        }
        return !exact || changed == 0;
    });
}

// Converts numbers of any kind; false when `exact` is set and an element would change.
template <class S, class T>
bool convertNumbers(const S* source, T* target, std::uint64_t count, bool exact) {
    if constexpr (isComplexElement<S> && isComplexElement<T>) {
        return convertNumbers(componentsOf(source), componentsOf(target), 2 * count, exact);
    } else if constexpr (isComplexElement<T>) {
        return convertRealsToComplex(source, target, count, exact);
    } else if constexpr (isComplexElement<S>) {
        return convertComplexToReals(source, target, count, exact);
    } else if (exact) {
        return convertRealsExactly(source, target, count);
    } else {
        castReals(source, target, count);
        return true;
    }
}

}  // namespace Quorvane::Pyx::Internal
