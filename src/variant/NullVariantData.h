// The value that holds nothing.
#pragma once

#include <pyx/variant/IVariantDataNonRefCounted.h>

#include <cstddef>
#include <new>

namespace Quorvane::Pyx::Internal {

// Immutable; the two instances are static objects, one for each side of the compiler boundary, and nobody may compare
// a pointer with theirs: null-ness is the type code 0.
class NullVariantData final : public IVariantDataNonRefCounted {
public:
    std::uint64_t numberAllocatedElements() const override;
    ArrayDimensionsView dimensions() const override;
    bool isScalarStorage() const override;
    DataOrdering dataOrdering() const override;
    WellKnownType wellKnownDataType() const override;
    const std::type_info* storedTypeInfo() const override;
    CustomTypeOperations* customTypeOperations() const override;
    IVariantData* reorderData(DataOrdering wanted) override;
    void reshapeNoRealloc(ArrayDimensionsView wanted) override;
    IVariantData* reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted, DataOrdering ordering) override;
    const void* constStoredData() const override;
    void* mutableStoredData() override;
    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) override;
};

// Room for a null object that is never destroyed: a client's static value may end after any static object of the
// library, and may hold a null by then.
class LastingNull {
public:
    LastingNull() : null_(new (memory_) NullVariantData) {}
    LastingNull(const LastingNull&) = delete;
    LastingNull& operator=(const LastingNull&) = delete;

    IVariantData* get() const { return null_; }

private:
    alignas(NullVariantData) std::byte memory_[sizeof(NullVariantData)];
    NullVariantData* null_;
};

}  // namespace Quorvane::Pyx::Internal
