// The flat C functions that make arrays and call the operations of whole data objects.

#include <pyx/abi/guardAbiCall.h>

#include <pyx/types/dispatch.h>
#include <pyx/variant/IVariantData.h>
#include <pyx/variant/factories.h>

using namespace Quorvane::Pyx;
using namespace Quorvane::Pyx::Internal;

namespace {

ArrayDimensionsView viewOf(PyxDimensions dimensions) {
    return {dimensions.lengths, dimensions.count};
}

}  // namespace

PyxVariantData* ZVariantData_C_API_constructArray(AbiErrorRecord* record, const void* data, uint16_t type,
                                                  uint64_t length, PyxDimensions dimensions,
                                                  uint32_t ordering) noexcept {
    return guardAbiCall(record, [&] {
        return dispatchElementType(WellKnownType::fromCode(type), [&](auto tag) {
            return constructVariantVectorWithDataWithDimsUnresolved<typename decltype(tag)::type>(
                data, length, viewOf(dimensions), static_cast<DataOrdering>(ordering));
        });
    });
}

PyxVariantData* ZVariantData_C_API_createWithAllocatedArray(AbiErrorRecord* record, uint16_t type,
                                                            PyxDimensions dimensions, uint32_t ordering) noexcept {
    return guardAbiCall(record, [&] {
        return dispatchElementType(WellKnownType::fromCode(type), [&](auto tag) {
            return constructVariantVectorWithoutDataWithDimsUnresolved<typename decltype(tag)::type>(
                viewOf(dimensions), static_cast<DataOrdering>(ordering));
        });
    });
}

PyxVariantData* ZVariantData_C_API_convertDataTo(AbiErrorRecord* record, PyxVariantData* data, uint16_t target,
                                                 uint32_t mode) noexcept {
    return guardAbiCall(record, [&] {
        const WellKnownType targetType = WellKnownType::fromCode(target);
        if (data->wellKnownDataType() == targetType) {
            data->copy();
            return data;
        }
        return data->convertDataTo(targetType, static_cast<ConversionMode>(mode));
    });
}

PyxVariantData* ZVariantData_C_API_reorderData(AbiErrorRecord* record, PyxVariantData* data,
                                               uint32_t ordering) noexcept {
    return guardAbiCall(record, [&] {
        IVariantData* const reordered = data->reorderData(static_cast<DataOrdering>(ordering));
        data->destruct();
        return reordered;
    });
}

void ZVariantData_C_API_reshapeNoRealloc(AbiErrorRecord* record, PyxVariantData* data,
                                         PyxDimensions dimensions) noexcept {
    guardAbiCall(record, [&] { data->reshapeNoRealloc(viewOf(dimensions)); });
}

PyxVariantData* ZVariantData_C_API_reshapeToZVariant(AbiErrorRecord* record, PyxVariantData* data,
                                                     PyxVariantData* source, PyxDimensions dimensions,
                                                     uint32_t ordering) noexcept {
    return guardAbiCall(record, [&] {
        IVariantData* const result =
            data->reshapeToZVariant(source, viewOf(dimensions), static_cast<DataOrdering>(ordering));
        if (source != nullptr) {
            source->destruct();
        }
        return result;
    });
}
