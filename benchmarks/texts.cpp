// Numbers to text beside a fresh stream for each number and {fmt}, back beside strtod, and printing beside a bare loop.

#include "contenders.h"

#include <pyx/pyx.h>

#include <fmt/format.h>

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
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
std::string textOfStream(T number) {
    std::ostringstream stream;
    stream.precision(std::numeric_limits<T>::digits10);
    stream << number;
    return stream.str();
}

// The same texts as the stream's.
template <class T>
std::string textOfFmt(T number) {
    if constexpr (std::is_floating_point_v<T>) {
        return fmt::format("{:.15g}", number);
    } else {
        return fmt::to_string(number);
    }
}

template <class T, class TextOf>
void addTextsOf(const std::string& task, const char* contender, const ZVariant& source, TextOf textOf) {
    addContender(task, contender, [source, textOf] {
        const T* const numbers = source.data<T>();
        std::vector<std::string> texts(count);
        for (std::size_t i = 0; i < count; ++i) {
            texts[i] = textOf(numbers[i]);
        }
        benchmark::DoNotOptimize(texts.data());
        benchmark::ClobberMemory();
    });
}

template <class T>
void addNumbersToTexts(const std::string& task, const ZVariant& source) {
    addConversion(task, source, WellKnownType::string);
    addTextsOf<T>(task, "std::ostringstream", source, textOfStream<T>);
    addTextsOf<T>(task, "{fmt}", source, textOfFmt<T>);
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

void addPrinting(const ZVariant& source) {
    const std::string task = "text, 10^6: print doubles";
    addContender(task, "ours", [source] {
        std::ostringstream stream;
        PrintTo(source, &stream);
        benchmark::DoNotOptimize(stream);
    });
    addContender(task, "bare << loop", [source] {
        std::ostringstream stream;
        const double* const elements = source.data<double>();
        const std::uint64_t length = source.elementCount();
        stream << '[';
        for (std::uint64_t i = 0; i < length; ++i) {
            if (i != 0) {
                stream << ", ";
            }
            stream << elements[i];
        }
        stream << ']';
        benchmark::DoNotOptimize(stream);
    });
}

// Numbers of all sizes, most of them with as many digits as the type has.
template <class T, class Distribution>
ZVariant makeSource(std::size_t length, Distribution distribution) {
    std::mt19937_64 engine;
    std::vector<T> numbers(length);
    for (T& number : numbers) {
        number = distribution(engine);
    }
    return ZVariant::fromVector(std::move(numbers));
}

}  // namespace

void addTexts() {
    const std::lognormal_distribution<double> allSizes(0, 5);
    const ZVariant doubles = makeSource<double>(count, allSizes);
    const ZVariant integers = makeSource<long long>(count, std::uniform_int_distribution<long long>());
    addNumbersToTexts<double>("text, 10^5: double to text", doubles);
    addNumbersToTexts<long long>("text, 10^5: int64 to text", integers);
    addTextsToDoubles("text, 10^5: text to double",
                      doubles.convertTo(WellKnownType::string, ConversionMode::CastOrText));
    addPrinting(makeSource<double>(1'000'000, allSizes));
}
