// Storage that is shown as a value without a copy, beside values that hold a converted copy of it. Every contender
// makes its value and reads all of it once, and the last one of each task only reads.

#include "contenders.h"

#include <pyx/variant/ExternalBuffer.h>
#include <pyx/variant/ZVariant.h>

#include <complex>
#include <cstdint>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

constexpr std::uint64_t count = 1'000'000;

template <class T>
void sum(const T* elements, std::uint64_t length) {
    T total = std::reduce(elements, elements + length);
    benchmark::DoNotOptimize(total);
}

template <class T>
void sumOf(const ZVariant& value) {
    sum(value.data<T>(), value.elementCount());
}

void addComplexView() {
    const std::string task = "sum, 10^6: doubles seen as complex";
    using Pair = std::complex<double>;
    const ZVariant reals = ZVariant::fromVector(std::vector<double>(count, 1.0));
    addContender(task, "ours", [reals] { sumOf<Pair>(reals.asComplex()); });
    addContender(task, "converted copy", [reals] {
        const double* const parts = reals.data<double>();
        ZVariant pairs = ZVariant::allocate<Pair>({count / 2});
        Pair* const elements = pairs.mutableData<Pair>();
        for (std::uint64_t i = 0; i < count / 2; ++i) {
            elements[i] = {parts[2 * i], parts[2 * i + 1]};
        }
        sumOf<Pair>(pairs);
    });
    addContender(task, "sum alone", [pairs = reals.asComplex()] { sumOf<Pair>(pairs); });
}

void addExternalStorage() {
    const std::string task = "sum, 10^6: doubles in memory of a client";
    const auto memory = std::make_shared<std::vector<double>>(count, 1.0);
    addContender(task, "ours", [memory] {
        ExternalBuffer<double> buffer(memory->data(), {count});
        sumOf<double>(buffer.value());
    });
    addContender(task, "copy", [memory] { sumOf<double>(ZVariant::fromData(memory->data(), count)); });
    addContender(task, "sum alone", [memory] { sum(memory->data(), count); });
}

}  // namespace

void addViews() {
    addComplexView();
    addExternalStorage();
}
