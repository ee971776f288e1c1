// The value that holds nothing.
#pragma once

#include <pyx/variant/IVariantDataNonRefCounted.h>

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
    IVariantData* reshapeToZVariant(const IVariantData* source, ArrayDimensionsView wanted,
                                    DataOrdering ordering) override;
    const void* constStoredData() const override;
    void* mutableStoredData() override;
    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) override;
};

}  // namespace Quorvane::Pyx::Internal
