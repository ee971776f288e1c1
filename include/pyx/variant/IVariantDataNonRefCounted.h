// Data objects that somebody else keeps: in a value's inline buffer or in static storage.
#pragma once

#include <pyx/variant/IVariantData.h>

namespace Quorvane::PYXCORE_PYX::Internal {

// There is nothing to count: copy and destruct do nothing, and the holder of the memory ends the object.
class IVariantDataNonRefCounted : public IVariantData {
public:
    void copy() final {}
    void destruct() final {}
    IVariantData* makeUnique() final { return this; }
};

}  // namespace Quorvane::PYXCORE_PYX::Internal
