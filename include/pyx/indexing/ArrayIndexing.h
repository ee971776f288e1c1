// The arithmetic between index tuples and flat element offsets.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/types/standard_library.h>

#include <cstdint>
#include <vector>

namespace Quorvane::Pyx {

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

}  // namespace Quorvane::Pyx

#if !PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/indexing/ArrayIndexing_bodies.h>
#endif
