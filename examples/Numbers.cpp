#include "Numbers.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

using namespace Quorvane::Pyx;

namespace {

template <class T>
Number toNumber(const T& real) {
    return static_cast<Real>(real);
}
template <class T>
Number toNumber(const std::complex<T>& number) {
    return Number(number.real(), number.imag());
}
template <class T>
Number toNumber(const Complex<T>& number) {
    return Number(static_cast<Real>(number.real), static_cast<Real>(number.imaginary));
}

std::string format(const char* form, int digits, Real number) {
    char text[64];
    std::snprintf(text, sizeof(text), form, digits, number);
    return text;
}

}  // namespace

Numbers::Numbers(ZVariantAbi value) : value_(std::move(value)) {
    Internal::dispatchElementType(value_.wellKnownDataType(), [this](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (Internal::isNumericElement<T>) {
            elements_ = value_.data<T>();
            read_ = [](const void* elements, std::uint64_t position) {
                return toNumber(static_cast<const T*>(elements)[position]);
            };
        } else {
            throw std::invalid_argument("The value holds no numbers.");
        }
    });
}

std::string toText(const Number& number, int digits) {
    const std::string real = format("%.*Lg", digits, number.real());
    return number.imag() == 0 ? real : real + format("%+.*Lgi", digits, number.imag());
}

std::string toText(const Number& number) {
    const auto isInteger = [](Real part) { return std::trunc(part) == part && std::abs(part) < 0x1p64L; };
    return toText(number, isInteger(number.real()) && isInteger(number.imag()) ? 20 : 4);
}
