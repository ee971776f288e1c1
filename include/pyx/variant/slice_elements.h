// How the elements of a slice are copied out of an array's storage and into it.
#pragma once

#include <pyx/indexing/SliceWalk.h>
#include <pyx/variant/ElementOperations.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

// Copies `count` elements that stand toStep and fromStep apart. Here and below, target and source do not overlap.
template <class T>
void copySpacedElements(T* to, std::uint64_t toStep, const T* from, std::uint64_t fromStep, std::uint64_t count) {
    if (toStep == 1 && fromStep == 1) {
        copyElements(to, from, count);
        return;
    }
#pragma GCC unroll 4
    for (std::uint64_t i = 0; i < count; ++i) {
        copyElements(to + i * toStep, from + i * fromStep, 1);
    }
}

// The elements that the walk selects from `source`, one after the other.
template <class T>
void gatherElements(const void* source, const SliceWalk& walk, void* target) {
    const T* const from = static_cast<const T*>(source);
    T* to = static_cast<T*>(target);
    walk.forEachRun([&](const PositionRun& run) {
        copySpacedElements(to, 1, from + run.first, run.step, run.count);
        to += run.count;
    });
}

// Puts the elements at `source` one after the other to what the walk selects from `target`.
template <class T>
void scatterElements(const void* source, const SliceWalk& walk, void* target) {
    const T* from = static_cast<const T*>(source);
    T* const to = static_cast<T*>(target);
    walk.forEachRun([&](const PositionRun& run) {
        copySpacedElements(to + run.first, run.step, from, 1, run.count);
        from += run.count;
    });
}

// Puts the one element at `source` to all that the walk selects from `target`.
template <class T>
void spreadElement(const void* source, const SliceWalk& walk, void* target) {
    const T* const element = static_cast<const T*>(source);
    T* const to = static_cast<T*>(target);
    walk.forEachRun(
        [&](const PositionRun& run) { copySpacedElements(to + run.first, run.step, element, 0, run.count); });
}

// What a slice needs to know of its elements.
struct SliceOperations {
    using CopyElements = void (*)(const void* source, const SliceWalk& walk, void* target);
    CopyElements gather;
    CopyElements scatter;
    CopyElements spread;
    std::size_t elementSize;
};

// Plain elements of one size are all the same to a slice, and are moved as bytes.
template <std::size_t size>
struct PlainElement {
    unsigned char bytes[size];
};

template <class T>
constexpr SliceOperations sliceOperationsOf() {
    using Moved = std::conditional_t<std::is_trivially_copyable_v<T>, PlainElement<sizeof(T)>, T>;
    return {&gatherElements<Moved>, &scatterElements<Moved>, &spreadElement<Moved>, sizeof(T)};
}

// Whether a storage of `allocated` elements holds all of the shape.
inline bool holdsShape(std::uint64_t allocated, ArrayDimensionsView dimensions) {
    // By division, since the product may wrap.
    for (const std::uint64_t length : dimensions) {
        if (length == 0) {
            return true;
        }
        allocated /= length;
    }
    return allocated != 0;
}

}  // namespace Quorvane::Pyx::Internal
