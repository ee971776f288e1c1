// The two value types that clients hold.
#pragma once

#include <pyx/variant/ZVariantDataSharable.h>
#include <pyx/variant/ZVariantDirectStorage.h>
#include <pyx/variant/ZVariantGeneric.h>

namespace Quorvane::PYXCORE_PYX {

// For clients built with the compiler and the standard library of the library: scalars stay inline, without an
// allocation.
using ZVariant = ZVariantGeneric<Internal::ZVariantDirectStorage>;

// For clients built with any compiler: one pointer wide, everything goes through the flat C interface.
using ZVariantAbi = ZVariantGeneric<Internal::ZVariantDataSharable>;

static_assert(sizeof(ZVariantAbi) == sizeof(void*));

}  // namespace Quorvane::PYXCORE_PYX
