// Numbers of any element type, read as one type that all of them fit in.
#pragma once

#include <pyx/pyx.h>
#include <pyx/types/dispatch.h>

#include <complex>
#include <cstdint>
#include <string>
#include <utility>

// long double holds every number of the element types exactly, 64-bit integers included.
using Real = long double;
using Number = std::complex<Real>;

// The numbers of a numeric value, in storage order. Keeps the value alive.
class Numbers {
public:
    // Raises std::invalid_argument when the value is not numeric.
    explicit Numbers(Quorvane::Pyx::ZVariantAbi value);

    Number operator[](std::uint64_t position) const { return read_(elements_, position); }
    std::uint64_t size() const { return value_.elementCount(); }

private:
    Quorvane::Pyx::ZVariantAbi value_;
    const void* elements_ = nullptr;
    Number (*read_)(const void* elements, std::uint64_t position) = nullptr;
};

// A number with at most `digits` significant digits.
std::string toText(const Number& number, int digits);

// Integers in full, other numbers as short as four digits allow.
std::string toText(const Number& number);
