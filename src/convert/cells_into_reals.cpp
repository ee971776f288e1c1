// The conversions to real numbers.

#include "convert/conversion_cells.h"

namespace Quorvane::Pyx::Internal {

ConvertCell cellIntoReal(WellKnownType source, WellKnownType target) {
    return cellInto<ElementFamily::floating, ElementFamily::integer>(source, target);
}

}  // namespace Quorvane::Pyx::Internal
