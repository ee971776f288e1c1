// The words in which slices are written: `grid.slice({last - 1, all})`.
#pragma once

#include <pyx/indexing/IndexItem.h>
#include <pyx/indexing/IndexSet.h>

#include <cstdint>
#include <type_traits>

namespace Quorvane::PYXCORE_PYX {

namespace Internal {

// The position `distance` before the last one.
template <class Integer, std::enable_if_t<isIndexInteger<Integer>, int> = 0>
IndexValue operator-(LastIndex, Integer distance) {
    return IndexValue::fromEnd(distance);
}

}  // namespace Internal

// May be imported alone. All of these raise std::invalid_argument for a negative number.
inline namespace IndexWords {

// The last position of an axis; `last - k` is the one k before it.
inline constexpr Internal::LastIndex last;

// All positions of an axis, which must have some.
inline constexpr Internal::WholeAxis all;

// Every `step`-th position from `first` to `stop`, both inclusive: seq(0, last, 2).
template <class Integer = unsigned, std::enable_if_t<Internal::isIndexInteger<Integer>, int> = 0>
IndexRange seq(const IndexValue& first, const IndexValue& stop, Integer step = 1) {
    return IndexRange(first, stop, step);
}

// The first `count` positions; none for 0.
template <class Integer, std::enable_if_t<Internal::isIndexInteger<Integer>, int> = 0>
IndexSet firstN(Integer count) {
    const std::uint64_t number = Internal::requireNotNegative(count);
    return number == 0 ? IndexSet() : IndexSet(IndexRange(0, number - 1));
}

// The last `count` positions; none for 0.
template <class Integer, std::enable_if_t<Internal::isIndexInteger<Integer>, int> = 0>
IndexSet lastN(Integer count) {
    const std::uint64_t number = Internal::requireNotNegative(count);
    return number == 0 ? IndexSet() : IndexSet(IndexRange(last - (number - 1), last));
}

}  // namespace IndexWords

}  // namespace Quorvane::PYXCORE_PYX
