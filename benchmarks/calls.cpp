// What the guard of the flat C interface costs where nothing fails: a flat call beside the same call without it.

#include "contenders.h"

#include <pyx/abi/c_api.h>
#include <pyx/variant/IVariantData.h>

#include <memory>
#include <stdexcept>
#include <string>

using namespace Quorvane::Pyx;

// Exported, so that they are called as the flat functions are: through the linkage table, never inlined.
extern "C" {

PYXCORE_API uint16_t typeWithoutGuard(const PyxVariantData* data) {
    return data->wellKnownDataType().code();
}

PYXCORE_API PyxDimensions dimensionsWithoutGuard(const PyxVariantData* data) {
    const ArrayDimensionsView dimensions = data->dimensions();
    return {dimensions.begin(), dimensions.size()};
}

PYXCORE_API PyxVariantData* copyWithoutGuard(PyxVariantData* data) {
    data->copy();
    return data;
}

PYXCORE_API void destructWithoutGuard(PyxVariantData* data) {
    if (data != nullptr) {
        data->destruct();
    }
}

}  // extern "C"

namespace {

// Flat calls are made as a client in C makes them.
std::shared_ptr<PyxVariantData> makeArrayByFlatCall() {
    constexpr double elements[] = {1, 2, 3, 4, 5, 6};
    constexpr std::uint64_t lengths[] = {2, 3};
    AbiErrorRecord record;
    PyxVariantData* const array =
        ZVariantData_C_API_constructArray(&record, elements, WellKnownType::double_.code(), 6, {lengths, 2}, 0);
    if (record.kind != nullptr) {
        throw std::runtime_error(record.message);
    }
    return {array, [](PyxVariantData* data) {
                AbiErrorRecord ignored;
                ZVariantData_C_API_destruct(&ignored, data);
            }};
}

template <class FlatCall, class UnguardedCall>
void addCall(const std::string& what, FlatCall flatCall, UnguardedCall unguardedCall) {
    const auto array = makeArrayByFlatCall();
    addContender("flat call: " + what, "ours", [array, flatCall] {
        AbiErrorRecord record;
        flatCall(&record, array.get());
        benchmark::DoNotOptimize(record.kind);
    });
    addContender("flat call: " + what, "without guard", [array, unguardedCall] { unguardedCall(array.get()); });
}

}  // namespace

void addCalls() {
    addCall(
        "type",
        [](AbiErrorRecord* record, PyxVariantData* data) {
            benchmark::DoNotOptimize(ZVariantData_C_API_wellKnownDataType(record, data));
        },
        [](PyxVariantData* data) { benchmark::DoNotOptimize(typeWithoutGuard(data)); });
    addCall(
        "dimensions",
        [](AbiErrorRecord* record, PyxVariantData* data) {
            benchmark::DoNotOptimize(ZVariantData_C_API_dimensions(record, data));
        },
        [](PyxVariantData* data) { benchmark::DoNotOptimize(dimensionsWithoutGuard(data)); });
    addCall(
        "copy, destruct",
        [](AbiErrorRecord* record, PyxVariantData* data) {
            ZVariantData_C_API_destruct(record, ZVariantData_C_API_copy(record, data));
        },
        [](PyxVariantData* data) { destructWithoutGuard(copyWithoutGuard(data)); });
}
