// Arrays made of a client's data beside a plain copy of the bytes.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

void addArray(const std::string& task, std::size_t count) {
    addContender(task, "ours", [elements = std::vector<double>(count, 1.0)] {
        ZVariant array = ZVariant::fromData(elements.data(), elements.size());
        benchmark::DoNotOptimize(array);
    });
    addMemcpy(task, count * sizeof(double));
}

}  // namespace

void addArrays() {
    addArray("array from data: 10^3 doubles", 1'000);
    addArray("array from data: 10^6 doubles", 1'000'000);
}
