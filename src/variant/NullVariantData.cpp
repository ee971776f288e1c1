#include "variant/NullVariantData.h"

#include <pyx/variant/factories.h>

#include <stdexcept>

namespace Quorvane::Pyx::Internal {

IVariantData* constructVariantNull() {
    static const LastingNull null;
    return null.get();
}

std::uint64_t NullVariantData::numberAllocatedElements() const {
    return 0;
}

ArrayDimensionsView NullVariantData::dimensions() const {
    return {};
}

bool NullVariantData::isScalarStorage() const {
    return false;
}

DataOrdering NullVariantData::dataOrdering() const {
    return DataOrdering::RowMajor;
}

WellKnownType NullVariantData::wellKnownDataType() const {
    return WellKnownType::unknown;
}

const std::type_info* NullVariantData::storedTypeInfo() const {
    return nullptr;
}

CustomTypeOperations* NullVariantData::customTypeOperations() const {
    return nullptr;
}

IVariantData* NullVariantData::reorderData(DataOrdering) {
    return this;
}

void NullVariantData::reshapeNoRealloc(ArrayDimensionsView wanted) {
    // Deliberately the number of lengths and not their product: {0} is refused in spite of the text.
    if (!wanted.empty()) {
        throw std::invalid_argument(
            "Cannot reshape an empty ZVariant to one containing more than zero elements without reallocating.");
    }
}

IVariantData* NullVariantData::reshapeToZVariant(IVariantData*, ArrayDimensionsView, DataOrdering) {
    return nullptr;
}

const void* NullVariantData::constStoredData() const {
    return nullptr;
}

void* NullVariantData::mutableStoredData() {
    return nullptr;
}

IVariantData* NullVariantData::convertDataTo(WellKnownType target, ConversionMode) {
    if (target == WellKnownType::unknown) {
        return this;
    }
    return constructDefaultArray(target, {}, DataOrdering::RowMajor);
}

}  // namespace Quorvane::Pyx::Internal
