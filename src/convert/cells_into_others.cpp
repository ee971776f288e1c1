// The conversions to texts, durations and time points.

#include "convert/conversion_cells.h"

namespace Quorvane::Pyx::Internal {

ConvertCell cellIntoOther(WellKnownType source, WellKnownType target) {
    return cellInto<ElementFamily::text, ElementFamily::opaque>(source, target);
}

}  // namespace Quorvane::Pyx::Internal
