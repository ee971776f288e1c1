// The scalars that the factories build in a value's inline buffer.
#pragma once

#include <pyx/variant/ScalarVariantData.h>

#include <new>
#include <utility>

namespace Quorvane::Pyx::Internal {

// Adds nothing for clients of today. Clients that were built with the headers of 1.0 and 1.1 copy and move an inline
// scalar by two operations behind those of IVariantData, and find them here until the next major version.
template <class T>
class InlineScalar final : public ScalarVariantDataNonCounted<T> {
public:
    using ScalarVariantDataNonCounted<T>::ScalarVariantDataNonCounted;

    // Builds a copy in another buffer, which must have room for it.
    virtual IVariantData* copyTo(void* buffer) const { return new (buffer) InlineScalar(this->value); }

    // The same, and ends this object.
    virtual IVariantData* relocateTo(void* buffer) noexcept {
        IVariantData* const moved = new (buffer) InlineScalar(std::move(this->value));
        this->~InlineScalar();
        return moved;
    }
};

}  // namespace Quorvane::Pyx::Internal
