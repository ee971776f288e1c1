// Compiled once inside the library, and by each module that is built with another standard library.
#pragma once

#include <pyx/indexing/IndexSet.h>

#include <algorithm>
#include <iterator>
#include <typeinfo>

namespace Quorvane::PYXCORE_PYX {

namespace Internal {

inline std::unique_ptr<IndexItem> cloneItem(const IndexItem& item) {
    std::unique_ptr<IndexItem> copy = item.clone();
    if (copy == nullptr) {
        throw std::invalid_argument("An index item gave no copy of itself.");
    }
    return copy;
}

// Calls ask(item) with a copy of the item, as a client's own class may rely on. The library's own items never change,
// and are asked themselves.
template <class Ask>
auto askCopy(const IndexItem& item, Ask ask) {
    const bool isOwn = typeid(item) == typeid(IndexValue) || typeid(item) == typeid(IndexRange);
    return isOwn ? ask(item) : ask(*cloneItem(item));
}

}  // namespace Internal

PYXCORE_STD_BODY IndexSet::IndexSet(const IndexSet& other) {
    addCopies(other);
}

PYXCORE_STD_BODY IndexSet& IndexSet::operator=(const IndexSet& other) {
    return *this = IndexSet(other);
}

PYXCORE_STD_BODY void IndexSet::addCopy(const IndexItem& item) {
    items_.push_back(Internal::cloneItem(item));
}

PYXCORE_STD_BODY void IndexSet::addCopies(const IndexSet& other) {
    // The other set may be this one, and nothing may be added when a copy fails.
    IndexSet copies;
    for (const std::unique_ptr<IndexItem>& item : other.items_) {
        copies.addCopy(*item);
    }
    items_.insert(items_.end(), std::make_move_iterator(copies.items_.begin()),
                  std::make_move_iterator(copies.items_.end()));
}

PYXCORE_STD_BODY std::vector<std::uint64_t> IndexSet::sortedIndices(std::uint64_t length) const {
    std::vector<std::uint64_t> positions;
    for (const std::unique_ptr<IndexItem>& item : items_) {
        std::vector<std::uint64_t> more =
            Internal::askCopy(*item, [length](const IndexItem& asked) { return asked.indicesForDimension(length); });
        if (positions.empty()) {
            positions = std::move(more);
        } else {
            positions.insert(positions.end(), more.begin(), more.end());
        }
    }
    if (!std::is_sorted(positions.begin(), positions.end())) {
        std::sort(positions.begin(), positions.end());
    }
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return positions;
}

PYXCORE_STD_BODY std::set<std::uint64_t> IndexSet::uniqueIndices(std::uint64_t length) const {
    const std::vector<std::uint64_t> positions = sortedIndices(length);
    return {positions.begin(), positions.end()};
}

PYXCORE_STD_BODY std::vector<IndexSet> ArraySliceFromIndices(const std::vector<std::uint64_t>& indices) {
    return {indices.begin(), indices.end()};
}

}  // namespace Quorvane::PYXCORE_PYX
