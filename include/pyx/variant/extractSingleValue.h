// The one element of a value that may be stored in another type or as an array of one.
#pragma once

#include <pyx/types/element_types.h>
#include <pyx/variant/ZVariantGeneric.h>

#include <algorithm>
#include <optional>

namespace Quorvane::PYXCORE_PYX {

// Nothing for a null, for a value with another number of elements than one, and for one that a cast does not bring to
// T.
template <class T, class Storage>
std::optional<T> extractSingleValue(const ZVariantGeneric<Storage>& value) {
    using Element = Internal::StoredElement<T>;
    static_assert(Internal::isWellKnownElement<Element>, "Read elements of a class of your own with elementAt.");
    const ArrayDimensionsView dimensions = value.dimensions();
    const bool single = !dimensions.empty() && std::all_of(dimensions.begin(), dimensions.end(),
                                                           [](std::uint64_t length) { return length == 1; });
    if (value.isNull() || !single) {
        return std::nullopt;
    }
    const ZVariantGeneric<Storage> converted = value.convertTo(Internal::ElementTraits<Element>::code);
    if (converted.isNull()) {
        return std::nullopt;
    }
    return converted.template as<T>();
}

}  // namespace Quorvane::PYXCORE_PYX
