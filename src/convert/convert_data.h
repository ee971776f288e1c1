// Conversion of whole data objects, with both element types known at run time only.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/variant/IVariantData.h>

#include <cstdint>

namespace Quorvane::Pyx::Internal {

// One stored element to a new counted scalar of the target type; null when it is refused. Raises as
// dispatchElementType does.
IVariantData* convertStoredScalar(WellKnownType source, const void* value, WellKnownType target, ConversionMode mode);

// What becomes of the array that a refused conversion has allocated.
enum class RefusedArray { released, kept };

// The elements of an array in anybody's memory, borrowed.
struct StoredArray {
    WellKnownType type;
    const void* elements;
    std::uint64_t numberAllocatedElements;
    ArrayDimensionsView dimensions;
    DataOrdering ordering;
};

// The elements to a new array of the same shape and ordering; null when they are refused. Elements that the shape
// promises and the memory does not have are defaults and become defaults. Raises as dispatchElementType does, for the
// target first.
IVariantData* convertStoredArray(const StoredArray& source, WellKnownType target, ConversionMode mode,
                                 RefusedArray refused = RefusedArray::released);

}  // namespace Quorvane::Pyx::Internal
