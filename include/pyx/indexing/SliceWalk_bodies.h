// Compiled once inside the library, and by each module that is built with another standard library.
#pragma once

#include <pyx/indexing/IndexSet_bodies.h>
#include <pyx/indexing/SliceWalk.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Quorvane::PYXCORE_PYX::Internal {

// Ascending positions as few runs.
inline std::vector<PositionRun> findRuns(const std::vector<std::uint64_t>& positions) {
    std::vector<PositionRun> runs;
    for (std::size_t i = 0; i < positions.size();) {
        std::size_t end = i + 1;
        const std::uint64_t step = end < positions.size() ? positions[end] - positions[i] : 1;
        while (end < positions.size() && positions[end] - positions[end - 1] == step) {
            ++end;
        }
        runs.push_back({positions[i], step, end - i});
        i = end;
    }
    return runs;
}

inline std::vector<PositionRun> resolveRuns(const IndexSet& set, std::uint64_t length) {
    const auto* const onlyRange =
        set.items().size() == 1 ? dynamic_cast<const IndexRange*>(set.items().front().get()) : nullptr;
    if (onlyRange == nullptr) {
        return findRuns(set.sortedIndices(length));
    }
    const PositionRun run = onlyRange->positions(length);
    return run.count == 0 ? std::vector<PositionRun>() : std::vector<PositionRun>{run};
}

inline std::uint64_t countPositions(const std::vector<PositionRun>& runs) {
    std::uint64_t count = 0;
    for (const PositionRun& run : runs) {
        count += run.count;
    }
    return count;
}

inline void scaleRuns(std::vector<PositionRun>& runs, std::uint64_t factor) {
    for (PositionRun& run : runs) {
        run.first *= factor;
        run.step *= factor;
    }
}

// Only an item of a client's own class can select a position behind the end of an axis for which it claims to be valid.
inline void requireInside(const std::vector<PositionRun>& runs, std::uint64_t length) {
    if (!runs.empty() && runs.back().last() >= length) {
        throw std::out_of_range("Index value out-of-range");
    }
}

inline bool isOnePosition(const std::vector<PositionRun>& runs) {
    return runs.size() == 1 && runs.front().count == 1;
}

inline void shiftRuns(std::vector<PositionRun>& runs, std::uint64_t distance) {
    for (PositionRun& run : runs) {
        run.first += distance;
    }
}

// Makes the two axes one, of which `inner` varies faster, where one of them is a single position or both together are
// one run; whether they are.
inline bool joinAxes(std::vector<PositionRun>& inner, std::vector<PositionRun>& outer) {
    if (isOnePosition(inner)) {
        inner.swap(outer);
    }
    if (isOnePosition(outer)) {
        shiftRuns(inner, outer.front().first);
        return true;
    }
    if (inner.size() != 1 || outer.size() != 1) {
        return false;
    }
    PositionRun& run = inner.front();
    const PositionRun& repeated = outer.front();
    const bool countsWrap = run.count > std::numeric_limits<std::uint64_t>::max() / repeated.count;
    if (countsWrap || repeated.step != run.step * run.count) {
        return false;
    }
    run.first += repeated.first;
    run.count *= repeated.count;
    return true;
}

inline DataOrdering orderingOfWalk(UseDataOrdering walk, DataOrdering ordering) {
    switch (walk) {
        case UseDataOrdering::WalkRowMajor:
            return DataOrdering::RowMajor;
        case UseDataOrdering::WalkColumnMajor:
            return DataOrdering::ColumnMajor;
        case UseDataOrdering::WalkDataOrdering:
            return ordering;
    }
    throw std::invalid_argument("invalid UseDataOrdering");
}

PYXCORE_STD_BODY SliceWalk::SliceWalk(const std::vector<IndexSet>& sets, ArrayDimensionsView dimensions,
                                      DataOrdering ordering, UseDataOrdering walk) {
    if (sets.size() != dimensions.size()) {
        throw std::invalid_argument("slice dimensions don't match ZVariant dimensions");
    }
    std::vector<Axis> axes;
    for (std::size_t k = 0; k < sets.size(); ++k) {
        for (const std::unique_ptr<IndexItem>& item : sets[k].items()) {
            if (!askCopy(*item, [&](const IndexItem& asked) { return asked.isValidForDimension(dimensions[k]); })) {
                throw std::invalid_argument("slice dimensions are out of bounds");
            }
        }
        axes.push_back(resolveRuns(sets[k], dimensions[k]));
        requireInside(axes.back(), dimensions[k]);
        sliceDimensions_.push_back(countPositions(axes.back()));
    }
    if (axes.size() == 1) {
        axes_ = std::move(axes);
        return;
    }
    const DataOrdering walkOrdering = orderingOfWalk(walk, ordering);
    for (std::size_t k = 0; k < axes.size(); ++k) {
        scaleRuns(axes[k], storageStride(k, dimensions, ordering));
    }
    if (walkOrdering == DataOrdering::RowMajor) {
        std::reverse(axes.begin(), axes.end());
    }
    for (Axis& axis : axes) {
        if (axes_.empty() || !joinAxes(axes_.back(), axis)) {
            axes_.push_back(std::move(axis));
        }
    }
    std::reverse(axes_.begin(), axes_.end());
}

PYXCORE_STD_BODY SliceWalk::SliceWalk(const IndexSet& set, ArrayDimensionsView dimensions, DataOrdering ordering,
                                      UseDataOrdering walk) {
    const std::uint64_t elementCount = dimensions.elementCount();
    axes_.push_back(resolveRuns(set, elementCount));
    if (elementCount != 0) {
        requireInside(axes_.front(), elementCount);
    }
    sliceDimensions_.push_back(countPositions(axes_.front()));
    const DataOrdering walkOrdering = orderingOfWalk(walk, ordering);
    const auto longDimensions =
        std::count_if(dimensions.begin(), dimensions.end(), [](std::uint64_t length) { return length >= 2; });
    const bool isOneRow = elementCount != 0 && longDimensions <= 1;
    if (isOneRow || walkOrdering == ordering) {
        return;
    }
    if (dimensions.empty()) {
        scaleRuns(axes_.front(), 0);
        return;
    }
    countedDimensions_ = dimensions.toVector();
    walk_ = walkOrdering;
    ordering_ = ordering;
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
