// The storage offsets of all elements that a slice of an array selects.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceWalk.h>
#include <pyx/types/standard_library.h>

#include <cstdint>
#include <vector>

namespace Quorvane::PYXCORE_PYX::Internal {

// A SliceWalk, which has the contract of the arguments, written out as a list. The list raises std::bad_alloc where no
// vector is long enough.
class PYXCORE_STD_API SliceFlattener {
public:
    SliceFlattener(const std::vector<IndexSet>& sets, ArrayDimensionsView dimensions, DataOrdering ordering,
                   UseDataOrdering walk);

    SliceFlattener(const IndexSet& set, ArrayDimensionsView dimensions, DataOrdering ordering, UseDataOrdering walk);

    // Element i of the slice in walk order stands this many elements from the start of the array's storage.
    std::vector<std::uint64_t> offsets;

    // The shape of the slice: a length for each dimension of the array, also where it is 1; from a flat set one length.
    std::vector<std::uint64_t> sliceDimensions;

private:
    explicit SliceFlattener(const SliceWalk& walk);
};

}  // namespace Quorvane::PYXCORE_PYX::Internal

#if !PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/indexing/SliceFlattener_bodies.h>
#endif
