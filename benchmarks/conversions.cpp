// Conversions between numeric types beside a plain loop at the same flags and Eigen, and with the check of `Exact`
// beside those without it. Every contender writes to fresh memory.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <Eigen/Core>

#include <complex>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

constexpr std::size_t million = 1'000'000;

template <class T>
constexpr bool isComplex = std::is_same_v<T, std::complex<double>>;

// Whole numbers that every type can hold, so that no check fails; some are zero.
template <class S>
ZVariant makeSource(std::size_t count) {
    ZVariant source = ZVariant::allocate<S>({count});
    S* const elements = source.mutableData<S>();
    for (std::size_t i = 0; i < count; ++i) {
        elements[i] = static_cast<S>(static_cast<int>(i % 100));
    }
    return source;
}

template <class T, class S>
T castElement(const S& element) {
    if constexpr (isComplex<S>) {
        return static_cast<T>(element.real());
    } else {
        return static_cast<T>(element);
    }
}

template <class T, class S>
Eigen::Array<T, Eigen::Dynamic, 1> castWithEigen(const S* elements, std::size_t count) {
    const Eigen::Map<const Eigen::Array<S, Eigen::Dynamic, 1>> source(elements, static_cast<Eigen::Index>(count));
    if constexpr (isComplex<S>) {
        return source.real().template cast<T>();
    } else {
        return source.template cast<T>();
    }
}

template <class T>
void addConversionTo(const std::string& task, const char* contender, const ZVariant& source, ConversionMode mode) {
    addContender(task, contender, [source, mode, target = ZVariant(T{}).wellKnownDataType()] {
        ZVariant converted = source.convertTo(target, mode);
        benchmark::DoNotOptimize(converted);
    });
}

template <class S, class T>
void addCast(const std::string& types, std::size_t count = million) {
    const std::string task = types + ", " + (count == million ? "10^6" : std::to_string(count));
    const ZVariant source = makeSource<S>(count);
    addConversionTo<T>(task, "ours", source, ConversionMode::Cast);
    addContender(task, "plain loop", [source] {
        const S* const elements = source.data<S>();
        const std::size_t length = source.elementCount();
        const std::unique_ptr<T[]> converted(new T[length]);
        for (std::size_t i = 0; i < length; ++i) {
            converted[i] = castElement<T>(elements[i]);
        }
        benchmark::DoNotOptimize(converted.get());
        benchmark::ClobberMemory();
    });
    addContender(task, "Eigen", [source] {
        const auto converted = castWithEigen<T>(source.data<S>(), source.elementCount());
        benchmark::DoNotOptimize(converted.data());
        benchmark::ClobberMemory();
    });
}

template <class S, class T>
void addExact(const std::string& types) {
    const std::string task = types + ", 10^6, Exact";
    const ZVariant source = makeSource<S>(million);
    addConversionTo<T>(task, "ours", source, ConversionMode::Exact);
    addConversionTo<T>(task, "our Cast", source, ConversionMode::Cast);
}

}  // namespace

void addConversions() {
    addCast<int, double>("int32 to double", 1'000);
    addCast<int, double>("int32 to double");
    addCast<double, int>("double to int32");
    addCast<double, float>("double to float");
    addCast<float, double>("float to double");
    addCast<unsigned char, int>("uint8 to int32");
    addCast<unsigned char, double>("uint8 to double");
    addCast<long long, double>("int64 to double");
    addCast<double, long long>("double to int64");
    addCast<double, unsigned char>("double to uint8");
    addCast<double, bool>("double to bool");
    addCast<double, std::complex<double>>("double to complexDouble");
    addCast<std::complex<double>, double>("complexDouble to double");

    addExact<int, double>("int32 to double");
    addExact<double, int>("double to int32");
    addExact<double, float>("double to float");
    addExact<long long, int>("int64 to int32");
}
