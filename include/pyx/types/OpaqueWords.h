// The shape that Duration and TimePoint share.
#pragma once

#include <pyx/types/export.h>

#include <cstdint>

namespace Quorvane::PYXCORE_PYX::Internal {

// Two 64-bit words whose meaning belongs to the clients that fill them. The library copies the sixteen bytes and tests
// them for equality and for zero, which is the default value. Derived tells the value classes apart: they do not
// compare with each other.
template <class Derived>
struct OpaqueWords {
    std::uint64_t firstWord = 0;
    std::uint64_t secondWord = 0;

    constexpr OpaqueWords() noexcept = default;
    constexpr OpaqueWords(std::uint64_t first, std::uint64_t second) noexcept : firstWord(first), secondWord(second) {}

    constexpr bool isZero() const noexcept { return firstWord == 0 && secondWord == 0; }

    friend constexpr bool operator==(const Derived& left, const Derived& right) noexcept {
        return left.firstWord == right.firstWord && left.secondWord == right.secondWord;
    }
    friend constexpr bool operator!=(const Derived& left, const Derived& right) noexcept { return !(left == right); }
};

}  // namespace Quorvane::PYXCORE_PYX::Internal
