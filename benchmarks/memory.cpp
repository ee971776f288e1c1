// What values and operations take of memory.

#include "contenders.h"

#include <pyx/indexing/index_words.h>
#include <pyx/variant/ZVariant.h>

#include <nlohmann/json.hpp>

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

constexpr std::uint64_t edge = 4'000;
constexpr std::uint64_t count = edge * edge;

// A line of what the system tells of this process, which is in KiB.
double statusBytes(const std::string& wanted) {
    std::ifstream status("/proc/self/status");
    for (std::string name; status >> name;) {
        if (name == wanted) {
            double kibibytes = 0;
            status >> kibibytes;
            return kibibytes * 1024;
        }
        status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return std::numeric_limits<double>::quiet_NaN();
}

// The peak of the process's memory during operation(source) beyond what was there before and the result.
template <class Operation>
void addPeak(const std::string& work, std::uint64_t resultBytes, Operation operation) {
    addSize("peak memory: " + work, "ours", [=] {
        ZVariant source = ZVariant::allocate<double>({edge, edge});
        std::fill_n(source.mutableData<double>(), count, 1.0);
        malloc_trim(0);
        const double before = statusBytes("VmRSS:");
        // This makes the present size the peak.
        if (!(std::ofstream("/proc/self/clear_refs") << 5 << std::flush)) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        const ZVariant result = operation(source);
        return std::max(0.0, statusBytes("VmHWM:") - before - static_cast<double>(resultBytes));
    });
}

// Bytes of one holder with what it has on the heap.
template <class Make>
void addBytes(const std::string& what, const char* contender, Make make) {
    addSize("bytes: " + what, contender, [make] {
        std::vector<decltype(make())> holders;
        constexpr std::size_t number = 10'000;
        holders.reserve(number);
        const std::size_t before = heapBytes();
        while (holders.size() < number) {
            holders.push_back(make());
        }
        return sizeof(make()) + static_cast<double>(heapBytes() - before) / number;
    });
}

void addValue(const std::string& what, ZVariant (*value)(), nlohmann::json (*json)()) {
    addBytes(what, "ours", value);
    addBytes(what, "nlohmann::json", json);
}

}  // namespace

std::size_t heapBytes() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void addMemory() {
    addPeak("convert 1.6x10^7 doubles to float", count * sizeof(float),
            [](const ZVariant& source) { return source.convertTo(WellKnownType::float_); });
    addPeak("reorder 1.6x10^7 doubles", count * sizeof(double),
            [](const ZVariant& source) { return source.reordered(DataOrdering::ColumnMajor); });
    addPeak("slice, step 2, of 1.6x10^7 doubles", count / 4 * sizeof(double), [](const ZVariant& source) {
        return source.slice({seq(0, last, 2), seq(0, last, 2)});
    });
    addPeak("slice, all of 1.6x10^7 doubles", count * sizeof(double), [](const ZVariant& source) {
        return source.slice({seq(0, last), all});
    });

    addValue(
        "null", [] { return ZVariant(); }, [] { return nlohmann::json(); });
    addValue(
        "scalar", [] { return ZVariant(2.5); }, [] { return nlohmann::json(2.5); });
    addValue(
        "array of one element", [] { return ZVariant::fromData({2.5}, {1}); },
        [] { return nlohmann::json::array({2.5}); });
}
