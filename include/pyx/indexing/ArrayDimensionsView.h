// A non-owning view of an array's shape.
#pragma once

#include <pyx/types/export.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

// The lengths of an array's dimensions, in elements, dimension 0 first: in logical order, whatever the DataOrdering.
// A pointer and a count, passed by value; valid as long as the list that it looks at.
class ArrayDimensionsView {
public:
    constexpr ArrayDimensionsView() noexcept = default;
    constexpr ArrayDimensionsView(const std::uint64_t* lengths, std::uint64_t count) noexcept
        : lengths_(lengths), count_(count) {}
    ArrayDimensionsView(const std::vector<std::uint64_t>& lengths) noexcept
        : ArrayDimensionsView(lengths.data(), lengths.size()) {}
    // For arguments written in place, `{2, 3}`: such a view ends with the full expression.
    constexpr ArrayDimensionsView(std::initializer_list<std::uint64_t> lengths) noexcept
        : ArrayDimensionsView(lengths.begin(), lengths.size()) {}

    constexpr const std::uint64_t* begin() const noexcept { return lengths_; }
    constexpr const std::uint64_t* end() const noexcept { return lengths_ + count_; }
    // The rank.
    constexpr std::uint64_t size() const noexcept { return count_; }
    constexpr bool empty() const noexcept { return count_ == 0; }
    constexpr std::uint64_t operator[](std::uint64_t dimension) const noexcept { return lengths_[dimension]; }

    // The number of elements of the shape: the product of the lengths, which wraps, and 0 for no dimensions.
    constexpr std::uint64_t elementCount() const noexcept {
        if (empty()) {
            return 0;
        }
        std::uint64_t count = 1;
        for (const std::uint64_t length : *this) {
            count *= length;
        }
        return count;
    }

    std::vector<std::uint64_t> toVector() const { return {begin(), end()}; }

    friend bool operator==(ArrayDimensionsView left, ArrayDimensionsView right) noexcept {
        return std::equal(left.begin(), left.end(), right.begin(), right.end());
    }
    friend bool operator!=(ArrayDimensionsView left, ArrayDimensionsView right) noexcept { return !(left == right); }

private:
    const std::uint64_t* lengths_ = nullptr;
    std::uint64_t count_ = 0;
};

// Foreign callers pass the view as two plain words.
static_assert(sizeof(ArrayDimensionsView) == 16 && std::is_trivially_copyable_v<ArrayDimensionsView> &&
              std::is_standard_layout_v<ArrayDimensionsView>);

namespace Internal {

// Raises std::length_error unless the shape has so many elements.
inline void requireDataLength(ArrayDimensionsView dimensions, std::uint64_t length) {
    if (dimensions.elementCount() != length) {
        throw std::length_error("dimensions do not match data length");
    }
}

}  // namespace Internal
}  // namespace Quorvane::PYXCORE_PYX
