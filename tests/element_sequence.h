// All element types, and distinct elements of each, for tests that run over all of them.
#pragma once

#include <gtest/gtest.h>
#include <pyx/types/element_types.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Quorvane::Pyx {

inline constexpr WellKnownType elementTypes[] = {
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) WellKnownType::enumerator,
#include <pyx/types/element_types.def>
};

template <class List>
struct AsTestTypes;
template <class... Ts>
struct AsTestTypes<Internal::TypeList<Ts...>> {
    using type = testing::Types<Ts...>;
};
using AllElementTypes = AsTestTypes<Internal::ElementTypes>::type;

// Element number n; the first few differ from each other and from the default element as far as the type allows.
template <class T>
T nthElement(std::uint64_t n) {
    if constexpr (std::is_same_v<T, std::string>) {
        return n % 2 == 0 ? "text " + std::to_string(n) : "a text that needs a buffer of its own: " + std::to_string(n);
    } else if constexpr (std::is_same_v<T, bool>) {
        return n % 3 != 0;
    } else if constexpr (Internal::isComplexElement<T>) {
        using Part = Internal::Component<T>;
        return T(nthElement<Part>(n), nthElement<Part>(n + 1));
    } else if constexpr (Internal::isNumericElement<T>) {
        return static_cast<T>(n % 100 + 1);
    } else {
        return T(n + 1, n + 2);
    }
}

// As a plain array, since std::vector<bool> has none.
template <class T>
std::unique_ptr<T[]> sequence(std::uint64_t count) {
    auto elements = std::make_unique<T[]>(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        elements[i] = nthElement<T>(i);
    }
    return elements;
}

}  // namespace Quorvane::Pyx
