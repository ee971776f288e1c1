// Walks over the index tuples of a shape that carry offsets along instead of working them out.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Quorvane::PYXCORE_PYX::Internal {

// Steps an index tuple to the next one, the last dimension fastest; false when it is back at all zeros. Tells each move
// along a dimension k as a number of steps, which counts modulo 2^64 where an index falls back to 0.
template <class LengthOf, class Move>
bool advanceOdometer(std::vector<std::uint64_t>& indices, LengthOf lengthOf, Move move) {
    for (std::size_t k = indices.size(); k-- > 0;) {
        const std::uint64_t length = lengthOf(k);
        if (++indices[k] < length) {
            move(k, 1);
            return true;
        }
        indices[k] = 0;
        move(k, 1 - length);
    }
    return false;
}

// Calls visit(i, c) for the first `count` elements in row-major order, wrapping at the end of the shape: i counts them
// and c is the column-major offset of the same index tuple. No length may be 0.
template <class Visit>
void forEachInRowMajorOrder(ArrayDimensionsView dimensions, std::uint64_t count, Visit visit) {
    std::vector<std::uint64_t> indices(dimensions.size(), 0);
    std::vector<std::uint64_t> strides(dimensions.size());
    std::uint64_t stride = 1;
    for (std::size_t k = 0; k < strides.size(); ++k) {
        strides[k] = stride;
        stride *= dimensions[k];
    }
    std::uint64_t columnMajorOffset = 0;
    const auto lengthOf = [&](std::size_t k) { return dimensions[k]; };
    const auto move = [&](std::size_t k, std::uint64_t steps) { columnMajorOffset += steps * strides[k]; };
    for (std::uint64_t i = 0; i < count; ++i) {
        visit(i, columnMajorOffset);
        advanceOdometer(indices, lengthOf, move);
    }
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
