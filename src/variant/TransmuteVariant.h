// Views that read the storage of another data object as the other kind of numbers, without a copy: real numbers as
// complex ones, or complex numbers as real ones.
#pragma once

#include "variant/element_operations_by_code.h"

#include <pyx/variant/IVariantDataRefCounted.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/array_operations.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Quorvane::Pyx::Internal {

// What both views have in common. The view holds a reference on the data and has dimensions of its own, in which the
// fastest one is View::countOf its length in the data; whether that is even is deliberately not looked at.
template <class View>
class TransmuteVariant : public IVariantDataRefCounted {
public:
    // Takes the reference over, also when it fails. Raises std::invalid_argument "Cannot create a view of data without
    // dimensions.".
    explicit TransmuteVariant(OwnedData<> viewed) : data(std::move(viewed)), dimensions_(dimensionsOver(*data)) {}

    std::uint64_t numberAllocatedElements() const final { return View::countOf(data->numberAllocatedElements()); }
    ArrayDimensionsView dimensions() const final { return dimensions_; }
    bool isScalarStorage() const final { return false; }
    DataOrdering dataOrdering() const final { return data->dataOrdering(); }
    const std::type_info* storedTypeInfo() const final { return nullptr; }
    CustomTypeOperations* customTypeOperations() const final { return nullptr; }

    // In another ordering than the present one, a plain array.
    IVariantData* reorderData(DataOrdering wanted) final {
        if (wanted == dataOrdering()) {
            copy();
            return this;
        }
        if (numberReadableElements() < numberAllocatedElements()) {
            return OwnedData<>(duplicate())->reorderData(wanted);
        }
        return reorderElementsOf(this->wellKnownDataType(), *this, wanted);
    }

    void reshapeNoRealloc(ArrayDimensionsView wanted) final {
        if (wanted == dimensions()) {
            return;
        }
        this->requireOneReference();
        if (wanted.elementCount() > numberAllocatedElements()) {
            this->throwDoesNotFit();
        }
        dimensions_ = wanted.toVector();
    }

    IVariantData* reshapeToZVariant(IVariantData*, ArrayDimensionsView, DataOrdering) final {
        throw std::runtime_error("Reshaping to ZVariant is not allowed for Transmute Variant");
    }

    const void* constStoredData() const final { return data->constStoredData(); }
    void* mutableStoredData() final { return data->mutableStoredData(); }

    // A plain array of as many elements as the shape shows.
    IVariantData* duplicate() const final {
        return rebuildElementsOf(this->wellKnownDataType(), this, dimensions_, dataOrdering());
    }

    // As many elements as can be read. Nothing refuses a view of data that are of its own kind of numbers already, or
    // no numbers, but the number of its elements is not that of the storage.
    std::uint64_t numberReadableElements() const {
        const std::uint64_t readable = Internal::numberReadableElements(*data);
        const bool isReinterpreted = data->wellKnownDataType() != this->wellKnownDataType();
        return isReinterpreted ? View::countOf(readable) : std::min(readable, numberAllocatedElements());
    }

    // Always false, so that a writer gets a plain array of its own and never writes to the data.
    bool isUnique() const final { return false; }

protected:
    // The data converted and viewed again; null when their conversion is refused.
    IVariantData* viewConverted(WellKnownType target, ConversionMode mode) {
        OwnedData<> converted(data->convertDataTo(target, mode));
        return converted == nullptr ? nullptr : new View(std::move(converted));
    }

    OwnedData<> data;

private:
    static std::vector<std::uint64_t> dimensionsOver(const IVariantData& viewed) {
        std::vector<std::uint64_t> dimensions = viewed.dimensions().toVector();
        if (dimensions.empty()) {
            throw std::invalid_argument("Cannot create a view of data without dimensions.");
        }
        std::uint64_t& fastest =
            viewed.dataOrdering() == DataOrdering::RowMajor ? dimensions.back() : dimensions.front();
        fastest = View::countOf(fastest);
        return dimensions;
    }

    std::vector<std::uint64_t> dimensions_;
};

// Neighbouring real numbers as the parts of complex ones; a last one without a neighbour is out of sight.
class TransmuteRealToComplexVariant final : public TransmuteVariant<TransmuteRealToComplexVariant> {
public:
    using TransmuteVariant::TransmuteVariant;

    static constexpr std::uint64_t countOf(std::uint64_t reals) { return reals >> 1; }

    // Raises std::runtime_error "Can not convert non-numeric data type to complex numeric type".
    WellKnownType wellKnownDataType() const override;

    // Ends in a complex view also for a real target.
    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) override;
};

// Both parts of complex numbers as real ones.
class TransmuteComplexToRealVariant final : public TransmuteVariant<TransmuteComplexToRealVariant> {
public:
    using TransmuteVariant::TransmuteVariant;

    static constexpr std::uint64_t countOf(std::uint64_t complexNumbers) { return complexNumbers * 2; }

    WellKnownType wellKnownDataType() const override;

    // Ends in a real view also for a complex target. Raises std::runtime_error "Can not convert non-numeric data type
    // to complex numeric type".
    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) override;
};

}  // namespace Quorvane::Pyx::Internal
