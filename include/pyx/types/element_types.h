// The element types as C++ sees them: the list of all of them, the code of each, and the few traits that decide how an
// element is moved about. Everything is derived from element_types.def.
#pragma once

#include <pyx/types/Complex.h>
#include <pyx/types/Duration.h>
#include <pyx/types/TimePoint.h>
#include <pyx/types/WellKnownType.h>

#include <complex>
#include <cstddef>
#include <string>
#include <type_traits>

namespace Quorvane::PYXCORE_PYX::Internal {

template <class... Ts>
struct TypeList {
    static constexpr std::size_t size = sizeof...(Ts);
};

// Lets the list be written with a comma in front of every row.
template <class Ignored, class... Ts>
TypeList<Ts...> listBehindFirst();

// All element types, in the order of instantiation.
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) , type
using ElementTypes = decltype(listBehindFirst<void
#include <pyx/types/element_types.def>
                                              >());

static_assert(ElementTypes::size == 25);

enum class ElementFamily { none, floating, integer, boolean, complex, complexBoolean, text, opaque };

// What is known of T by its row; for any other T: the code 0 and no family.
template <class T>
struct ElementTraits {
    static constexpr WellKnownTypeValue code = WellKnownTypeValue::unknown;
    static constexpr ElementFamily family = ElementFamily::none;
};

#define PYXCORE_ELEMENT_TYPE(name, enumerator, codeOfType, familyOfType, type, portableName) \
    template <>                                                                              \
    struct ElementTraits<type> {                                                             \
        static constexpr WellKnownTypeValue code = WellKnownTypeValue::enumerator;           \
        static constexpr ElementFamily family = ElementFamily::familyOfType;                 \
    };
#include <pyx/types/element_types.def>

template <class T>
inline constexpr bool isWellKnownElement = ElementTraits<T>::family != ElementFamily::none;

template <class T>
inline constexpr bool isNumericElement = WellKnownType(ElementTraits<T>::code).isNumeric();

template <class T>
inline constexpr bool isComplexElement = WellKnownType(ElementTraits<T>::code).isComplex();

// The type of one component: T itself for a real T.
template <class T>
struct ComponentOf {
    using type = T;
};
template <class T>
struct ComponentOf<Complex<T>> {
    using type = T;
};
template <class T>
struct ComponentOf<std::complex<T>> {
    using type = T;
};
template <class T>
using Component = typename ComponentOf<T>::type;

// The element type that holds a value of an integer type which is no element type itself: `long` is as wide as
// `long long` on LP64 systems, and only one of them has a row. Any other T gives itself.
template <class T, bool IsOtherInteger = std::is_integral_v<T> && sizeof(T) <= 8 && !isWellKnownElement<T>>
struct StoredElementOf {
    using type = T;
};
template <class T>
struct StoredElementOf<T, true> {
    template <class Byte, class Short, class Int, class Long>
    using BySize =
        std::conditional_t<sizeof(T) == 1, Byte,
                           std::conditional_t<sizeof(T) == 2, Short, std::conditional_t<sizeof(T) == 4, Int, Long>>>;
    using type = std::conditional_t<std::is_signed_v<T>, BySize<signed char, short, int, long long>,
                                    BySize<unsigned char, unsigned short, unsigned int, unsigned long long>>;
};
template <>
struct StoredElementOf<const char*, false> {
    using type = std::string;
};
template <class T>
using StoredElement = typename StoredElementOf<T>::type;

}  // namespace Quorvane::PYXCORE_PYX::Internal
