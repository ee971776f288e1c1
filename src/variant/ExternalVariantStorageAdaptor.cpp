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

ExternalVariantStorageAdaptor::ExternalVariantStorageAdaptor(ExternalVariantStorageInterface* storage)
    : client(storage) {
    // Not counted: the client is told when this object goes.
    client->detachCallback = [this] { detach(); };
}

ExternalVariantStorageAdaptor::~ExternalVariantStorageAdaptor() {
    if (client != nullptr) {
        client->adaptorDestroyed();
    }
}

// May be called again, and then replaces the snapshot by a copy of itself.
void ExternalVariantStorageAdaptor::detach() {
    // A conversion to the own type is a copy, and never refused.
    snapshot.reset(convertDataTo(wellKnownDataType(), ConversionMode::Cast));
    client = nullptr;
}

std::uint64_t ExternalVariantStorageAdaptor::numberAllocatedElements() const {
    return client != nullptr ? client->numberAllocatedElements() : snapshot->numberAllocatedElements();
}

ArrayDimensionsView ExternalVariantStorageAdaptor::dimensions() const {
    if (client == nullptr) {
        return snapshot->dimensions();
    }
    // A cache that is still right stays where it is, and with it the views of it.
    const ArrayDimensionsView current = client->dimensions();
    if (current != cachedDimensions) {
        cachedDimensions = current.toVector();
    }
    return cachedDimensions;
}

DataOrdering ExternalVariantStorageAdaptor::dataOrdering() const {
    return client != nullptr ? client->dataOrdering() : snapshot->dataOrdering();
}

WellKnownType ExternalVariantStorageAdaptor::wellKnownDataType() const {
    return client != nullptr ? client->wellKnownDataType() : snapshot->wellKnownDataType();
}

IVariantData* ExternalVariantStorageAdaptor::reorderData(DataOrdering wanted) {
    if (client != nullptr) {
        throw std::runtime_error("Not implemented!");
    }
    if (wanted == snapshot->dataOrdering()) {
        // The snapshot itself would answer with itself, and nobody else may hold it.
        copy();
        return this;
    }
    return snapshot->reorderData(wanted);
}

void ExternalVariantStorageAdaptor::reshapeNoRealloc(ArrayDimensionsView wanted) {
    if (client != nullptr) {
        client->reshapeNoRealloc(wanted);
    } else {
        snapshot->reshapeNoRealloc(wanted);
    }
}

IVariantData* ExternalVariantStorageAdaptor::reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted,
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
    return client != nullptr ? client->constStoredData() : snapshot->constStoredData();
}

void* ExternalVariantStorageAdaptor::mutableStoredData() {
    return client != nullptr ? client->mutableStoredData() : snapshot->mutableStoredData();
}

// The client sees the order in which it is asked, here and in convertDataTo.
IVariantData* ExternalVariantStorageAdaptor::duplicate() const {
    const DataOrdering ordering = dataOrdering();
    const ArrayDimensionsView shape = dimensions();
    const std::uint64_t count = numberAllocatedElements();
    const void* const elements = constStoredData();
    return dispatchElementType(wellKnownDataType(), [&](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        return VectorVariantData<T>::makeFromData(static_cast<const T*>(elements), count, shape, ordering).release();
    });
}

}  // namespace Quorvane::Pyx::Internal
