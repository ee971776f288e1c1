// Compiled once inside the library, and by each module that is built with another standard library.
#pragma once

#include <pyx/indexing/ArrayIndexing.h>

#include <algorithm>
#include <functional>
#include <stdexcept>

namespace Quorvane::PYXCORE_PYX {

namespace Internal {

inline void checkIndices(const std::vector<std::uint64_t>& indices, ArrayDimensionsView dimensions, bool checkBounds) {
    if (indices.size() != dimensions.size()) {
        throw std::invalid_argument("Wrong number of indices.");
    }
    if (checkBounds && !std::equal(indices.begin(), indices.end(), dimensions.begin(), std::less<>())) {
        throw std::out_of_range("Indices out of bounds.");
    }
}

inline void checkOffset(std::uint64_t offset, ArrayDimensionsView dimensions, bool checkBounds) {
    if (checkBounds && offset >= dimensions.elementCount()) {
        // Deliberately the text and class of a count error: callers tell the two directions apart by it.
        throw std::invalid_argument("Too few indices.");
    }
}

inline void calculateIndices(std::vector<std::uint64_t>& indices, std::uint64_t offset, ArrayDimensionsView dimensions,
                             DataOrdering ordering, bool checkBounds) {
    indices.clear();
    checkOffset(offset, dimensions, checkBounds);
    indices.resize(dimensions.size());
    forEachIndex(offset, dimensions, ordering, [&](std::uint64_t k, std::uint64_t index) { indices[k] = index; });
}

}  // namespace Internal

PYXCORE_STD_BODY ArrayIndexing& ArrayIndexing::operator=(const ArrayIndexing&) noexcept {
    return *this;
}

PYXCORE_STD_BODY ArrayIndexing& ArrayIndexing::operator=(ArrayIndexing&&) noexcept {
    return *this;
}

PYXCORE_STD_BODY std::uint64_t ArrayIndexing::calculateOffsetColumnMajor(const std::vector<std::uint64_t>& indices,
                                                                         ArrayDimensionsView dimensions,
                                                                         bool checkBounds) {
    Internal::checkIndices(indices, dimensions, checkBounds);
    std::uint64_t offset = 0;
    std::uint64_t stride = 1;
    for (std::uint64_t k = 0; k < dimensions.size(); ++k) {
        offset += indices[k] * stride;
        stride *= dimensions[k];
    }
    return offset;
}

PYXCORE_STD_BODY std::uint64_t ArrayIndexing::calculateOffsetRowMajor(const std::vector<std::uint64_t>& indices,
                                                                      ArrayDimensionsView dimensions,
                                                                      bool checkBounds) {
    Internal::checkIndices(indices, dimensions, checkBounds);
    std::uint64_t offset = 0;
    std::uint64_t stride = 1;
    for (std::uint64_t k = dimensions.size(); k-- > 0;) {
        offset += indices[k] * stride;
        stride *= dimensions[k];
    }
    return offset;
}

PYXCORE_STD_BODY void ArrayIndexing::CalculateIndicesColumnMajor(std::vector<std::uint64_t>& indices,
                                                                 std::uint64_t offset, ArrayDimensionsView dimensions,
                                                                 bool checkBounds) {
    Internal::calculateIndices(indices, offset, dimensions, DataOrdering::ColumnMajor, checkBounds);
}

PYXCORE_STD_BODY void ArrayIndexing::CalculateIndicesRowMajor(std::vector<std::uint64_t>& indices, std::uint64_t offset,
                                                              ArrayDimensionsView dimensions, bool checkBounds) {
    Internal::calculateIndices(indices, offset, dimensions, DataOrdering::RowMajor, checkBounds);
}

PYXCORE_STD_BODY std::uint64_t ArrayIndexing::CalculateDimStrideColumnMajor(std::uint64_t dimension,
                                                                            ArrayDimensionsView dimensions) {
    return dimension < dimensions.size() ? Internal::storageStride(dimension, dimensions, DataOrdering::ColumnMajor)
                                         : 0;
}

PYXCORE_STD_BODY std::uint64_t ArrayIndexing::CalculateDimStrideRowMajor(std::uint64_t dimension,
                                                                         ArrayDimensionsView dimensions) {
    return dimension < dimensions.size() ? Internal::storageStride(dimension, dimensions, DataOrdering::RowMajor) : 0;
}

}  // namespace Quorvane::PYXCORE_PYX
