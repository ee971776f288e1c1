// Finds and compiles the cells into a group of target types.
#pragma once

#include "convert/conversion_matrix.h"

#include <pyx/types/dispatch.h>

namespace Quorvane::Pyx::Internal {

template <ElementFamily... families>
ConvertCell cellInto(WellKnownType source, WellKnownType target) {
    return dispatchElementType(target, [source](auto targetTag) -> ConvertCell {
        using T = typename decltype(targetTag)::type;
        if constexpr (((ElementTraits<T>::family == families) || ...)) {
            return dispatchElementType(source, [](auto sourceTag) -> ConvertCell {
                using S = typename decltype(sourceTag)::type;
                return [](const void* from, void* to, std::uint64_t count, ConversionMode mode) {
                    return convertElements(static_cast<const S*>(from), static_cast<T*>(to), count, mode);
                };
            });
        } else {
            return nullptr;
        }
    });
}

}  // namespace Quorvane::Pyx::Internal
