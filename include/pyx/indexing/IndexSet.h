// The positions along one axis that a slice selects.
#pragma once

#include <pyx/indexing/IndexItem.h>

#include <cstdint>
#include <memory>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

// Owns its items. Their order and what they have in common make no difference: every position is selected once, in
// ascending order. Without items it selects nothing. Several threads may use one set as long as nobody adds to it.
class PYXCORE_STD_API IndexSet {
public:
    // Whether add takes it: an integer, an IndexItem of any class, `last` and `all`, or a set.
    template <class Item>
    static constexpr bool isItem = Internal::isIndexInteger<Item> || std::is_base_of_v<IndexItem, Item> ||
                                   std::is_same_v<Item, Internal::LastIndex> ||
                                   std::is_same_v<Item, Internal::WholeAxis> || std::is_same_v<Item, IndexSet>;

    IndexSet() = default;
    IndexSet(const IndexSet& other);
    IndexSet(IndexSet&&) noexcept = default;
    IndexSet& operator=(const IndexSet& other);
    IndexSet& operator=(IndexSet&&) noexcept = default;
    ~IndexSet() = default;

    // Holds copies of the items; implicit, so that an index or a braced list of items is a set. Raises
    // std::invalid_argument for a negative number.
    template <class First, class... Others,
              std::enable_if_t<isItem<First> && (isItem<Others> && ...) &&
                                   (sizeof...(Others) != 0 || !std::is_same_v<First, IndexSet>),
                               int> = 0>
    IndexSet(const First& first, const Others&... others) {
        add(first);
        (add(others), ...);
    }

    // What only converts to a number, as a bool does, is no item: it would make a list of two items in braces a number
    // of sets.
    template <class T, std::enable_if_t<!isItem<T> && std::is_convertible_v<T, std::uint64_t>, int> = 0>
    IndexSet(const T&) = delete;

    // Adds a copy of the item, or of each item of a set. Raises std::invalid_argument for a negative number, and for an
    // item of a client that clones to nothing.
    template <class Item, std::enable_if_t<isItem<Item>, int> = 0>
    IndexSet& add(const Item& item) {
        if constexpr (std::is_same_v<Item, IndexSet>) {
            addCopies(item);
        } else if constexpr (std::is_base_of_v<IndexItem, Item>) {
            addCopy(item);
        } else if constexpr (std::is_same_v<Item, Internal::WholeAxis>) {
            items_.push_back(std::make_unique<IndexRange>(item));
        } else {
            items_.push_back(std::make_unique<IndexValue>(item));
        }
        return *this;
    }

    // In the order in which they were added; none is null.
    const std::vector<std::unique_ptr<IndexItem>>& items() const noexcept { return items_; }

    // The selected positions on an axis of `length` elements. Raises what indicesForDimension of an item raises; where
    // the length may be 0, ask the items whether they are valid first.
    std::set<std::uint64_t> uniqueIndices(std::uint64_t length) const;

    // The same in ascending order, which costs much less.
    std::vector<std::uint64_t> sortedIndices(std::uint64_t length) const;

private:
    void addCopy(const IndexItem& item);
    void addCopies(const IndexSet& other);

    std::vector<std::unique_ptr<IndexItem>> items_;
};

// The slice of the one element at `indices`: a set with one IndexValue for each.
PYXCORE_STD_API std::vector<IndexSet> ArraySliceFromIndices(const std::vector<std::uint64_t>& indices);

}  // namespace Quorvane::PYXCORE_PYX

#if !PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/indexing/IndexSet_bodies.h>
#endif
