// One element as a data object: on the heap and counted, or in place in memory that somebody else keeps.
#pragma once

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/IVariantDataNonRefCounted.h>
#include <pyx/variant/IVariantDataRefCounted.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Quorvane::PYXCORE_PYX::Internal {

inline constexpr std::uint64_t scalarDimensions[1] = {1};

// All that does not depend on the ownership family, which Base decides.
template <class T, class Base>
class ScalarVariantData : public Base {
public:
    explicit ScalarVariantData(const T& element) { copyElements(std::addressof(value), std::addressof(element), 1); }
    explicit ScalarVariantData(T&& element) : ScalarVariantData(std::move(element), std::is_trivially_copyable<T>()) {}

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

    IVariantData* reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted, DataOrdering ordering) final {
        return ElementOperations<T>::rebuild(source, wanted, ordering);
    }

    const void* constStoredData() const final { return std::addressof(value); }
    void* mutableStoredData() final { return std::addressof(value); }

    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) final {
        return ElementOperations<T>::convertScalar(value, target, mode);
    }

protected:
    T value{};

private:
    ScalarVariantData(T&& element, std::true_type) : ScalarVariantData(std::as_const(element)) {}
    ScalarVariantData(T&& element, std::false_type) : value(std::move(element)) {}
};

template <class T>
class ScalarVariantDataRefCounted final : public ScalarVariantData<T, IVariantDataRefCounted> {
public:
    using ScalarVariantData<T, IVariantDataRefCounted>::ScalarVariantData;

    IVariantData* duplicate() const override { return new ScalarVariantDataRefCounted(this->value); }
};

// Lives in a value's inline buffer; its holder ends it by the destructor alone. A scalar of a class that is no element
// type is always counted.
template <class T>
class ScalarVariantDataNonCounted : public ScalarVariantData<T, IVariantDataNonRefCounted> {
    static_assert(isWellKnownElement<T>, "Only scalars of PyxCore's element types live in a value's inline buffer.");

public:
    using ScalarVariantData<T, IVariantDataNonRefCounted>::ScalarVariantData;
};

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    extern template class ScalarVariantDataRefCounted<type>;                     \
    extern template class ScalarVariantDataNonCounted<type>;
#include <pyx/types/element_types.def>

}  // namespace Quorvane::PYXCORE_PYX::Internal
