// What the tests of values and of their data have in common.
#pragma once

#include "element_sequence.h"

#include <gmock/gmock.h>
#include <pyx/variant/IVariantDataRefCounted.h>
#include <pyx/variant/ZVariant.h>

#include <cstdint>
#include <vector>

// That a call raises an exception of this class with this text. A macro, so that a failure names its line.
#define EXPECT_RAISES(Error, text, ...) EXPECT_THAT([&] { (void)(__VA_ARGS__); }, testing::ThrowsMessage<Error>(text))

namespace Quorvane::Pyx {

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
