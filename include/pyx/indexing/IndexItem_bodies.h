// Compiled once inside the library, and by each module that is built with another standard library.
#pragma once

#include <pyx/indexing/IndexItem.h>

#include <new>

namespace Quorvane::PYXCORE_PYX {

PYXCORE_STD_BODY const IndexRange IndexRange::all = Internal::WholeAxis();

PYXCORE_STD_BODY std::uint64_t IndexValue::position(std::uint64_t length) const {
    const std::uint64_t last = length - 1;
    if (index_ > last) {
        throw std::out_of_range("Index value out-of-range");
    }
    return fromEnd_ ? last - index_ : index_;
}

PYXCORE_STD_BODY std::vector<std::uint64_t> IndexValue::indicesForDimension(std::uint64_t length) const {
    return {position(length)};
}

PYXCORE_STD_BODY bool IndexValue::isValidForDimension(std::uint64_t length) const {
    return index_ < length;
}

PYXCORE_STD_BODY std::unique_ptr<IndexItem> IndexValue::clone() const {
    return std::make_unique<IndexValue>(*this);
}

PYXCORE_STD_BODY Internal::PositionRun IndexRange::positions(std::uint64_t length) const {
    const std::uint64_t first = start_.position(length);
    const std::uint64_t last = stop_.position(length);
    if (step_ == 0) {
        throw std::invalid_argument("The step of an index range must not be 0.");
    }
    // Deliberately before the ends are compared: a range that starts behind its stop has a count that wraps, and fails
    // where that is too large.
    const std::uint64_t count = (last - first) / step_ + 1;
    constexpr std::uint64_t longestVector = 0x1FFF'FFFF'FFFF'FFFF;
    if (count > longestVector) {
        throw std::length_error("vector too long");
    }
    if (first > last) {
        return {first, step_, 0};
    }
    // All 2^64 positions, which no memory holds.
    if (count == 0) {
        throw std::bad_alloc();
    }
    return {first, step_, count};
}

PYXCORE_STD_BODY std::vector<std::uint64_t> IndexRange::indicesForDimension(std::uint64_t length) const {
    const Internal::PositionRun run = positions(length);
    std::vector<std::uint64_t> listed;
    if (run.count > listed.max_size()) {
        throw std::bad_alloc();
    }
    listed.resize(run.count);
    for (std::uint64_t i = 0; i < run.count; ++i) {
        listed[i] = run.first + i * run.step;
    }
    return listed;
}

PYXCORE_STD_BODY bool IndexRange::isValidForDimension(std::uint64_t length) const {
    return start_.isValidForDimension(length) && stop_.isValidForDimension(length) && step_ != 0;
}

PYXCORE_STD_BODY std::unique_ptr<IndexItem> IndexRange::clone() const {
    return std::make_unique<IndexRange>(*this);
}

}  // namespace Quorvane::PYXCORE_PYX
