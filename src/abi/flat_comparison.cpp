// The flat C functions that compare two data objects.

#include <pyx/abi/guardAbiCall.h>

#include <pyx/variant/comparison.h>

using namespace Quorvane::Pyx;
using namespace Quorvane::Pyx::Internal;

bool ZVariantData_C_API_isEquivalentTo(AbiErrorRecord* record, const PyxVariantData* data, const PyxVariantData* other,
                                       uint32_t mode) noexcept {
    return guardAbiCall(record, [&] { return isEquivalentTo(*data, *other, static_cast<ConversionMode>(mode)); });
}

bool ZVariantData_C_API_isIdenticalTo(AbiErrorRecord* record, const PyxVariantData* data,
                                      const PyxVariantData* other) noexcept {
    return guardAbiCall(record, [&] { return isIdenticalTo(*data, *other); });
}
