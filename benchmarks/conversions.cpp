// The check of `Exact` beside the same conversion without it. Casts are measured from Python, beside NumPy.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <cstddef>
#include <string>
#include <type_traits>

using namespace Quorvane::Pyx;

namespace {

constexpr std::size_t million = 1'000'000;

// Whole numbers below the limit, so that no check fails.
template <class S>
ZVariant makeSource(std::size_t limit) {
    ZVariant source = ZVariant::allocate<S>({million});
    S* const elements = source.mutableData<S>();
    for (std::size_t i = 0; i < million; ++i) {
        elements[i] = static_cast<S>(static_cast<int>(i % limit));
    }
    return source;
}

template <class S, class T>
void addExact(const std::string& types) {
    const std::string task = "convert in Exact, 10^6: " + types;
    const ZVariant source = makeSource<S>(std::is_same_v<T, bool> ? 2 : 100);
    const auto add = [&](const char* contender, ConversionMode mode) {
        addContender(task, contender, [source, mode, target = ZVariant(T{}).wellKnownDataType()] {
            ZVariant converted = source.convertTo(target, mode);
            benchmark::DoNotOptimize(converted);
        });
    };
    add("ours", ConversionMode::Exact);
    add("our Cast", ConversionMode::Cast);
}

}  // namespace

void addConversions() {
    addExact<double, int>("double to int32");
    addExact<double, float>("double to float");
    addExact<double, unsigned char>("double to uint8");
    addExact<long long, int>("int64 to int32");
    addExact<int, unsigned char>("int32 to uint8");
    addExact<double, bool>("double to bool");
    addExact<double, long long>("double to int64");
    addExact<int, double>("int32 to double");
}
