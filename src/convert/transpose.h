// Moves the elements of an array from one storage ordering to the other.
#pragma once

#include <pyx/indexing/index_walk.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

namespace Quorvane::Pyx::Internal {

// Some neighbouring dimensions walked as one: the offset of each position in the storage in which they are not the
// fastest ones. One dimension alone needs no list of them.
class AxisGroup {
public:
    // The dimensions are given from the fastest to the slowest of the walk.
    template <class Iterator>
    AxisGroup(Iterator fastest, Iterator end) {
        stride_ = fastest->stride;
        length_ = fastest->length;
        if (std::next(fastest) == end) {
            return;
        }
        offsets_.assign(1, 0);
        for (length_ = 1; fastest != end; ++fastest) {
            offsets_.reserve(length_ * fastest->length);
            for (std::uint64_t i = length_; i < length_ * fastest->length; ++i) {
                offsets_.push_back(offsets_[i - length_] + fastest->stride);
            }
            length_ *= fastest->length;
        }
    }

    std::uint64_t length() const { return length_; }
    std::uint64_t offset(std::uint64_t position) const {
        return offsets_.empty() ? position * stride_ : offsets_[position];
    }

private:
    std::uint64_t length_;
    std::uint64_t stride_;
    std::vector<std::uint64_t> offsets_;
};

// A dimension longer than one, with the strides that it has in the two storages.
struct TransposedAxis {
    std::uint64_t length;
    std::uint64_t sourceStride;
    std::uint64_t targetStride;
};

// One axis as seen from one of the storages.
struct StridedAxis {
    std::uint64_t length;
    std::uint64_t stride;
};

// The axes of a row-major source and a column-major target, without those of length 1.
inline std::vector<TransposedAxis> transposedAxes(const std::vector<std::uint64_t>& lengths) {
    std::vector<TransposedAxis> axes;
    std::uint64_t stride = 1;
    for (const std::uint64_t length : lengths) {
        if (length != 1) {
            axes.push_back({length, 0, stride});
        }
        stride *= length;
    }
    stride = 1;
    for (auto axis = axes.rbegin(); axis != axes.rend(); ++axis) {
        axis->sourceStride = stride;
        stride *= axis->length;
    }
    return axes;
}

// Transposes a matrix in tiles. `rows` has the offset of each row in the source, where the columns are contiguous;
// `columns` has the offset of each column in the target, where the rows are contiguous.
template <class T>
void transposeMatrix(const T* source, const AxisGroup& rows, T* target, const AxisGroup& columns) {
    // A buffer takes whole cache lines from the rows and gives whole runs to the columns: lines that are a power of two
    // apart compete for the same few places of the cache, and are touched only once this way.
    constexpr std::uint64_t tile = 64;
    constexpr std::uint64_t line = std::max<std::uint64_t>(64 / sizeof(T), 4);
    T buffer[tile][line];
    for (std::uint64_t firstRow = 0; firstRow < rows.length(); firstRow += tile) {
        const std::uint64_t rowCount = std::min(tile, rows.length() - firstRow);
        for (std::uint64_t firstColumn = 0; firstColumn < columns.length(); firstColumn += line) {
            const std::uint64_t columnCount = std::min(line, columns.length() - firstColumn);
            for (std::uint64_t row = 0; row < rowCount; ++row) {
                std::memcpy(buffer[row], source + rows.offset(firstRow + row) + firstColumn, columnCount * sizeof(T));
            }
            for (std::uint64_t column = 0; column < columnCount; ++column) {
                T* const run = target + columns.offset(firstColumn + column) + firstRow;
                for (std::uint64_t row = 0; row < rowCount; ++row) {
                    run[row] = buffer[row][column];
                }
            }
        }
    }
}

// Copies all elements of a row-major source to a column-major target of the same shape, in which no length is 0. For
// trivially copyable T. With the lengths in reverse order, the same copies from column-major to row-major.
template <class T>
void transpose(const T* source, T* target, const std::vector<std::uint64_t>& lengths) {
    const std::vector<TransposedAxis> axes = transposedAxes(lengths);
    if (axes.size() < 2) {
        std::memcpy(target, source, (axes.empty() ? 1 : axes[0].length) * sizeof(T));
        return;
    }
    // Leading axes make rows, which are contiguous in the target, and trailing axes columns, contiguous in the source:
    // as many of each as it takes to fill a tile.
    constexpr std::uint64_t enough = 64;
    std::vector<StridedAxis> rowAxes{{axes.front().length, axes.front().sourceStride}};
    std::vector<StridedAxis> columnAxes{{axes.back().length, axes.back().targetStride}};
    std::size_t first = 1;
    std::size_t last = axes.size() - 1;
    for (std::uint64_t rows = axes.front().length; first < last && rows * axes[first].length <= enough; ++first) {
        rows *= axes[first].length;
        rowAxes.push_back({axes[first].length, axes[first].sourceStride});
    }
    for (std::uint64_t columns = axes.back().length; first < last && columns * axes[last - 1].length <= enough;
         --last) {
        columns *= axes[last - 1].length;
        columnAxes.push_back({axes[last - 1].length, axes[last - 1].targetStride});
    }
    const AxisGroup rows(rowAxes.begin(), rowAxes.end());
    const AxisGroup columns(columnAxes.begin(), columnAxes.end());

    std::vector<std::uint64_t> indices(last - first, 0);
    std::uint64_t sourceOffset = 0;
    std::uint64_t targetOffset = 0;
    const auto lengthOf = [&](std::size_t k) { return axes[first + k].length; };
    const auto move = [&](std::size_t k, std::uint64_t steps) {
        sourceOffset += steps * axes[first + k].sourceStride;
        targetOffset += steps * axes[first + k].targetStride;
    };
    do {
        transposeMatrix(source + sourceOffset, rows, target + targetOffset, columns);
    } while (advanceOdometer(indices, lengthOf, move));
}

}  // namespace Quorvane::Pyx::Internal
