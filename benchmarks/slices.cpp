// Strided and contiguous slices, for numpy_tasks.py: there is no flat function for them.

#include "contenders.h"

#include <pyx/abi/c_api.h>
#include <pyx/indexing/index_words.h>
#include <pyx/variant/ZVariant.h>

#include <cstdint>
#include <numeric>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

struct Slice {
    ZVariant source;
    std::vector<IndexSet> sets;
};

}  // namespace

extern "C" {

// The same positions of each axis of an array of doubles. Ends by dropSlice.
Slice* makeSlice(PyxDimensions shape, std::uint64_t first, std::uint64_t last, std::uint64_t step) {
    ZVariant source = ZVariant::allocate<double>(ArrayDimensionsView(shape.lengths, shape.count));
    std::iota(source.mutableData<double>(), source.mutableData<double>() + source.elementCount(), 0.0);
    return new Slice{source, std::vector<IndexSet>(shape.count, seq(first, last, step))};
}

const double* sourceOfSlice(const Slice* slice) {
    return slice->source.data<double>();
}

void runSlice(const Slice* slice) {
    ZVariant result = slice->source.slice(slice->sets);
    benchmark::DoNotOptimize(result);
}

void dropSlice(Slice* slice) {
    delete slice;
}

}  // extern "C"
