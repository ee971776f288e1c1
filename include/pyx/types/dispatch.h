// The one road from a run-time type code to code that knows the element type.
#pragma once

#include <pyx/types/element_types.h>

#include <stdexcept>
#include <utility>

namespace Quorvane::PYXCORE_PYX::Internal {

// Names an element type as a function argument.
template <class T>
struct ElementTag {
    using type = T;
};

// Calls visitor(ElementTag<T>{}) for the element type T of the code and returns what it returns; the result type must
// be the same for all T. Raises std::runtime_error with "not a numeric type" for a code with a numeric kind that is
// none of the element types, and with "unknown type" for any other code, customType and unknown among them.
template <class Visitor>
decltype(auto) dispatchElementType(WellKnownType type, Visitor&& visitor) {
    switch (type.value()) {
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, elementType, portableName) \
    case WellKnownTypeValue::enumerator:                                                \
        return std::forward<Visitor>(visitor)(ElementTag<elementType>{});
#include <pyx/types/element_types.def>
        case WellKnownTypeValue::customType:
        case WellKnownTypeValue::unknown:
            break;
    }
    throw std::runtime_error(type.isNumeric() ? "not a numeric type" : "unknown type");
}

// Raises as dispatchElementType does when the code has no element type.
inline void requireElementType(WellKnownType type) {
    dispatchElementType(type, [](auto) {});
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
