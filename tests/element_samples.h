// What the tests of conversions and texts have in common.
#pragma once

#include <pyx/types/element_types.h>

#include <limits>
#include <locale>
#include <sstream>
#include <string>

namespace Quorvane::Pyx {

template <class T>
inline constexpr bool isRealElement = Internal::isNumericElement<T> && !Internal::isComplexElement<T>;

// The text that a real number is to convert to.
template <class T>
std::string textByStream(T value) {
    std::ostringstream stream;
    stream.precision(std::numeric_limits<T>::digits10);
    stream << std::boolalpha << value;
    const bool readsAsFloating = stream.str().find_first_of(".e") != std::string::npos;
    return stream.str() + (std::is_floating_point_v<T> && !readsAsFloating ? ".0" : "");
}

// Numbers as in 1.234.567,5
struct CommaPunctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

}  // namespace Quorvane::Pyx
