// Positions along one axis whose length is not known yet: one index or a strided run, from either end.
#pragma once

#include <pyx/types/standard_library.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

namespace Internal {

// An integer or an enumerator that counts as one.
template <class T>
inline constexpr bool isIndexInteger = (std::is_integral_v<T> ||
                                        (std::is_enum_v<T> && std::is_convertible_v<T, std::uint64_t>)) &&
                                       !std::is_same_v<T, bool>;

[[noreturn]] inline void throwNegative(long long number) {
    throw std::invalid_argument("An index, step or count must not be negative: " + std::to_string(number) +
                                ". Count from the end of an axis with `last - k` or IndexValue::fromEnd(k).");
}

// The value of an index, a step or a count. Refuses a negative number, which nowhere means `from the end`.
template <class Integer>
constexpr std::uint64_t requireNotNegative(Integer number) {
    if constexpr (std::is_signed_v<decltype(+number)>) {
        if (number < 0) {
            throwNegative(number);
        }
    }
    return static_cast<std::uint64_t>(number);
}

// The classes of the words `last` and `all`, which are no items, since constant items would need code at start-up in
// every file.
struct LastIndex {};
struct WholeAxis {};

// Evenly spaced positions: first, first + step, and so on. All three count elements.
struct PositionRun {
    std::uint64_t first;
    std::uint64_t step;
    std::uint64_t count;

    // The run has positions.
    constexpr std::uint64_t last() const noexcept { return first + (count - 1) * step; }
};

}  // namespace Internal

// What an IndexSet holds. Constant after its construction, so that several threads may use one item. Clients may derive
// classes of their own.
class PYXCORE_STD_API IndexItem {
public:
    virtual ~IndexItem() = default;

    // The positions on an axis of `length` elements. For a length of 0 ask isValidForDimension first. Raises
    // std::out_of_range "Index value out-of-range".
    virtual std::vector<std::uint64_t> indicesForDimension(std::uint64_t length) const = 0;

    // Whether the item selects from an axis of `length` elements; never on an axis without elements. Does not throw.
    virtual bool isValidForDimension(std::uint64_t length) const = 0;

    // A copy of the item's own class.
    virtual std::unique_ptr<IndexItem> clone() const = 0;

protected:
    IndexItem() = default;
    IndexItem(const IndexItem&) = default;
    IndexItem& operator=(const IndexItem&) = default;
};

// One position, counted from the first element or from the last one.
class PYXCORE_STD_API IndexValue final : public IndexItem {
public:
    // Implicit, so that a plain number is an index. Raises std::invalid_argument for a negative number.
    template <class Integer, std::enable_if_t<Internal::isIndexInteger<Integer>, int> = 0>
    constexpr IndexValue(Integer index, bool fromEnd = false)
        : index_(Internal::requireNotNegative(index)), fromEnd_(fromEnd) {}
    constexpr IndexValue(Internal::LastIndex) noexcept : index_(0), fromEnd_(true) {}

    // The position `distance` before the last one.
    template <class Integer>
    static IndexValue fromEnd(Integer distance) {
        return IndexValue(distance, true);
    }
    static IndexValue last() noexcept { return Internal::LastIndex(); }

    constexpr std::uint64_t index() const noexcept { return index_; }
    constexpr bool isFromEnd() const noexcept { return fromEnd_; }

    // On length 0 the index itself, or its complement from the end: the last position wraps.
    std::vector<std::uint64_t> indicesForDimension(std::uint64_t length) const override;
    bool isValidForDimension(std::uint64_t length) const override;
    std::unique_ptr<IndexItem> clone() const override;

    // The position on an axis of `length` elements, as indicesForDimension gives it.
    std::uint64_t position(std::uint64_t length) const;

private:
    std::uint64_t index_;
    bool fromEnd_;
};

// Every `step`-th position from `start` to `stop`, both inclusive. Runs forward only: from a start behind the stop it
// selects nothing, or fails as indicesForDimension says.
class PYXCORE_STD_API IndexRange final : public IndexItem {
public:
    // A whole axis.
    static const IndexRange all;

    // Raises std::invalid_argument for a negative step. A step of 0 is valid for no axis.
    template <class Integer = std::uint64_t, std::enable_if_t<Internal::isIndexInteger<Integer>, int> = 0>
    constexpr IndexRange(const IndexValue& start, const IndexValue& stop, Integer step = 1)
        : start_(start), stop_(stop), step_(Internal::requireNotNegative(step)) {}
    constexpr IndexRange(Internal::WholeAxis) noexcept : start_(0), stop_(Internal::LastIndex()), step_(1) {}

    constexpr const IndexValue& start() const noexcept { return start_; }
    constexpr const IndexValue& stop() const noexcept { return stop_; }
    constexpr std::uint64_t step() const noexcept { return step_; }

    // Raises std::length_error "vector too long" where (stop - start) / step + 1, which wraps, exceeds 2^61 - 1: for
    // most ranges that start behind their stop. Raises std::invalid_argument for a step of 0, and std::bad_alloc.
    std::vector<std::uint64_t> indicesForDimension(std::uint64_t length) const override;
    bool isValidForDimension(std::uint64_t length) const override;
    std::unique_ptr<IndexItem> clone() const override;

    // The positions that indicesForDimension lists, unlisted.
    Internal::PositionRun positions(std::uint64_t length) const;

private:
    IndexValue start_;
    IndexValue stop_;
    std::uint64_t step_;
};

}  // namespace Quorvane::PYXCORE_PYX

#if !PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/indexing/IndexItem_bodies.h>
#endif
