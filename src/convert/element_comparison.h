// When elements are equal, for each type, and how runs of them are compared.
#pragma once

#include "convert/number_runs.h"

#include <pyx/types/element_types.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

// NaN differs from everything, itself included, and -0.0 equals 0.0. Differences are collected as floating values,
// whose selection compilers vectorise where they do not for an integer of that width.
template <class Floating>
bool equalFloatingRuns(const Floating* left, const Floating* right, std::uint64_t count) {
    return inBlocks<Floating>(count, [=](std::uint64_t first, auto length) {
        BitsOf<Floating> different = 0;
        for (std::uint64_t i = 0; i < length; ++i) {
            const Floating difference = left[first + i] == right[first + i] ? Floating{0} : Floating{1};
            different |= std::bit_cast<BitsOf<Floating>>(difference);
        }
        return different == 0;
    });
}

// Integers, complex ones too, and durations and time points are equal when their bytes are; so are bools, of which two
// bytes that are both true may deliberately differ. Texts need equal length and bytes.
template <class T>
bool equalRuns(const T* left, const T* right, std::uint64_t count) {
    if constexpr (std::is_floating_point_v<Component<T>>) {
        constexpr std::uint64_t parts = sizeof(T) / sizeof(Component<T>);
        return onWidestVectors([leftParts = componentsOf(left), rightParts = componentsOf(right), end = parts * count] {
            return equalFloatingRuns(leftParts, rightParts, end);
        });
    } else if constexpr (std::has_unique_object_representations_v<T>) {
        return count == 0 || std::memcmp(left, right, count * sizeof(T)) == 0;
    } else {
        return std::equal(left, left + count, right);
    }
}

}  // namespace Quorvane::Pyx::Internal
