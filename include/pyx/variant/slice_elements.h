// How the elements of a slice are copied out of an array's storage and into it.
#pragma once

#include <pyx/indexing/SliceWalk.h>
#include <pyx/variant/ElementOperations.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace Quorvane::PYXCORE_PYX::Internal {

// Calls copy(to, from) for `count` elements that stand toStep and fromStep apart. Here and below, target and source do
// not overlap.
template <class T, class From, class Copy>
void forEachPair(T* to, std::uint64_t toStep, From* from, std::uint64_t fromStep, std::uint64_t count, Copy copy) {
#pragma GCC unroll 4
    for (std::uint64_t i = 0; i < count; ++i) {
        copy(to[i * toStep], from[i * fromStep]);
    }
}

template <class T>
void copyElement(T& to, const T& from) {
    copyElements(std::addressof(to), std::addressof(from), 1);
}

// The elements that the walk selects from `source`, one after the other.
template <class T>
void gatherElements(const void* source, const SliceWalk& walk, void* target) {
    const T* const from = static_cast<const T*>(source);
    T* to = static_cast<T*>(target);
    walk.forEachRun([&](const PositionRun& run) {
        if (run.step == 1) {
            copyElements(to, from + run.first, run.count);
        } else {
            forEachPair(to, 1, from + run.first, run.step, run.count, copyElement<T>);
        }
        to += run.count;
    });
}

// Puts the elements at `source` one after the other to what the walk selects from `target`. Elements that are no plain
// memory are moved there, which fails half-way only for a class whose move may raise.
template <class T>
void scatterElements(void* source, const SliceWalk& walk, void* target) {
    T* from = static_cast<T*>(source);
    T* const to = static_cast<T*>(target);
    walk.forEachRun([&](const PositionRun& run) {
        if constexpr (!std::is_trivially_copyable_v<T>) {
            forEachPair(to + run.first, run.step, from, 1, run.count, [](T& put, T& taken) { put = std::move(taken); });
        } else if (run.step == 1) {
            copyElements(to + run.first, from, run.count);
        } else {
            forEachPair(to + run.first, run.step, from, 1, run.count, copyElement<T>);
        }
        from += run.count;
    });
}

// Puts the one element at `source` to all that the walk selects from `target`.
template <class T>
void spreadElement(const void* source, const SliceWalk& walk, void* target) {
    const T* const element = static_cast<const T*>(source);
    T* const to = static_cast<T*>(target);
    walk.forEachRun(
        [&](const PositionRun& run) { forEachPair(to + run.first, run.step, element, 0, run.count, copyElement<T>); });
}

// What a slice needs to know of its elements.
struct SliceOperations {
    void (*gather)(const void* source, const SliceWalk& walk, void* target);
    void (*scatter)(void* source, const SliceWalk& walk, void* target);
    void (*spread)(const void* source, const SliceWalk& walk, void* target);
    // Whether elements are copied as bytes, which cannot fail.
    bool arePlain;
    // Whether scatter cannot fail. False in modules that were built with headers before 1.2, which do not tell.
    bool scatterCannotFail;
    // In bytes.
    std::size_t elementSize;
};

// Records of such operations cross modules, and the size stands where it stood before.
static_assert(offsetof(SliceOperations, elementSize) == 32);

// Plain elements of one size are all the same to a slice, and are moved as bytes.
template <std::size_t size>
struct PlainElement {
    unsigned char bytes[size];
};

template <class T>
constexpr SliceOperations sliceOperationsOf() {
    using Moved = std::conditional_t<std::is_trivially_copyable_v<T>, PlainElement<sizeof(T)>, T>;
    return {&gatherElements<Moved>,
            &scatterElements<Moved>,
            &spreadElement<Moved>,
            std::is_trivially_copyable_v<T>,
            std::is_nothrow_move_assignable_v<T>,
            sizeof(T)};
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

}  // namespace Quorvane::PYXCORE_PYX::Internal
