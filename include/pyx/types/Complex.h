// Complex numbers over the real types that std::complex does not serve: the integers and bool.
#pragma once

#include <pyx/types/export.h>

#include <type_traits>

namespace Quorvane::PYXCORE_PYX {

// Real part, then imaginary part, and nothing else: an array of n of them is an array of 2n components. The library
// stores, copies, compares and converts such values and does no arithmetic on them. The second parameter is always
// void. For float and double use std::complex, which has the same layout.
template <class T, class = void>
struct PYXCORE_API Complex {
    static_assert(std::is_integral_v<T>, "Use std::complex for floating components.");

    T real{};
    T imaginary{};

    constexpr Complex() noexcept = default;
    // Implicit, as for std::complex: a real value is a complex one with no imaginary part.
    constexpr Complex(T realPart, T imaginaryPart = T{}) noexcept : real(realPart), imaginary(imaginaryPart) {}

    friend constexpr bool operator==(const Complex& left, const Complex& right) noexcept {
        return left.real == right.real && left.imaginary == right.imaginary;
    }
    friend constexpr bool operator!=(const Complex& left, const Complex& right) noexcept { return !(left == right); }
};

static_assert(sizeof(Complex<bool>) == 2 && sizeof(Complex<long long>) == 16);
static_assert(std::is_trivially_copyable_v<Complex<bool>> && std::is_standard_layout_v<Complex<bool>>);

}  // namespace Quorvane::PYXCORE_PYX
