// The body of reshapeToZVariant, compiled for the element types.

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/array_operations.h>

namespace Quorvane::Pyx::Internal {

template <class T>
IVariantData* WellKnownElementOperations<T>::rebuild(const IVariantData* source, ArrayDimensionsView wanted,
                                                     DataOrdering ordering) {
    return rebuildArray<T>(source, wanted, ordering);
}

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, elementType, portableName)                               \
    template IVariantData* WellKnownElementOperations<elementType>::rebuild(const IVariantData*, ArrayDimensionsView, \
                                                                            DataOrdering);
#include <pyx/types/element_types.def>

}  // namespace Quorvane::Pyx::Internal
