// The flat C functions that make a scalar, count references, and read and write stored elements.

#include <pyx/abi/guardAbiCall.h>
#include "variant/NullVariantData.h"

#include <pyx/types/dispatch.h>
#include <pyx/variant/ScalarVariantData.h>

#include <string>

using namespace Quorvane::Pyx;
using namespace Quorvane::Pyx::Internal;

// Clients read and lend strings as PyxString.
static_assert(sizeof(PyxString) == sizeof(std::string));
static_assert(alignof(PyxString) == alignof(std::string));

PyxVariantData* ZVariantData_C_API_constructNull() noexcept {
    // Deliberately another object than the native side's.
    static const LastingNull null;
    return null.get();
}

PyxVariantData* ZVariantData_C_API_constructScalar(AbiErrorRecord* record, const void* value, uint16_t type) noexcept {
    return guardAbiCall(record, [&] {
        return dispatchElementType(WellKnownType::fromCode(type), [&](auto tag) -> IVariantData* {
            using T = typename decltype(tag)::type;
            return new ScalarVariantDataRefCounted<T>(*static_cast<const T*>(value));
        });
    });
}

PyxVariantData* ZVariantData_C_API_copy(AbiErrorRecord* record, PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] {
        data->copy();
        return data;
    });
}

void ZVariantData_C_API_destruct(AbiErrorRecord* record, PyxVariantData* data) noexcept {
    guardAbiCall(record, [&] {
        if (data != nullptr) {
            data->destruct();
        }
    });
}

uint16_t ZVariantData_C_API_wellKnownDataType(AbiErrorRecord* record, const PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] { return data->wellKnownDataType().code(); });
}

bool ZVariantData_C_API_isScalarStorage(AbiErrorRecord* record, const PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] { return data->isScalarStorage(); });
}

uint64_t ZVariantData_C_API_numberAllocatedElements(AbiErrorRecord* record, const PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] { return data->numberAllocatedElements(); });
}

PyxDimensions ZVariantData_C_API_dimensions(AbiErrorRecord* record, const PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] {
        const ArrayDimensionsView dimensions = data->dimensions();
        return PyxDimensions{dimensions.begin(), dimensions.size()};
    });
}

uint32_t ZVariantData_C_API_dataOrdering(AbiErrorRecord* record, const PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] { return static_cast<uint32_t>(data->dataOrdering()); });
}

const void* ZVariantData_C_API_constStoredData(AbiErrorRecord* record, const PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] { return data->constStoredData(); });
}

PyxVariantData* ZVariantData_C_API_mutableStoredData(AbiErrorRecord* record, PyxVariantData* data,
                                                     void** stored) noexcept {
    return guardAbiCall(record, [&] {
        IVariantData* const unique = data->makeUnique();
        *stored = unique->mutableStoredData();
        return unique;
    });
}
