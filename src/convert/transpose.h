// Moves the elements of an array from one storage ordering to the other.
#pragma once

#include <pyx/indexing/index_walk.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace Quorvane::Pyx::Internal {

// One axis as seen from one of the storages.
struct StridedAxis {
    std::uint64_t length;
    std::uint64_t stride;
};

// Walks neighbouring axes as one: the offset of each position in the storage in which they are not the fastest ones.
class AxisWalk {
public:
    // The axes are given from the slowest to the fastest of the walk; there is at least one.
    explicit AxisWalk(std::vector<StridedAxis> axes) : axes_(std::move(axes)), indices_(axes_.size(), 0) {}

    std::uint64_t length() const {
        std::uint64_t length = 1;
        for (const StridedAxis& axis : axes_) {
            length *= axis.length;
        }
        return length;
    }

    // Writes the offsets of the next positions. Behind the last one the walk is at its first position again.
    void next(std::uint64_t* offsets, std::uint64_t count) {
        const StridedAxis fastest = axes_.back();
        while (count != 0) {
            const std::uint64_t run = std::min(count, fastest.length - indices_.back());
            const std::uint64_t first = offset_;
            for (std::uint64_t i = 0; i < run; ++i) {
                offsets[i] = first + i * fastest.stride;
            }
            offsets += run;
            count -= run;
            // Of the steps of a run only the last one can turn over to another axis.
            indices_.back() += run - 1;
            offset_ += (run - 1) * fastest.stride;
            advanceOdometer(
                indices_, [this](std::size_t k) { return axes_[k].length; },
                [this](std::size_t k, std::uint64_t steps) { offset_ += steps * axes_[k].stride; });
        }
    }

private:
    std::vector<StridedAxis> axes_;
    std::vector<std::uint64_t> indices_;
    std::uint64_t offset_ = 0;
};

// Transposes a matrix in tiles. `rows` gives the offset of each row in the source, where the columns are contiguous;
// `columns` gives the offset of each column in the target, where the rows are contiguous.
template <class T>
class MatrixTransposition {
public:
    MatrixTransposition(const T* source, T* target) : source_(source), target_(target) {}

    void run(AxisWalk rows, AxisWalk columns) {
        for (std::uint64_t column = 0; column < columns.length(); column += tileColumns) {
            const std::uint64_t columnCount = std::min(tileColumns, columns.length() - column);
            columns.next(columnOffsets_, columnCount);
            for (std::uint64_t row = 0; row < rows.length(); row += tileRows) {
                const std::uint64_t rowCount = std::min(tileRows, rows.length() - row);
                rows.next(rowOffsets_, rowCount);
                if (rowCount == tileRows && columnCount == tileColumns) {
                    moveTile(source_ + column, target_ + row);
                } else {
                    movePart(source_ + column, target_ + row, rowCount, columnCount);
                }
            }
        }
    }

private:
    // A tile fits the first-level cache, and holds runs of some cache lines in both directions.
    static constexpr std::uint64_t tileRows = 64;
    static constexpr std::uint64_t tileColumns = 256 / sizeof(T);

    // The buffer takes whole cache lines from the rows and gives whole runs to the columns: lines that are a power of
    // two apart compete for the same few places of the cache, and are touched only once this way.
    void moveTile(const T* source, T* target) {
        for (std::uint64_t row = 0; row < tileRows; ++row) {
            std::memcpy(tile_[row], source + rowOffsets_[row], sizeof(tile_[row]));
        }
        for (std::uint64_t column = 0; column < tileColumns; ++column) {
            T* const run = target + columnOffsets_[column];
            for (std::uint64_t row = 0; row < tileRows; ++row) {
                run[row] = tile_[row][column];
            }
        }
    }

    void movePart(const T* source, T* target, std::uint64_t rowCount, std::uint64_t columnCount) const {
        if (rowCount > columnCount) {
            for (std::uint64_t column = 0; column < columnCount; ++column) {
                const T* const from = source + column;
                T* const to = target + columnOffsets_[column];
                for (std::uint64_t row = 0; row < rowCount; ++row) {
                    to[row] = from[rowOffsets_[row]];
                }
            }
        } else {
            for (std::uint64_t row = 0; row < rowCount; ++row) {
                const T* const from = source + rowOffsets_[row];
                T* const to = target + row;
                for (std::uint64_t column = 0; column < columnCount; ++column) {
                    to[columnOffsets_[column]] = from[column];
                }
            }
        }
    }

    const T* const source_;
    T* const target_;
    std::uint64_t rowOffsets_[tileRows];
    std::uint64_t columnOffsets_[tileColumns];
    // In a union, so that elements which have a constructor are not constructed for nothing.
    union {
        T tile_[tileRows][tileColumns];
    };
};

// A dimension longer than one, with the strides that it has in the two storages.
struct TransposedAxis {
    std::uint64_t length;
    std::uint64_t sourceStride;
    std::uint64_t targetStride;
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

// Copies all elements of a row-major source to a column-major target of the same shape, in which no length is 0. For
// trivially copyable T. With the lengths in reverse order, the same copies from column-major to row-major.
template <class T>
void transpose(const T* source, T* target, const std::vector<std::uint64_t>& lengths) {
    const std::vector<TransposedAxis> axes = transposedAxes(lengths);
    if (axes.size() < 2) {
        std::memcpy(target, source, (axes.empty() ? 1 : axes[0].length) * sizeof(T));
        return;
    }
    // Any leading axes together make rows, which are contiguous in the target, and the others make columns, which are
    // contiguous in the source. As many lead as it takes for long runs.
    constexpr std::uint64_t longRun = 64;
    std::vector<StridedAxis> rows;
    std::vector<StridedAxis> columns;
    std::uint64_t rowCount = 1;
    for (const TransposedAxis& axis : axes) {
        if (rows.empty() || (rowCount < longRun && &axis != &axes.back())) {
            rowCount *= axis.length;
            rows.insert(rows.begin(), {axis.length, axis.sourceStride});
        } else {
            columns.push_back({axis.length, axis.targetStride});
        }
    }
    MatrixTransposition<T>(source, target).run(AxisWalk(std::move(rows)), AxisWalk(std::move(columns)));
}

}  // namespace Quorvane::Pyx::Internal
