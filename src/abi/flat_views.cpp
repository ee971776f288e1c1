// The flat C functions that show storage as a value without copying it: a client's own, or another object's as the
// other kind of numbers.

#include <pyx/abi/guardAbiCall.h>

#include <pyx/variant/factories.h>

using namespace Quorvane::Pyx;
using namespace Quorvane::Pyx::Internal;

PyxVariantData* ZVariantData_C_API_createWithExternalStorage(AbiErrorRecord* record,
                                                             PyxExternalStorage* storage) noexcept {
    return guardAbiCall(record, [&] { return constructVariantExternal(storage); });
}

PyxVariantData* ZVariantData_C_API_constructTransmuteRealToComplexVariant(AbiErrorRecord* record,
                                                                          PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] { return constructTransmuteRealToComplexVariant(data); });
}

PyxVariantData* ZVariantData_C_API_constructTransmuteComplexToRealVariant(AbiErrorRecord* record,
                                                                          PyxVariantData* data) noexcept {
    return guardAbiCall(record, [&] { return constructTransmuteComplexToRealVariant(data); });
}
