// Moves the elements of an array from one storage ordering to the other.
#pragma once

#include <pyx/indexing/index_walk.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
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
            std::uint64_t offset = offset_;
            for (std::uint64_t i = 0; i < run; ++i) {
                offsets[i] = offset;
                offset += fastest.stride;
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

#if defined(__has_builtin)
#if __has_builtin(__builtin_shufflevector)
#define PYXCORE_HAS_SHUFFLES
#endif
#endif

// Transposes the smallest square of elements whose rows fill a vector register; where there is none, one element.
template <class T>
class SquareTransposition {
#ifdef PYXCORE_HAS_SHUFFLES
    static constexpr bool fitsVectors = sizeof(T) < 16 && 16 % sizeof(T) == 0;
#else
    static constexpr bool fitsVectors = false;
#endif

public:
    static constexpr std::size_t length = fitsVectors ? 16 / sizeof(T) : 1;

    // Row i starts at source + rowOffsets[i], and becomes the elements at target + i + columnOffsets[...].
    static void move(const T* source, const std::uint64_t* rowOffsets, T* target, const std::uint64_t* columnOffsets) {
        if constexpr (fitsVectors) {
            moveInRegisters(source, rowOffsets, target, columnOffsets);
        } else {
            target[columnOffsets[0]] = source[rowOffsets[0]];
        }
    }

private:
#ifdef PYXCORE_HAS_SHUFFLES
    typedef unsigned char Vector __attribute__((vector_size(16)));

    static void moveInRegisters(const T* source, const std::uint64_t* rowOffsets, T* target,
                                const std::uint64_t* columnOffsets) {
        Vector rows[length];
        for (std::size_t i = 0; i < length; ++i) {
            std::memcpy(&rows[i], source + rowOffsets[i], sizeof(Vector));
        }
        // To interleave one half of the rows with the other turns the place of each element, its row and column written
        // as one number, by a bit. After as many times as the length has bits, what counted rows counts columns.
        for (std::size_t turned = 1; turned < length; turned *= 2) {
            interleaveHalves(rows, std::make_index_sequence<sizeof(Vector)>());
        }
        for (std::size_t i = 0; i < length; ++i) {
            std::memcpy(static_cast<void*>(target + columnOffsets[i]), &rows[i], sizeof(Vector));
        }
    }

    template <std::size_t... byte>
    static void interleaveHalves(Vector (&rows)[length], std::index_sequence<byte...>) {
        Vector interleaved[length];
        for (std::size_t i = 0; i < length / 2; ++i) {
            const Vector first = rows[i];
            const Vector second = rows[i + length / 2];
            interleaved[2 * i] = __builtin_shufflevector(first, second, interleavedByte(byte)...);
            interleaved[2 * i + 1] = __builtin_shufflevector(first, second, interleavedByte(byte + sizeof(Vector))...);
        }
        std::copy_n(interleaved, length, rows);
    }

    // Which byte of two vectors, counted through both, is at this place when their elements alternate.
    static constexpr int interleavedByte(std::size_t place) {
        const std::size_t element = place / sizeof(T);
        return static_cast<int>(element % 2 * sizeof(Vector) + element / 2 * sizeof(T) + place % sizeof(T));
    }
#endif
};

// Transposes a matrix. `rows` gives the offset of each row in the source, where the columns are contiguous; `columns`
// gives the offset of each column in the target, where the rows are contiguous.
template <class T>
class MatrixTransposition {
public:
    MatrixTransposition(const T* source, T* target) : source_(source), target_(target) {}

    void run(AxisWalk rows, AxisWalk columns) {
        for (std::uint64_t row = 0; row < rows.length(); row += partLength) {
            const std::uint64_t rowCount = std::min(partLength, rows.length() - row);
            rows.next(rowOffsets_, rowCount);
            for (std::uint64_t column = 0; column < columns.length(); column += partLength) {
                const std::uint64_t columnCount = std::min(partLength, columns.length() - column);
                columns.next(columnOffsets_, columnCount);
                movePart(source_ + column, target_ + row, rowCount, columnCount);
            }
        }
    }

private:
    // Long enough that it costs little to walk the axes of a part.
    static constexpr std::uint64_t partLength = 64;
    // A tile holds whole cache lines in both directions, and so few that they stay in the cache where they compete for
    // the same few places, as lines do that are a power of two apart.
    static constexpr std::uint64_t tileLength = sizeof(T) <= 8 ? 16 : 8;

    void movePart(const T* source, T* target, std::uint64_t rowCount, std::uint64_t columnCount) const {
        const std::uint64_t rowsInTiles = rowCount - rowCount % tileLength;
        const std::uint64_t columnsInTiles = columnCount - columnCount % tileLength;
        for (std::uint64_t row = 0; row < rowsInTiles; row += tileLength) {
            for (std::uint64_t column = 0; column < columnsInTiles; column += tileLength) {
                moveTile(source, target, row, column);
            }
        }
        moveElements(source, target, 0, rowCount, columnsInTiles, columnCount);
        moveElements(source, target, rowsInTiles, rowCount, 0, columnsInTiles);
    }

    void moveTile(const T* source, T* target, std::uint64_t firstRow, std::uint64_t firstColumn) const {
        using Square = SquareTransposition<T>;
        for (std::uint64_t column = firstColumn; column < firstColumn + tileLength; column += Square::length) {
            for (std::uint64_t row = firstRow; row < firstRow + tileLength; row += Square::length) {
                Square::move(source + column, rowOffsets_ + row, target + row, columnOffsets_ + column);
            }
        }
    }

    // The longer side is the inner loop.
    void moveElements(const T* source, T* target, std::uint64_t firstRow, std::uint64_t rowEnd,
                      std::uint64_t firstColumn, std::uint64_t columnEnd) const {
        if (rowEnd - firstRow > columnEnd - firstColumn) {
            for (std::uint64_t column = firstColumn; column < columnEnd; ++column) {
                moveColumn(source + column, target + columnOffsets_[column], firstRow, rowEnd);
            }
        } else {
            for (std::uint64_t row = firstRow; row < rowEnd; ++row) {
                const T* const from = source + rowOffsets_[row];
                T* const to = target + row;
                for (std::uint64_t column = firstColumn; column < columnEnd; ++column) {
                    to[columnOffsets_[column]] = from[column];
                }
            }
        }
    }

    // Four at a time, since a loop over single elements takes up to twice as long for how its code happens to lie.
    void moveColumn(const T* source, T* target, std::uint64_t firstRow, std::uint64_t rowEnd) const {
        std::uint64_t row = firstRow;
        for (; rowEnd - row >= 4; row += 4) {
            const T first = source[rowOffsets_[row]];
            const T second = source[rowOffsets_[row + 1]];
            const T third = source[rowOffsets_[row + 2]];
            const T fourth = source[rowOffsets_[row + 3]];
            target[row] = first;
            target[row + 1] = second;
            target[row + 2] = third;
            target[row + 3] = fourth;
        }
        for (; row < rowEnd; ++row) {
            target[row] = source[rowOffsets_[row]];
        }
    }

    const T* const source_;
    T* const target_;
    std::uint64_t rowOffsets_[partLength];
    std::uint64_t columnOffsets_[partLength];
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

// A matrix of a few columns, their number known to the compiler, which then interleaves vectors of neighbouring rows.
template <std::size_t columns, class T>
void transposeFewColumns(const T* __restrict source, T* __restrict target, std::uint64_t rows) {
    for (std::uint64_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            target[column * rows + row] = source[row * columns + column];
        }
    }
}

template <std::size_t rows, class T>
void transposeFewRows(const T* __restrict source, T* __restrict target, std::uint64_t columns) {
    for (std::uint64_t column = 0; column < columns; ++column) {
        for (std::size_t row = 0; row < rows; ++row) {
            target[column * rows + row] = source[row * columns + column];
        }
    }
}

// Calls visit with the number as a constant of the compiler when it is as few as points have coordinates, and tells
// whether it is.
template <class Visit>
bool visitFew(std::uint64_t number, Visit visit) {
    switch (number) {
        case 2:
            visit(std::integral_constant<std::size_t, 2>());
            return true;
        case 3:
            visit(std::integral_constant<std::size_t, 3>());
            return true;
        case 4:
            visit(std::integral_constant<std::size_t, 4>());
            return true;
    }
    return false;
}

// Transposes a matrix with few rows or columns; false, without effect, for any other.
template <class T>
bool transposeNarrow(const T* source, T* target, std::uint64_t rows, std::uint64_t columns) {
    return visitFew(columns, [=](auto few) { transposeFewColumns<few.value>(source, target, rows); }) ||
           visitFew(rows, [=](auto few) { transposeFewRows<few.value>(source, target, columns); });
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
    if (axes.size() == 2 && transposeNarrow(source, target, axes[0].length, axes[1].length)) {
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
