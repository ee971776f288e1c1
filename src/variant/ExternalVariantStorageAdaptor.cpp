#include "variant/ExternalVariantStorageAdaptor.h"

#include "variant/element_operations_by_code.h"

#include <pyx/types/dispatch.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/factories.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace Quorvane::Pyx::Internal {

IVariantData* constructVariantExternal(ExternalVariantStorageInterface* storage) {
    return new ExternalVariantStorageAdaptor(storage);
}

ExternalVariantStorageAdaptor::ExternalVariantStorageAdaptor(ExternalVariantStorageInterface* client)
    : client_(client) {
    // Not counted: the client is told when this object goes.
    client->detachCallback = [this] { detach(); };
}

ExternalVariantStorageAdaptor::~ExternalVariantStorageAdaptor() {
    if (client_ != nullptr) {
        client_->adaptorDestroyed();
    }
}

// May be called again, and then replaces the snapshot by a copy of itself.
void ExternalVariantStorageAdaptor::detach() {
    // A conversion to the own type is a copy, and never refused.
    snapshot_.reset(convertDataTo(wellKnownDataType(), ConversionMode::Cast));
    client_ = nullptr;
}

std::uint64_t ExternalVariantStorageAdaptor::numberAllocatedElements() const {
    return client_ != nullptr ? client_->numberAllocatedElements() : snapshot_->numberAllocatedElements();
}

ArrayDimensionsView ExternalVariantStorageAdaptor::dimensions() const {
    if (client_ == nullptr) {
        return snapshot_->dimensions();
    }
    // A cache that is still right stays where it is, and with it the views of it.
    const ArrayDimensionsView current = client_->dimensions();
    if (current != cachedDimensions_) {
        cachedDimensions_ = current.toVector();
    }
    return cachedDimensions_;
}

DataOrdering ExternalVariantStorageAdaptor::dataOrdering() const {
    return client_ != nullptr ? client_->dataOrdering() : snapshot_->dataOrdering();
}

WellKnownType ExternalVariantStorageAdaptor::wellKnownDataType() const {
    return client_ != nullptr ? client_->wellKnownDataType() : snapshot_->wellKnownDataType();
}

IVariantData* ExternalVariantStorageAdaptor::reorderData(DataOrdering wanted) {
    if (client_ != nullptr) {
        throw std::runtime_error("Not implemented!");
    }
    if (wanted == snapshot_->dataOrdering()) {
        // The snapshot itself would answer with itself, and nobody else may hold it.
        copy();
        return this;
    }
    return snapshot_->reorderData(wanted);
}

void ExternalVariantStorageAdaptor::reshapeNoRealloc(ArrayDimensionsView wanted) {
    if (client_ != nullptr) {
        client_->reshapeNoRealloc(wanted);
    } else {
        snapshot_->reshapeNoRealloc(wanted);
    }
}

IVariantData* ExternalVariantStorageAdaptor::reshapeToZVariant(const IVariantData* source, ArrayDimensionsView wanted,
                                                               DataOrdering ordering) {
    const WellKnownType type = wellKnownDataType();
    requireElementType(type);
    // Deliberately fatal, here alone: other arrays leave out what does not fit.
    if (source != nullptr && source->numberAllocatedElements() > wanted.elementCount()) {
        std::fputs("PyxCore: the source has more elements than the shape that a client's storage is to have.\n",
                   stderr);
        std::abort();
    }
    return rebuildElementsOf(type, source, wanted, ordering);
}

const void* ExternalVariantStorageAdaptor::constStoredData() const {
    return client_ != nullptr ? client_->constStoredData() : snapshot_->constStoredData();
}

void* ExternalVariantStorageAdaptor::mutableStoredData() {
    return client_ != nullptr ? client_->mutableStoredData() : snapshot_->mutableStoredData();
}

IVariantData* ExternalVariantStorageAdaptor::duplicate() const {
    return dispatchElementType(wellKnownDataType(), [&](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        return VectorVariantData<T>::makeFromData(static_cast<const T*>(constStoredData()), numberAllocatedElements(),
                                                  dimensions(), dataOrdering())
            .release();
    });
}

}  // namespace Quorvane::Pyx::Internal
