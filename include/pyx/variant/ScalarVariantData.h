// One element as a data object: on the heap and counted, or in place in memory that somebody else keeps.
#pragma once

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/IVariantDataNonRefCounted.h>
#include <pyx/variant/IVariantDataRefCounted.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Quorvane::Pyx::Internal {

inline constexpr std::uint64_t scalarDimensions[1] = {1};

// All that does not depend on the ownership family, which Base decides.
template <class T, class Base>
class ScalarVariantData : public Base {
public:
    explicit ScalarVariantData(const T& value) { copyElements(&value_, &value, 1); }
    explicit ScalarVariantData(T&& value) : ScalarVariantData(std::move(value), std::is_trivially_copyable<T>()) {}

    std::uint64_t numberAllocatedElements() const final { return 1; }
    ArrayDimensionsView dimensions() const final { return {scalarDimensions, 1}; }
    bool isScalarStorage() const final { return true; }
    DataOrdering dataOrdering() const final { return DataOrdering::RowMajor; }
    WellKnownType wellKnownDataType() const final { return ElementOperations<T>::type; }
    const std::type_info* storedTypeInfo() const final { return &typeid(T); }
    CustomTypeOperations* customTypeOperations() const final { return ElementOperations<T>::customTypeOperations(); }

    // A scalar has no ordering to change.
    IVariantData* reorderData(DataOrdering) final {
        this->copy();
        return this;
    }

    void reshapeNoRealloc(ArrayDimensionsView wanted) final {
        if (wanted != dimensions()) {
            throw std::invalid_argument(
                "Cannot reshape a scalar ZVariant to different dimensions without reallocating.");
        }
    }

    IVariantData* reshapeToZVariant(const IVariantData* source, ArrayDimensionsView wanted,
                                    DataOrdering ordering) final {
        return ElementOperations<T>::rebuild(source, wanted, ordering);
    }

    const void* constStoredData() const final { return &value_; }
    void* mutableStoredData() final { return &value_; }

    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) final {
        return ElementOperations<T>::convertScalar(value_, target, mode);
    }

protected:
    const T& value() const { return value_; }
    T& value() { return value_; }

private:
    ScalarVariantData(T&& value, std::true_type) : ScalarVariantData(std::as_const(value)) {}
    ScalarVariantData(T&& value, std::false_type) : value_(std::move(value)) {}

    T value_{};
};

template <class T>
class ScalarVariantDataRefCounted final : public ScalarVariantData<T, IVariantDataRefCounted> {
public:
    using ScalarVariantData<T, IVariantDataRefCounted>::ScalarVariantData;

    IVariantData* duplicate() const override { return new ScalarVariantDataRefCounted(this->value()); }
};

// A scalar in a value's inline buffer, as the value knows it.
class InlineScalarData : public IVariantDataNonRefCounted {
public:
    // Builds a copy in another buffer, which must have room for it, and returns it.
    virtual IVariantData* copyTo(void* buffer) const = 0;

    // The same, and ends this object.
    virtual IVariantData* relocateTo(void* buffer) noexcept = 0;
};

// Lives in a value's inline buffer; its holder ends it by the destructor alone.
template <class T>
class ScalarVariantDataNonCounted final : public ScalarVariantData<T, InlineScalarData> {
public:
    using ScalarVariantData<T, InlineScalarData>::ScalarVariantData;

    IVariantData* copyTo(void* buffer) const override {
        return new (buffer) ScalarVariantDataNonCounted(this->value());
    }

    IVariantData* relocateTo(void* buffer) noexcept override {
        IVariantData* const moved = new (buffer) ScalarVariantDataNonCounted(std::move(this->value()));
        this->~ScalarVariantDataNonCounted();
        return moved;
    }
};

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    extern template class ScalarVariantDataRefCounted<type>;                     \
    extern template class ScalarVariantDataNonCounted<type>;
#include <pyx/types/element_types.def>

}  // namespace Quorvane::Pyx::Internal
