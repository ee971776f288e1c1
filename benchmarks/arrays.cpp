// Arrays made of a client's data beside a plain copy of the bytes.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <cstring>
#include <new>
#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

void addArray(const std::string& task, std::size_t count) {
    const std::vector<double> elements(count, 1.0);
    addContender(task, "ours", [elements] {
        ZVariant array = ZVariant::fromData(elements.data(), elements.size());
        benchmark::DoNotOptimize(array);
    });
    addContender(task, "memcpy", [elements] {
        const std::size_t size = elements.size() * sizeof(double);
        void* const copy = ::operator new(size);
        std::memcpy(copy, elements.data(), size);
        benchmark::DoNotOptimize(copy);
        benchmark::ClobberMemory();
        ::operator delete(copy);
    });
}

}  // namespace

void addArrays() {
    addArray("array from 10^3 doubles", 1'000);
    addArray("array from 10^6 doubles", 1'000'000);
}
