// Conversion of whole data objects, with both element types known at run time only.
#pragma once

#include <pyx/variant/IVariantData.h>

namespace Quorvane::Pyx::Internal {

// One stored element to a new counted scalar of the target type; null when it is refused. Raises as
// dispatchElementType does.
IVariantData* convertStoredScalar(WellKnownType source, const void* value, WellKnownType target, ConversionMode mode);

// What becomes of the array that a refused conversion has allocated.
enum class RefusedArray { released, kept };

// The elements of any data object to a new array of the same shape and ordering; null when they are refused. Raises as
// dispatchElementType does, for the target first.
IVariantData* convertStoredArray(const IVariantData& source, WellKnownType target, ConversionMode mode,
                                 RefusedArray refused = RefusedArray::released);

}  // namespace Quorvane::Pyx::Internal
