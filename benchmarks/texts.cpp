// Numbers to text beside a fresh stream for each number, and back beside strtod.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

constexpr std::size_t count = 100'000;

void addConversion(const std::string& task, const ZVariant& source, WellKnownType target) {
    addContender(task, "ours", [source, target] {
        ZVariant converted = source.convertTo(target, ConversionMode::CastOrText);
        benchmark::DoNotOptimize(converted);
    });
}

template <class T>
void addNumbersToTexts(const std::string& task, const ZVariant& source) {
    addConversion(task, source, WellKnownType::string);
    addContender(task, "std::ostringstream", [source] {
        const T* const numbers = source.data<T>();
        std::vector<std::string> texts(count);
        for (std::size_t i = 0; i < count; ++i) {
            std::ostringstream stream;
            stream.precision(std::numeric_limits<T>::digits10);
            stream << numbers[i];
            texts[i] = stream.str();
        }
        benchmark::DoNotOptimize(texts.data());
        benchmark::ClobberMemory();
    });
}

void addTextsToDoubles(const std::string& task, const ZVariant& source) {
    addConversion(task, source, WellKnownType::double_);
    addContender(task, "strtod", [source] {
        const std::string* const texts = source.data<std::string>();
        const std::unique_ptr<double[]> numbers(new double[count]);
        for (std::size_t i = 0; i < count; ++i) {
            numbers[i] = std::strtod(texts[i].c_str(), nullptr);
        }
        benchmark::DoNotOptimize(numbers.get());
        benchmark::ClobberMemory();
    });
}

// Numbers of all sizes, most of them with as many digits as the type has.
template <class T, class Distribution>
ZVariant makeSource(Distribution distribution) {
    std::mt19937_64 engine;
    std::vector<T> numbers(count);
    for (T& number : numbers) {
        number = distribution(engine);
    }
    return ZVariant::fromVector(std::move(numbers));
}

}  // namespace

void addTexts() {
    const ZVariant doubles = makeSource<double>(std::lognormal_distribution<double>(0, 5));
    const ZVariant integers = makeSource<long long>(std::uniform_int_distribution<long long>());
    addNumbersToTexts<double>("double to text, 10^5", doubles);
    addNumbersToTexts<long long>("int64 to text, 10^5", integers);
    addTextsToDoubles("text to double, 10^5", doubles.convertTo(WellKnownType::string, ConversionMode::CastOrText));
}
