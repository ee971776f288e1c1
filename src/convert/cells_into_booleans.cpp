// The conversions to bool and complexBool.

#include "convert/conversion_cells.h"

namespace Quorvane::Pyx::Internal {

ConvertCell cellIntoBoolean(WellKnownType source, WellKnownType target) {
    return cellInto<ElementFamily::boolean, ElementFamily::complexBoolean>(source, target);
}

}  // namespace Quorvane::Pyx::Internal
