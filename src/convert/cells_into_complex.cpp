// The conversions to complex numbers.

#include "convert/conversion_cells.h"

namespace Quorvane::Pyx::Internal {

ConvertCell cellIntoComplex(WellKnownType source, WellKnownType target) {
    return cellInto<ElementFamily::complex>(source, target);
}

}  // namespace Quorvane::Pyx::Internal
