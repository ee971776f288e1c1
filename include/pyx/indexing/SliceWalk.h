// What a slice of an array selects, without a list of all offsets.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/types/standard_library.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

// The order in which the elements of a slice are taken, whatever the ordering of the array.
enum class UseDataOrdering : std::uint32_t {
    WalkRowMajor = 0,      // the last dimension varies fastest
    WalkColumnMajor = 1,   // the first dimension varies fastest
    WalkDataOrdering = 2,  // as in the array's own ordering
};

namespace Internal {

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

    // Calls visit(PositionRun) for the runs of offsets one after the other. Does not allocate, so that a write cannot
    // run out of memory after its first element.
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
    // By how much the selected positions along each axis move the offset; the last axis varies fastest. All others have
    // at least two positions.
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
        std::size_t run;
        std::uint64_t position;
    };
    // Fewer than 2^64 elements do not move more than 64 axes of two positions.
    std::array<Place, 64> places;
    const std::size_t slowerAxes = axes_.size() - 1;
    const std::size_t movingAxes = std::min(slowerAxes, places.size());
    std::fill_n(places.begin(), movingAxes, Place{0, 0});
    const Axis* const moving = axes_.data() + (slowerAxes - movingAxes);
    std::uint64_t start = 0;
    for (std::size_t k = 0; k < slowerAxes; ++k) {
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
        for (std::size_t k = movingAxes; k-- > 0;) {
            const Axis& axis = moving[k];
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
    for (const PositionRun& run : axes_.front()) {
        for (std::uint64_t done = 0; done < run.count;) {
            std::uint64_t offset = 0;
            std::uint64_t fastestIndex = 0;
            forEachIndex(run.first + done * run.step, dimensions, walk_, [&](std::uint64_t k, std::uint64_t index) {
                offset += index * storageStride(k, dimensions, ordering_);
                fastestIndex = k == fastest ? index : fastestIndex;
            });
            const std::uint64_t room = std::max<std::uint64_t>(dimensions[fastest] - fastestIndex, 1);
            const std::uint64_t count = std::min(run.count - done, (room - 1) / run.step + 1);
            visit(PositionRun{offset, run.step * stride, count});
            done += count;
        }
    }
}

}  // namespace Internal
}  // namespace Quorvane::PYXCORE_PYX

#if !PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/indexing/SliceWalk_bodies.h>
#endif
