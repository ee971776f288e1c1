// Identity and equivalence of equal arrays, which are read to their end, beside a plain loop that stops at the first
// difference, and beside memcmp where elements are equal when their bytes are.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <complex>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

using namespace Quorvane::Pyx;

namespace {

constexpr std::size_t million = 1'000'000;

// Equal numbers for every T.
template <class T>
ZVariant makeNumbers() {
    ZVariant numbers = ZVariant::allocate<T>({million});
    T* const elements = numbers.mutableData<T>();
    for (std::size_t i = 0; i < million; ++i) {
        elements[i] = static_cast<T>(static_cast<int>(i % 100));
    }
    return numbers;
}

// compare(left, right) beside its peers, which ask the same of the elements.
template <class L, class R, class Compare>
void addComparison(const std::string& task, Compare compare) {
    const ZVariant left = makeNumbers<L>();
    const ZVariant right = makeNumbers<R>();
    addContender(task, "ours", [left, right, compare] { benchmark::DoNotOptimize(compare(left, right)); });
    addContender(task, "plain loop", [left, right] {
        const L* const leftElements = left.data<L>();
        const R* const rightElements = right.data<R>();
        bool equal = true;
        for (std::size_t i = 0; i < million && equal; ++i) {
            equal = leftElements[i] == rightElements[i];
        }
        benchmark::DoNotOptimize(equal);
    });
    if constexpr (std::is_same_v<L, R> && std::is_integral_v<L>) {
        addContender(task, "memcmp", [left, right] {
            benchmark::DoNotOptimize(std::memcmp(left.data<L>(), right.data<R>(), million * sizeof(L)));
        });
    }
}

template <class T>
void addIdentity(const std::string& type) {
    addComparison<T, T>("identical " + type + ", 10^6",
                        [](const ZVariant& left, const ZVariant& right) { return left.isIdenticalTo(right); });
}

template <class L, class R>
void addEquivalence(const std::string& types) {
    addComparison<L, R>("equivalent " + types + ", 10^6",
                        [](const ZVariant& left, const ZVariant& right) { return left.isEquivalentTo(right); });
}

}  // namespace

void addComparisons() {
    addIdentity<int>("int32");
    addIdentity<double>("double");
    addIdentity<std::complex<double>>("complexDouble");

    addEquivalence<int, int>("int32");
    addEquivalence<double, double>("double");
    addEquivalence<std::complex<double>, std::complex<double>>("complexDouble");
    addEquivalence<double, int>("double and int32");
}
