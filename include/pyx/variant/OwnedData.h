// The handle that holds a reference on a data object for a while.
#pragma once

#include <pyx/variant/IVariantData.h>

#include <memory>

namespace Quorvane::PYXCORE_PYX::Internal {

struct ReleaseReference {
    void operator()(IVariantData* data) const { data->destruct(); }
};

// Gives its reference up at the end; release() hands it to somebody else.
template <class Data = IVariantData>
using OwnedData = std::unique_ptr<Data, ReleaseReference>;

}  // namespace Quorvane::PYXCORE_PYX::Internal
