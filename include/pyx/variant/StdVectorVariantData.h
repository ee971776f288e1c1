// An array that adopts a client's std::vector, so that large data are taken over without a copy.
#pragma once

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/IVariantDataRefCounted.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX::Internal {

// The shape may outgrow the elements, into the spare capacity of the vector: readers must look at
// numberAllocatedElements too.
template <class T>
class StdVectorVariantData final : public IVariantDataRefCounted {
    static_assert(!std::is_same_v<T, bool>, "std::vector<bool> has no bool elements in memory: copy them instead.");

public:
    // Adopts the vector. Its size decides the shape when the dimensions are empty or hold a 0; otherwise it must be
    // their product, or std::length_error "dimensions do not match data length" is raised.
    StdVectorVariantData(std::vector<T>&& adopted, ArrayDimensionsView shape, DataOrdering storageOrdering)
        : elements(std::move(adopted)), dimensions_(shape.begin(), shape.end()), ordering(storageOrdering) {
        const std::uint64_t count = shape.elementCount();
        if (count != 0) {
            requireDataLength(shape, elements.size());
        } else if (!elements.empty()) {
            dimensions_.assign(1, elements.size());
        }
    }

    std::uint64_t numberAllocatedElements() const override { return elements.size(); }
    ArrayDimensionsView dimensions() const override { return dimensions_; }
    DataOrdering dataOrdering() const override { return ordering; }
    bool isScalarStorage() const override { return false; }
    WellKnownType wellKnownDataType() const override { return ElementOperations<T>::type; }
    const std::type_info* storedTypeInfo() const override { return &typeid(T); }
    CustomTypeOperations* customTypeOperations() const override { return ElementOperations<T>::customTypeOperations(); }

    IVariantData* reorderData(DataOrdering wanted) override { return reorderArray<T>(*this, wanted); }

    void reshapeNoRealloc(ArrayDimensionsView wanted) override {
        if (wanted == dimensions()) {
            return;
        }
        requireOneReference();
        // Deliberately the capacity and not the size: a client may adopt a vector with spare room and fill it later.
        if (wanted.elementCount() > elements.capacity()) {
            throwDoesNotFit();
        }
        dimensions_ = wanted.toVector();
    }

    IVariantData* reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted,
                                    DataOrdering wantedOrdering) override {
        return ElementOperations<T>::rebuild(source, wanted, wantedOrdering);
    }

    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) override {
        return ElementOperations<T>::convertArray(*this, target, mode);
    }

    const void* constStoredData() const override { return elements.data(); }
    void* mutableStoredData() override { return elements.data(); }

    IVariantData* duplicate() const override { return new StdVectorVariantData(*this); }

private:
    StdVectorVariantData(const StdVectorVariantData& other) : dimensions_(other.dimensions_), ordering(other.ordering) {
        // The copy keeps the room that the shape counts on.
        elements.reserve(std::max<std::uint64_t>(other.elements.size(), other.dimensions().elementCount()));
        elements.assign(other.elements.begin(), other.elements.end());
    }

    std::vector<T> elements;
    std::vector<std::uint64_t> dimensions_;
    const DataOrdering ordering;
};

#define PYXCORE_ADOPTABLE_TYPE(type) extern template class StdVectorVariantData<type>;
#include <pyx/types/adoptable_types.def>

}  // namespace Quorvane::PYXCORE_PYX::Internal
