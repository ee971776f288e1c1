// Strided and contiguous slices beside a plain loop that knows its strides. NumPy's copies of the same slices are
// measured by numpy_peers.py under the same names.

#include "contenders.h"

#include <pyx/indexing/index_words.h>
#include <pyx/variant/ZVariant.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

// Which positions of each axis are selected.
struct Stride {
    std::uint64_t first;
    std::uint64_t count;
    std::uint64_t step;
};

template <std::size_t rank>
void addSlice(const std::string& task, const std::array<std::uint64_t, rank>& lengths, Stride stride) {
    const ArrayDimensionsView shape(lengths.data(), rank);
    const ZVariant source =
        ZVariant::fromData(std::vector<double>(shape.elementCount(), 1.0).data(), shape.elementCount(), shape);
    const std::uint64_t end = stride.first + stride.count * stride.step;
    const std::vector<IndexSet> sets(rank, seq(stride.first, end - stride.step, stride.step));
    addContender(task, "ours", [=] {
        ZVariant slice = source.slice(sets);
        benchmark::DoNotOptimize(slice);
    });
    addContender(task, "plain loop", [=] {
        ZVariant slice = ZVariant::allocate<double>({std::vector<std::uint64_t>(rank, stride.count)});
        double* to = slice.mutableData<double>();
        const double* const from = source.data<double>();
        const std::uint64_t planes = rank == 3 ? stride.count : 1;
        const std::uint64_t columns = lengths[rank - 1];
        for (std::uint64_t plane = 0; plane < planes; ++plane) {
            const double* const rows =
                rank == 3 ? from + (stride.first + plane * stride.step) * lengths[1] * columns : from;
            for (std::uint64_t i = stride.first; i < end; i += stride.step) {
                for (std::uint64_t k = stride.first; k < end; k += stride.step) {
                    *to++ = rows[i * columns + k];
                }
            }
        }
        benchmark::DoNotOptimize(slice);
    });
}

// Half of a vector, to see how the time grows with the number of elements.
void addHalf(const std::string& task, std::uint64_t count) {
    const ZVariant source = ZVariant::fromVector(std::vector<double>(2 * count, 1.0));
    addContender(task, "ours", [=] {
        ZVariant slice = source.slice({seq(0, last, 2)});
        benchmark::DoNotOptimize(slice);
    });
}

}  // namespace

void addSlices() {
    addSlice<2>("slice 512x512 step 2 of 1024x1024", {1024, 1024}, {0, 512, 2});
    addSlice<3>("slice 64x64x64 step 2 of 128x128x128", {128, 128, 128}, {0, 64, 2});
    addSlice<2>("slice 512x512 block of 1024x1024", {1024, 1024}, {256, 512, 1});
    addHalf("slice 10^3 of 2*10^3", 1'000);
    addHalf("slice 10^4 of 2*10^4", 10'000);
    addHalf("slice 10^5 of 2*10^5", 100'000);
    addHalf("slice 10^6 of 2*10^6", 1'000'000);
    addHalf("slice 10^7 of 2*10^7", 10'000'000);
}
