// How the time of an operation grows with the number of elements. That of trees is measured in trees.cpp.

#include "contenders.h"

#include <pyx/indexing/index_words.h>
#include <pyx/variant/ZVariant.h>

#include <cmath>
#include <cstdint>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

ZVariant makeDoubles(std::uint64_t count, ArrayDimensionsView shape = {}) {
    std::vector<double> elements(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        elements[i] = static_cast<double>(i % 100) / 7;
    }
    return ZVariant::fromData(elements.data(), count, shape);
}

// operation(value) of makeValue(count).
template <class MakeValue, class Operation>
void add(const char* work, MakeValue makeValue, Operation operation) {
    addGrowthOf(work, [=](std::uint64_t count) {
        return [value = makeValue(count), operation] {
            auto result = operation(value);
            benchmark::DoNotOptimize(result);
        };
    });
}

}  // namespace

void addGrowth() {
    const auto doubles = [](std::uint64_t count) { return makeDoubles(count); };
    add("convert double to int32", doubles,
        [](const ZVariant& value) { return value.convertTo(WellKnownType::int32); });
    add(
        "reorder two dimensions",
        [](std::uint64_t count) {
            const auto rows = static_cast<std::uint64_t>(std::sqrt(count));
            return makeDoubles(rows * (count / rows), {rows, count / rows});
        },
        [](const ZVariant& value) { return value.reordered(DataOrdering::ColumnMajor); });
    add(
        "slice every second one", [](std::uint64_t count) { return makeDoubles(2 * count); },
        [](const ZVariant& value) { return value.slice({seq(0, last, 2)}); });
    addGrowthOf("identical", [](std::uint64_t count) {
        return [left = makeDoubles(count), right = makeDoubles(count)] {
            benchmark::DoNotOptimize(left.isIdenticalTo(right));
        };
    });
    add("double to text", doubles,
        [](const ZVariant& value) { return value.convertTo(WellKnownType::string, ConversionMode::CastOrText); });
}
