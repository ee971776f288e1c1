// The arithmetic between index tuples and flat element offsets.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/types/standard_library.h>

#include <cstdint>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

// Static functions only. All offsets and strides count elements, never bytes; arithmetic is unsigned 64-bit and wraps.
// Free of shared state. The capitals of four of the names are part of the exported interface.
class PYXCORE_STD_API ArrayIndexing {
public:
    ArrayIndexing() = default;
    ArrayIndexing(const ArrayIndexing&) = default;
    ArrayIndexing(ArrayIndexing&&) = default;
    // Nothing to assign; exported, since modules built elsewhere may refer to them.
    ArrayIndexing& operator=(const ArrayIndexing&) noexcept;
    ArrayIndexing& operator=(ArrayIndexing&&) noexcept;

    // The offset of the element at `indices`, one index for each dimension; 0 for rank 0.
    // Raises std::invalid_argument "Wrong number of indices." when their number is not the rank, whatever checkBounds
    // says, and std::out_of_range "Indices out of bounds." when checkBounds is set and an index is not below its
    // length.
    static std::uint64_t calculateOffsetColumnMajor(const std::vector<std::uint64_t>& indices,
                                                    ArrayDimensionsView dimensions, bool checkBounds);
    static std::uint64_t calculateOffsetRowMajor(const std::vector<std::uint64_t>& indices,
                                                 ArrayDimensionsView dimensions, bool checkBounds);

    // Replaces `indices` by the index tuple of the element at `offset`. With checkBounds, raises std::invalid_argument
    // "Too few indices." for rank 0 and for an offset that is not below the element count, and leaves `indices` empty.
    // Without, what exceeds the shape lands in the slowest dimension; the column-major form skips dimensions of
    // length 0 or 1, whose index stays 0, and the row-major form skips none. In a shape with a length of 0, where
    // no offset has an index tuple, an index whose stride is 0 is 0.
    static void CalculateIndicesColumnMajor(std::vector<std::uint64_t>& indices, std::uint64_t offset,
                                            ArrayDimensionsView dimensions, bool checkBounds);
    static void CalculateIndicesRowMajor(std::vector<std::uint64_t>& indices, std::uint64_t offset,
                                         ArrayDimensionsView dimensions, bool checkBounds);

    // The distance between neighbours along a dimension: the product of the lengths of all faster dimensions. 0 for a
    // dimension that is not below the rank.
    static std::uint64_t CalculateDimStrideColumnMajor(std::uint64_t dimension, ArrayDimensionsView dimensions);
    static std::uint64_t CalculateDimStrideRowMajor(std::uint64_t dimension, ArrayDimensionsView dimensions);
};

namespace Internal {

// How far apart neighbours along a dimension are in storage: the product of the lengths of all faster dimensions.
inline std::uint64_t storageStride(std::uint64_t dimension, ArrayDimensionsView dimensions, DataOrdering ordering) {
    const bool isRowMajor = ordering == DataOrdering::RowMajor;
    const std::uint64_t end = isRowMajor ? dimensions.size() : dimension;
    std::uint64_t stride = 1;
    for (std::uint64_t k = isRowMajor ? dimension + 1 : 0; k < end; ++k) {
        stride *= dimensions[k];
    }
    return stride;
}

// Calls take(dimension, index) for the indices of the element at an offset in that ordering, the slowest dimension
// first. A dimension that is left out has the index 0. Does not allocate.
template <class Take>
void forEachIndex(std::uint64_t offset, ArrayDimensionsView dimensions, DataOrdering ordering, Take take) {
    const auto takeAlong = [&](std::uint64_t dimension) {
        const std::uint64_t stride = storageStride(dimension, dimensions, ordering);
        if (stride != 0) {
            take(dimension, offset / stride);
            offset %= stride;
        }
    };
    if (ordering == DataOrdering::RowMajor) {
        for (std::uint64_t k = 0; k < dimensions.size(); ++k) {
            takeAlong(k);
        }
        return;
    }
    for (std::uint64_t k = dimensions.size(); k-- > 0;) {
        // Deliberately only this ordering skips such dimensions: an excess lands in a longer one.
        if (dimensions[k] > 1) {
            takeAlong(k);
        }
    }
}

}  // namespace Internal
}  // namespace Quorvane::PYXCORE_PYX

#if !PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/indexing/ArrayIndexing_bodies.h>
#endif
