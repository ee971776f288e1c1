// What the flat C interface costs: one flat call beside the virtual call behind it.

#include "contenders.h"

#include <pyx/abi/c_api.h>
#include <pyx/variant/ZVariant.h>

#include <memory>
#include <stdexcept>

using namespace Quorvane::Pyx;

namespace {

constexpr double elements[] = {1, 2, 3, 4, 5, 6};
constexpr std::uint64_t lengths[] = {2, 3};

// Flat calls are made as a client in C makes them.
std::shared_ptr<PyxVariantData> makeArrayByFlatCall() {
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

template <class FlatCall, class VirtualCall>
void addCall(const char* task, FlatCall flatCall, VirtualCall virtualCall) {
    addContender(task, "ours", [array = makeArrayByFlatCall(), flatCall] {
        AbiErrorRecord record;
        benchmark::DoNotOptimize(flatCall(&record, array.get()));
        benchmark::DoNotOptimize(record.kind);
    });
    addContender(task, "virtual call", [array = ZVariant::fromData(elements, 6, {lengths, 2}), virtualCall] {
        benchmark::DoNotOptimize(virtualCall(array));
    });
}

}  // namespace

void addCalls() {
    addCall(
        "flat call for the type",
        [](AbiErrorRecord* record, const PyxVariantData* data) {
            return ZVariantData_C_API_wellKnownDataType(record, data);
        },
        [](const ZVariant& value) { return value.wellKnownDataType(); });
    addCall(
        "flat call for the dimensions",
        [](AbiErrorRecord* record, const PyxVariantData* data) { return ZVariantData_C_API_dimensions(record, data); },
        [](const ZVariant& value) { return value.dimensions(); });
}
