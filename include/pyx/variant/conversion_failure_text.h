// What is said of conversions and views that are refused.
#pragma once

#include <pyx/types/portable_type_names.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Quorvane::PYXCORE_PYX::Internal {

// "Cannot convert ..." with the names of the value type and of both element types, and the number of elements. Raises
// std::runtime_error "unknown type" or "not a numeric type" instead when the source has no portable name.
inline std::string conversionFailureText(CtTypeName valueType, WellKnownType source, std::uint64_t elementCount,
                                         CtTypeName target) {
    return "Cannot convert " + normalizeTypeName(valueType) + " of type '" +
           normalizeTypeName(typeNameOfWellKnownType(source)) + "' (size: " + std::to_string(elementCount) + ") to '" +
           normalizeTypeName(target) + "'";
}

// What a view over elements that are no numbers, or its conversion to such, is refused with. Deliberately says
// "complex" also where the view is of real numbers.
inline void requireNumericView(WellKnownType type) {
    if (!type.isNumeric()) {
        throw std::runtime_error("Can not convert non-numeric data type to complex numeric type");
    }
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
