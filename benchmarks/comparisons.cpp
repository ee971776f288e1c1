// Identity of equal arrays, which are read to their end, beside memcmp, which compares no numbers but reads as many
// bytes. Larger arrays are measured from Python, beside NumPy.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <complex>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

template <class T>
void addIdentity(const std::string& type) {
    constexpr std::size_t count = 1'000;
    const std::string task = "identical, 10^3: " + type;
    const std::vector<T> elements(count, T{1});
    const ZVariant left = ZVariant::fromData(elements.data(), count);
    const ZVariant right = ZVariant::fromData(elements.data(), count);
    addContender(task, "ours", [left, right] { benchmark::DoNotOptimize(left.isIdenticalTo(right)); });
    const T* const leftElements = left.data<T>();
    const T* const rightElements = right.data<T>();
    addContender(task, "memcmp", [left, right, leftElements, rightElements] {
        benchmark::DoNotOptimize(std::memcmp(leftElements, rightElements, count * sizeof(T)));
    });
}

}  // namespace

void addComparisons() {
    addIdentity<int>("int32");
    addIdentity<double>("double");
    addIdentity<std::complex<double>>("complexDouble");
}
