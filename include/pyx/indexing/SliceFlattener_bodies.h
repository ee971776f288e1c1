// Compiled once inside the library, and by each module that is built with another standard library.
#pragma once

#include <pyx/indexing/SliceFlattener.h>

#include <new>

namespace Quorvane::PYXCORE_PYX::Internal {

PYXCORE_STD_BODY SliceFlattener::SliceFlattener(const SliceWalk& walk) : sliceDimensions(walk.sliceDimensions()) {
    const std::uint64_t count = walk.elementCount();
    if (count > offsets.max_size()) {
        throw std::bad_alloc();
    }
    offsets.resize(count);
    std::uint64_t* next = offsets.data();
    walk.forEachRun([&](const PositionRun& run) {
        for (std::uint64_t i = 0; i < run.count; ++i) {
            *next++ = run.first + i * run.step;
        }
    });
}

PYXCORE_STD_BODY SliceFlattener::SliceFlattener(const std::vector<IndexSet>& sets, ArrayDimensionsView dimensions,
                                                DataOrdering ordering, UseDataOrdering walk)
    : SliceFlattener(SliceWalk(sets, dimensions, ordering, walk)) {}

PYXCORE_STD_BODY SliceFlattener::SliceFlattener(const IndexSet& set, ArrayDimensionsView dimensions,
                                                DataOrdering ordering, UseDataOrdering walk)
    : SliceFlattener(SliceWalk(set, dimensions, ordering, walk)) {}

}  // namespace Quorvane::PYXCORE_PYX::Internal
