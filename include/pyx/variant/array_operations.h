// How arrays of any element type are reordered and rebuilt, element by element.
#pragma once

#include <pyx/indexing/index_walk.h>
#include <pyx/types/export.h>
#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/VectorVariantData.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <typeinfo>

namespace Quorvane::PYXCORE_PYX::Internal {

// How many of the allocated elements can be read: all of them, except of a view that shows more than its data have.
PYXCORE_API std::uint64_t numberReadableElements(const IVariantData& data);

// Whether the elements may be of type T. Data that do not tell the class behind customType are taken at their code.
template <class T>
bool mayStoreElements(const IVariantData& data) {
    if (data.wellKnownDataType() != ElementOperations<T>::type) {
        return false;
    }
    if constexpr (!isWellKnownElement<T>) {
        const std::type_info* const stored = data.storedTypeInfo();
        return stored == nullptr || *stored == typeid(T);
    }
    return true;
}

// Copies from storage in one ordering to storage in the other, in row-major order, as many elements as are allocated. A
// shape that hides elements makes the walk over a row-major source wrap, deliberately, so that later elements replace
// earlier ones; one that promises more than there are leaves the rest of the target alone; and where the element count
// of a shape has wrapped, only some index tuples have a place. No length may be 0.
template <class T>
void reorderByElement(const T* source, std::uint64_t allocated, DataOrdering ordering, ArrayDimensionsView dimensions,
                      T* target) {
    const std::uint64_t shown = dimensions.elementCount();
    if (ordering == DataOrdering::RowMajor) {
        forEachInRowMajorOrder(dimensions, allocated, [&](std::uint64_t i, std::uint64_t offset) {
            if (offset < shown) {
                target[offset] = source[i];
            }
        });
    } else {
        forEachInRowMajorOrder(dimensions, std::min(allocated, shown), [&](std::uint64_t i, std::uint64_t offset) {
            if (offset < allocated) {
                target[i] = source[offset];
            }
        });
    }
}

// Whether a source in this ordering has elements to reorder.
inline bool canReorder(DataOrdering ordering, std::uint64_t shown) {
    return shown != 0 && (ordering == DataOrdering::RowMajor || ordering == DataOrdering::ColumnMajor);
}

// The body of reshapeToZVariant.
template <class T>
IVariantData* rebuildArray(const IVariantData* source, ArrayDimensionsView wanted, DataOrdering ordering) {
    std::uint64_t available = 0;
    if (source != nullptr) {
        available = numberReadableElements(*source);
        if (available != 0 && !mayStoreElements<T>(*source)) {
            throw std::invalid_argument("Wrong data type.");
        }
    }
    auto result = VectorVariantData<T>::makeForOverwrite(wanted, ordering);
    const std::uint64_t total = result->numberAllocatedElements();
    const std::uint64_t copied = std::min(total, available);
    if (copied != 0) {
        copyElements(result->elements(), static_cast<const T*>(source->constStoredData()), copied);
    }
    if constexpr (std::is_trivially_copyable_v<T>) {
        std::fill(result->elements() + copied, result->elements() + total, T{});
    }
    return result.release();
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
