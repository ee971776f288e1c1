// The body of reshapeToZVariant.

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/VectorVariantData.h>

#include <algorithm>
#include <stdexcept>

namespace Quorvane::Pyx::Internal {

template <class T>
IVariantData* ElementOperations<T>::rebuild(const IVariantData* source, ArrayDimensionsView wanted,
                                            DataOrdering ordering) {
    const std::uint64_t available = source == nullptr ? 0 : source->numberAllocatedElements();
    if (available != 0 && source->wellKnownDataType() != type) {
        throw std::invalid_argument("Wrong data type.");
    }
    auto result = VectorVariantData<T>::makeForOverwrite(wanted, ordering);
    const std::uint64_t total = result->numberAllocatedElements();
    const std::uint64_t copied = std::min(total, available);
    if (copied != 0) {
        copyElements(result->elements(), static_cast<const T*>(source->constStoredData()), copied);
    }
    std::fill(result->elements() + copied, result->elements() + total, T{});
    return result.release();
}

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, elementType, portableName)                      \
    template IVariantData* ElementOperations<elementType>::rebuild(const IVariantData*, ArrayDimensionsView, \
                                                                   DataOrdering);
#include <pyx/types/element_types.def>

}  // namespace Quorvane::Pyx::Internal
