// What the tests of values and of their data have in common: elements of every type, and both value types.
#pragma once

#include "element_model.h"

#include <gmock/gmock.h>
#include <pyx/variant/IVariantDataRefCounted.h>
#include <pyx/variant/ZVariant.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// That a call raises an exception of this class with this text. A macro, so that a failure names its line.
#define EXPECT_RAISES(Error, text, ...) EXPECT_THAT([&] { (void)(__VA_ARGS__); }, testing::ThrowsMessage<Error>(text))

namespace Quorvane::Pyx {

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

using BothValues = testing::Types<ZVariant, ZVariantAbi>;

template <class T, class Value>
std::vector<T> elementsOf(const Value& value) {
    const auto range = value.template valueRange<T>();
    return std::vector<T>(range.begin(), range.end());
}

inline bool isUnique(const Internal::IVariantData* data) {
    return dynamic_cast<const Internal::IVariantDataRefCounted&>(*data).isUnique();
}

}  // namespace Quorvane::Pyx
