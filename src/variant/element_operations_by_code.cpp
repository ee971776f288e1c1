#include "variant/element_operations_by_code.h"

#include <pyx/types/dispatch.h>
#include <pyx/variant/ElementOperations.h>

namespace Quorvane::Pyx::Internal {

IVariantData* reorderElementsOf(WellKnownType type, const IVariantData& source, DataOrdering wanted) {
    return dispatchElementType(type, [&](auto tag) {
        return WellKnownElementOperations<typename decltype(tag)::type>::reorder(source, wanted);
    });
}

IVariantData* rebuildElementsOf(WellKnownType type, const IVariantData* source, ArrayDimensionsView wanted,
                                DataOrdering ordering) {
    return dispatchElementType(type, [&](auto tag) {
        return WellKnownElementOperations<typename decltype(tag)::type>::rebuild(source, wanted, ordering);
    });
}

}  // namespace Quorvane::Pyx::Internal
