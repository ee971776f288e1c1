// The operations of elements whose type is known at run time only. All raise as dispatchElementType does.
#pragma once

#include <pyx/variant/IVariantData.h>

namespace Quorvane::Pyx::Internal {

// WellKnownElementOperations::reorder of the type.
IVariantData* reorderElementsOf(WellKnownType type, const IVariantData& source, DataOrdering wanted);

// WellKnownElementOperations::rebuild of the type.
IVariantData* rebuildElementsOf(WellKnownType type, const IVariantData* source, ArrayDimensionsView wanted,
                                DataOrdering ordering);

}  // namespace Quorvane::Pyx::Internal
