// The body of reorderData for arrays.

#include "convert/transpose.h"

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/array_operations.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace Quorvane::Pyx::Internal {

namespace {

// How elements are moved about: any byte may be a bool that came from outside.
template <class T>
using Moved = std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>;

bool elementCountWraps(ArrayDimensionsView dimensions) {
    std::uint64_t count = 1;
    for (const std::uint64_t length : dimensions) {
        if (count > std::numeric_limits<std::uint64_t>::max() / length) {
            return true;
        }
        count *= length;
    }
    return false;
}

// No length may be 0.
template <class T>
void reorderElements(const T* source, std::uint64_t allocated, DataOrdering ordering, ArrayDimensionsView dimensions,
                     T* target) {
    const std::uint64_t shown = dimensions.elementCount();
    if constexpr (std::is_trivially_copyable_v<T>) {
        if (allocated >= shown && !elementCountWraps(dimensions)) {
            std::vector<std::uint64_t> lengths = dimensions.toVector();
            if (ordering == DataOrdering::ColumnMajor) {
                std::reverse(lengths.begin(), lengths.end());
                transpose(source, target, lengths);
                return;
            }
            // Of the walk that wraps, only the last whole lap and what follows it can be seen.
            const std::uint64_t seen = allocated % shown;
            transpose(source + (allocated - seen - shown), target, lengths);
            reorderByElement(source + (allocated - seen), seen, ordering, dimensions, target);
            return;
        }
    }
    reorderByElement(source, allocated, ordering, dimensions, target);
}

}  // namespace

template <class T>
IVariantData* WellKnownElementOperations<T>::reorder(const IVariantData& source, DataOrdering wanted) {
    const ArrayDimensionsView dimensions = source.dimensions();
    const DataOrdering ordering = source.dataOrdering();
    const std::uint64_t allocated = source.numberAllocatedElements();
    auto result = VectorVariantData<T>::makeForOverwrite(dimensions, wanted);
    const std::uint64_t shown = result->numberAllocatedElements();
    const bool reorders = canReorder(ordering, shown);
    if (!reorders || allocated < shown || elementCountWraps(dimensions)) {
        std::fill_n(result->elements(), shown, T{});
    }
    if (reorders) {
        reorderElements(static_cast<const Moved<T>*>(source.constStoredData()), allocated, ordering, dimensions,
                        reinterpret_cast<Moved<T>*>(result->elements()));
    }
    return result.release();
}

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, elementType, portableName) \
    template IVariantData* WellKnownElementOperations<elementType>::reorder(const IVariantData&, DataOrdering);
#include <pyx/types/element_types.def>

}  // namespace Quorvane::Pyx::Internal
