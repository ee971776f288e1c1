// A client's own storage as a data object.
#pragma once

#include <pyx/variant/ExternalVariantStorageInterface.h>
#include <pyx/variant/IVariantDataRefCounted.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace Quorvane::Pyx::Internal {

// Works on the client while it is attached, and asks it afresh every time; after the client's detach callback, on a
// snapshot of the elements that belongs to this object alone. Exactly one of the two is there.
class ExternalVariantStorageAdaptor final : public IVariantDataRefCounted {
public:
    // Leaves its callback with the client, which thereby stops serving any other adaptor. The client is borrowed.
    explicit ExternalVariantStorageAdaptor(ExternalVariantStorageInterface* storage);
    ~ExternalVariantStorageAdaptor() override;

    std::uint64_t numberAllocatedElements() const override;
    // While attached, the view is good until the client has another shape and dimensions, convertDataTo or duplicate
    // is called.
    ArrayDimensionsView dimensions() const override;
    bool isScalarStorage() const override { return false; }
    DataOrdering dataOrdering() const override;
    WellKnownType wellKnownDataType() const override;
    const std::type_info* storedTypeInfo() const override { return nullptr; }
    CustomTypeOperations* customTypeOperations() const override { return nullptr; }
    // Raises std::runtime_error "Not implemented!" while attached.
    IVariantData* reorderData(DataOrdering wanted) override;
    void reshapeNoRealloc(ArrayDimensionsView wanted) override;
    // Ends the process when the source has more elements than the wanted shape.
    IVariantData* reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted, DataOrdering ordering) override;
    const void* constStoredData() const override;
    void* mutableStoredData() override;
    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) override;
    // Raises std::length_error "dimensions do not match data length".
    IVariantData* duplicate() const override;

private:
    void detach();

    ExternalVariantStorageInterface* client;
    mutable std::vector<std::uint64_t> cachedDimensions;
    std::unique_ptr<IVariantData> snapshot;
};

}  // namespace Quorvane::Pyx::Internal
