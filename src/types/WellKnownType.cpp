#include <pyx/types/WellKnownType.h>

#include <algorithm>
#include <iterator>

namespace Quorvane::Pyx {

namespace {

using Internal::WellKnownTypeValue;

// The real types, in ascending order of rank: each unsigned integer between the signed one of its width and the next
// wider one, every floating type above all integers.
constexpr WellKnownTypeValue ranking[] = {
    WellKnownTypeValue::bool_,         WellKnownTypeValue::int8,          WellKnownTypeValue::unsignedInt8,
    WellKnownTypeValue::int16,         WellKnownTypeValue::unsignedInt16, WellKnownTypeValue::int32,
    WellKnownTypeValue::unsignedInt32, WellKnownTypeValue::int64,         WellKnownTypeValue::unsignedInt64,
    WellKnownTypeValue::float_,        WellKnownTypeValue::double_,
};

// The type that holds an unsigned one and negative numbers too.
struct Promotion {
    WellKnownTypeValue from;
    WellKnownTypeValue to;
};
constexpr Promotion promotions[] = {
    {WellKnownTypeValue::bool_, WellKnownTypeValue::int8},
    {WellKnownTypeValue::unsignedInt8, WellKnownTypeValue::int16},
    {WellKnownTypeValue::unsignedInt16, WellKnownTypeValue::int32},
    {WellKnownTypeValue::unsignedInt32, WellKnownTypeValue::int64},
    {WellKnownTypeValue::unsignedInt64, WellKnownTypeValue::double_},
};

// Deliberately 0, the rank of bool, for a code outside the catalogue.
std::ptrdiff_t rankOf(WellKnownType real) {
    const auto* const found = std::find(std::begin(ranking), std::end(ranking), real.value());
    return found == std::end(ranking) ? 0 : found - std::begin(ranking);
}

// Deliberately unknown for a code outside the catalogue.
WellKnownType promoted(WellKnownType real) {
    const auto* const found = std::find_if(std::begin(promotions), std::end(promotions),
                                           [&](const Promotion& promotion) { return promotion.from == real.value(); });
    return found == std::end(promotions) ? WellKnownType::unknown : WellKnownType(found->to);
}

}  // namespace

WellKnownType WellKnownType::getCommonWellKnownType(WellKnownType a, WellKnownType b) {
    if (a == b) {
        return a;
    }
    if (a == unknown) {
        return b;
    }
    if (b == unknown) {
        return a;
    }
    if (!a.isNumeric() || !b.isNumeric()) {
        return unknown;
    }
    const WellKnownType realA = a.componentType();
    const WellKnownType realB = b.componentType();
    WellKnownType common = rankOf(realA) > rankOf(realB) ? realA : realB;
    if (common.isUnsigned() && !(a.isUnsigned() && b.isUnsigned())) {
        common = promoted(common);
    }
    return a.isComplex() || b.isComplex() ? common.complexType() : common;
}

std::string_view WellKnownType::toString() const {
    return Internal::nameOfType(value_);
}

Internal::WellKnownTypeValue WellKnownType::parseValueString(std::string_view text) {
    return Internal::typeOfName(text);
}

}  // namespace Quorvane::Pyx
