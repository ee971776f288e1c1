// What both array classes have in common.
#pragma once

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/IVariantDataRefCounted.h>

#include <cstdint>
#include <stdexcept>
#include <typeinfo>

namespace Quorvane::PYXCORE_PYX::Internal {

inline void requireDataLength(ArrayDimensionsView dimensions, std::uint64_t length) {
    if (dimensions.elementCount() != length) {
        throw std::length_error("dimensions do not match data length");
    }
}

// All that follows from the element type, and needs to know the storage only by the operations of IVariantData. Has no
// data of its own.
template <class T>
class ArrayVariantData : public IVariantDataRefCounted {
public:
    bool isScalarStorage() const final { return false; }
    WellKnownType wellKnownDataType() const final { return ElementOperations<T>::type; }
    const std::type_info* storedTypeInfo() const final { return &typeid(T); }
    CustomTypeOperations* customTypeOperations() const final { return ElementOperations<T>::customTypeOperations(); }

    IVariantData* reorderData(DataOrdering wanted) final {
        if (wanted == dataOrdering()) {
            copy();
            return this;
        }
        return ElementOperations<T>::reorder(*this, wanted);
    }

    IVariantData* reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted, DataOrdering ordering) final {
        return ElementOperations<T>::rebuild(source, wanted, ordering);
    }

    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) final {
        return ElementOperations<T>::convertArray(*this, target, mode);
    }
};

}  // namespace Quorvane::PYXCORE_PYX::Internal
