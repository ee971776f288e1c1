// The flat C functions that show storage as a value without copying it: a client's own, or another object's as the
// other kind of numbers.

#include <pyx/abi/guardAbiCall.h>

#include <pyx/variant/factories.h>

#include <cstring>
#include <new>
#include <typeinfo>

using namespace Quorvane::Pyx;
using namespace Quorvane::Pyx::Internal;

namespace {

// The text of std::bad_alloc in a record says that the reference is still the caller's. A client's own class with the
// same text gets another one.
PyxVariantData* makeView(AbiErrorRecord* record, PyxVariantData* data, IVariantData* (*construct)(IVariantData*)) {
    return guardAbiCall(record, [&] {
        try {
            return construct(data);
        } catch (const std::bad_alloc& error) {
            const bool isPlain = typeid(error) == typeid(std::bad_alloc);
            if (!isPlain && std::strcmp(error.what(), std::bad_alloc().what()) == 0) {
                throw std::bad_array_new_length();
            }
            throw;
        }
    });
}

}  // namespace

PyxVariantData* ZVariantData_C_API_createWithExternalStorage(AbiErrorRecord* record,
                                                             PyxExternalStorage* storage) noexcept {
    return guardAbiCall(record, [&] { return constructVariantExternal(storage); });
}

PyxVariantData* ZVariantData_C_API_constructTransmuteRealToComplexVariant(AbiErrorRecord* record,
                                                                          PyxVariantData* data) noexcept {
    return makeView(record, data, constructTransmuteRealToComplexVariant);
}

PyxVariantData* ZVariantData_C_API_constructTransmuteComplexToRealVariant(AbiErrorRecord* record,
                                                                          PyxVariantData* data) noexcept {
    return makeView(record, data, constructTransmuteComplexToRealVariant);
}
