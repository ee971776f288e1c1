// What a slice of an array selects, without a list of all offsets.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/types/standard_library.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Quorvane::Pyx {

// The order in which the elements of a slice are taken, whatever the ordering of the array.
enum class UseDataOrdering : std::uint32_t {
    WalkRowMajor = 0,      // the last dimension varies fastest
    WalkColumnMajor = 1,   // the first dimension varies fastest
    WalkDataOrdering = 2,  // as in the array's own ordering
};

namespace Internal {

// How far apart neighbours along a dimension are in storage.
inline std::uint64_t storageStride(std::uint64_t dimension, ArrayDimensionsView dimensions, DataOrdering ordering) {
    return ordering == DataOrdering::RowMajor ? ArrayIndexing::CalculateDimStrideRowMajor(dimension, dimensions)
                                              : ArrayIndexing::CalculateDimStrideColumnMajor(dimension, dimensions);
}

// The offset in storage of the element at a position in walk order, and its indices.
inline std::uint64_t storageOffset(std::uint64_t position, ArrayDimensionsView dimensions, DataOrdering walk,
                                   DataOrdering ordering, std::vector<std::uint64_t>& indices) {
    if (walk == DataOrdering::RowMajor) {
        ArrayIndexing::CalculateIndicesRowMajor(indices, position, dimensions, false);
    } else {
        ArrayIndexing::CalculateIndicesColumnMajor(indices, position, dimensions, false);
    }
    return ordering == DataOrdering::RowMajor ? ArrayIndexing::calculateOffsetRowMajor(indices, dimensions, false)
                                              : ArrayIndexing::calculateOffsetColumnMajor(indices, dimensions, false);
}

// The selected elements in walk order, as runs of evenly spaced storage offsets. Keeps nothing of the arguments. No
// offset appears twice. Knows nothing of element types.
class PYXCORE_STD_API SliceWalk {
public:
    // One set for each dimension: selects every combination of their positions. Raises std::invalid_argument:
    // "slice dimensions don't match ZVariant dimensions" for another number of sets, "slice dimensions are out of
    // bounds" for an item that is not valid for its dimension, "invalid UseDataOrdering" for an unknown walk, but
    // deliberately not in one dimension, where the walk is not looked at. Whatever an item raises passes, and positions
    // behind the end that an item of a client gives are std::out_of_range "Index value out-of-range".
    SliceWalk(const std::vector<IndexSet>& sets, ArrayDimensionsView dimensions, DataOrdering ordering,
              UseDataOrdering walk);

    // One set over all elements, which are counted in walk order. Raises std::out_of_range "Index value out-of-range"
    // for an item behind the end, an item's own failures, and std::invalid_argument "invalid UseDataOrdering". An array
    // without elements needs an empty set: an item is resolved unchecked there, and its offset means nothing.
    SliceWalk(const IndexSet& set, ArrayDimensionsView dimensions, DataOrdering ordering, UseDataOrdering walk);

    // The shape of the slice: a length for each dimension of the array, also where it is 1; from a flat set one length.
    const std::vector<std::uint64_t>& sliceDimensions() const noexcept { return sliceDimensions_; }
    std::uint64_t elementCount() const noexcept { return ArrayDimensionsView(sliceDimensions_).elementCount(); }

    // Calls visit(PositionRun) for the runs of offsets one after the other.
    template <class Visit>
    void forEachRun(Visit visit) const {
        if (countedDimensions_.empty()) {
            visitCombinations(visit);
        } else {
            visitCountedElements(visit);
        }
    }

private:
    using Axis = std::vector<PositionRun>;

    template <class Visit>
    void visitCombinations(Visit visit) const;

    template <class Visit>
    void visitCountedElements(Visit visit) const;

    std::vector<std::uint64_t> sliceDimensions_;
    // By how much the selected positions along each axis move the offset; the last axis varies fastest.
    std::vector<Axis> axes_;
    // For a flat slice whose walk is not in the array's own ordering: the shape of the array. The only axis then counts
    // elements in walk order.
    std::vector<std::uint64_t> countedDimensions_;
    DataOrdering walk_ = DataOrdering::RowMajor;
    DataOrdering ordering_ = DataOrdering::RowMajor;
};

template <class Visit>
void SliceWalk::visitCombinations(Visit visit) const {
    std::uint64_t left = elementCount();
    if (left == 0) {
        return;
    }
    struct Place {
        std::size_t run = 0;
        std::uint64_t position = 0;
    };
    std::vector<Place> places(axes_.size() - 1);
    std::uint64_t start = 0;
    for (std::size_t k = 0; k < places.size(); ++k) {
        start += axes_[k].front().first;
    }
    while (true) {
        for (const PositionRun& run : axes_.back()) {
            const std::uint64_t count = std::min(run.count, left);
            visit(PositionRun{start + run.first, run.step, count});
            left -= count;
            if (left == 0) {
                return;
            }
        }
        for (std::size_t k = places.size(); k-- > 0;) {
            const Axis& axis = axes_[k];
            Place& place = places[k];
            if (++place.position < axis[place.run].count) {
                start += axis[place.run].step;
                break;
            }
            start -= axis[place.run].last();
            place.position = 0;
            if (++place.run < axis.size()) {
                start += axis[place.run].first;
                break;
            }
            place.run = 0;
            start += axis.front().first;
        }
    }
}

// Each run is cut where it leaves the fastest dimension of the walk.
template <class Visit>
void SliceWalk::visitCountedElements(Visit visit) const {
    const ArrayDimensionsView dimensions = countedDimensions_;
    const std::uint64_t fastest = walk_ == DataOrdering::RowMajor ? dimensions.size() - 1 : 0;
    const std::uint64_t stride = storageStride(fastest, dimensions, ordering_);
    std::vector<std::uint64_t> indices;
    for (const PositionRun& run : axes_.front()) {
        for (std::uint64_t done = 0; done < run.count;) {
            const std::uint64_t offset =
                storageOffset(run.first + done * run.step, dimensions, walk_, ordering_, indices);
            const std::uint64_t room = std::max<std::uint64_t>(dimensions[fastest] - indices[fastest], 1);
            const std::uint64_t count = std::min(run.count - done, (room - 1) / run.step + 1);
            visit(PositionRun{offset, run.step * stride, count});
            done += count;
        }
    }
}

}  // namespace Internal
}  // namespace Quorvane::Pyx

#if !PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/indexing/SliceWalk_bodies.h>
#endif
