// Index sets: what they select and refuse, and the offsets and the checks of slices.
#include "values.h"

#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceFlattener.h>
#include <pyx/indexing/index_words.h>

#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <set>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using Internal::SliceFlattener;
using Positions = std::vector<std::uint64_t>;

constexpr auto walkColumns = UseDataOrdering::WalkColumnMajor;
constexpr auto walkData = UseDataOrdering::WalkDataOrdering;
constexpr auto unknownWalk = static_cast<UseDataOrdering>(7);
constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();

// An item that does not keep what it promises.
struct PastTheEnd : IndexItem {
    Positions indicesForDimension(std::uint64_t length) const override { return {length}; }
    bool isValidForDimension(std::uint64_t) const override { return true; }
    std::unique_ptr<IndexItem> clone() const override { return std::make_unique<PastTheEnd>(); }
};

// Gives its set a copy, which gives no further one.
struct CopiedOnce : PastTheEnd {
    explicit CopiedOnce(bool isInSet = false) : fails(isInSet) {}
    std::unique_ptr<IndexItem> clone() const override {
        return fails ? throw std::domain_error("copied") : std::make_unique<CopiedOnce>(true);
    }
    const bool fails;
};

struct WithoutCopy : PastTheEnd {
    std::unique_ptr<IndexItem> clone() const override { return nullptr; }
};

// Otherwise `{true, 1}` and `{axis, 1}` would be lists of as many sets, all of them {1}.
enum Axis { axisOfTime = 2 };
static_assert(std::is_convertible_v<Axis, IndexSet> && std::is_convertible_v<int, IndexSet>);
static_assert(!std::is_convertible_v<bool, IndexSet> && !std::is_convertible_v<double, IndexSet>);
static_assert(!std::is_constructible_v<std::vector<IndexSet>, std::initializer_list<bool>>);

TEST(IndexSet, SelectsAscendingPositionsOnce) {
    const struct {
        IndexSet set;
        std::uint64_t length;
        Positions positions;
    } cases[] = {
        {last - 4, 5, {0}},
        {IndexValue::fromEnd(2), 5, {2}},
        {IndexRange::all, 1, {0}},
        {IndexRange(1, 8, 3), 10, {1, 4, 7}},
        {seq(last - 2, last), 10, {7, 8, 9}},
        {{seq(0, 5), 3}, 10, {0, 1, 2, 3, 4, 5}},
        {{last, 0u, last, IndexSet{axisOfTime, 1}}, 4, {0, 1, 2, 3}},
        {firstN(2), 4, {0, 1}},
        {{lastN(3), firstN(0), lastN(0u)}, 4, {1, 2, 3}},
        // Behind the stop: no position where the count wraps to 0, or where it is not too large.
        {seq(4, 3), 10, {}},
        {seq(8, 1, 1000), 10, {}},
        // The next position would wrap.
        {seq(maximum - 3, maximum - 1, 2), maximum, {maximum - 3, maximum - 1}},
        // No elements: the last position wraps.
        {{4, last - 1}, 0, {4, maximum - 1}},
    };
    for (const auto& [set, length, positions] : cases) {
        IndexSet copy = 0;
        copy = set;
        copy.add(copy);
        EXPECT_EQ(copy.items().size(), 2 * set.items().size());
        EXPECT_EQ(copy.sortedIndices(length), positions);
        EXPECT_EQ(set.uniqueIndices(length), std::set<std::uint64_t>(positions.begin(), positions.end()));
    }
}

TEST(IndexSet, RefusesWhatItCannotSelect) {
    for (const IndexSet& outside : {IndexSet(5), IndexSet(last - 5), IndexSet(seq(0, 5)), IndexSet(seq(5, 0))}) {
        EXPECT_RAISES(std::out_of_range, "Index value out-of-range", outside.sortedIndices(5));
        EXPECT_FALSE(outside.items()[0]->isValidForDimension(5));
    }
    EXPECT_RAISES(std::length_error, "vector too long", IndexSet(seq(8, 1)).sortedIndices(10));
    EXPECT_TRUE(seq(8, 1).isValidForDimension(10));
    EXPECT_THROW(IndexSet(all).sortedIndices(0), std::bad_alloc);
    EXPECT_THROW(IndexSet(all).sortedIndices(maximum / 8), std::bad_alloc);
    EXPECT_THROW(IndexSet(seq(0, 1, 0)).sortedIndices(5), std::invalid_argument);
    EXPECT_FALSE(seq(0, 1, 0).isValidForDimension(5));
    EXPECT_FALSE(IndexRange::all.isValidForDimension(0));
    EXPECT_THROW(IndexSet(-1), std::invalid_argument);
    EXPECT_THROW(last - -1, std::invalid_argument);
    EXPECT_THROW(seq(0, 1, -1), std::invalid_argument);
    EXPECT_THROW(firstN(std::numeric_limits<int>::min()), std::invalid_argument);
    EXPECT_THROW(lastN(-1), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(IndexSet{WithoutCopy()}), std::invalid_argument);
}

TEST(IndexSet, OneElementIsASetForEachIndex) {
    const std::vector<IndexSet> slice = ArraySliceFromIndices({2, 0});
    ASSERT_EQ(slice.size(), 2u);
    EXPECT_EQ(slice[0].sortedIndices(3), Positions({2}));
    EXPECT_EQ(slice[1].sortedIndices(3), Positions({0}));
    EXPECT_TRUE(ArraySliceFromIndices({}).empty());
}

TEST(SliceFlattener, FindsEveryCombinationInWalkOrder) {
    const std::vector<IndexSet> sets = {{0, 1, 4}, {1, 5, 6}};
    const auto offsets = [&](DataOrdering ordering, UseDataOrdering walk) {
        return SliceFlattener(sets, {5, 8}, ordering, walk).offsets;
    };
    const auto rows = DataOrdering::RowMajor, columns = DataOrdering::ColumnMajor;
    EXPECT_EQ(offsets(rows, walkData), Positions({1, 5, 6, 9, 13, 14, 33, 37, 38}));
    EXPECT_EQ(offsets(rows, walkColumns), Positions({1, 9, 33, 5, 13, 37, 6, 14, 38}));
    EXPECT_EQ(offsets(columns, walkData), Positions({5, 6, 9, 25, 26, 29, 30, 31, 34}));
    EXPECT_EQ(SliceFlattener({all, {0, 1, 3}, {0, 1, 3}}, {2, 4, 4}, rows, walkData).offsets,
              Positions({0, 1, 3, 4, 5, 7, 12, 13, 15, 16, 17, 19, 20, 21, 23, 28, 29, 31}));
    const IndexSet flat = {0, 3, seq(2, 5), last};
    EXPECT_EQ(SliceFlattener(flat, {2, 4}, rows, walkColumns).offsets, Positions({0, 1, 5, 2, 6, 7}));
    EXPECT_EQ(SliceFlattener(flat, {2, 4}, columns, UseDataOrdering::WalkRowMajor).offsets,
              Positions({0, 4, 6, 1, 3, 7}));
}

TEST(SliceFlattener, ChecksComeInTheirOrder) {
    const auto slice = [](const std::vector<IndexSet>& sets, const Positions& shape, UseDataOrdering walk) {
        return SliceFlattener(sets, shape, DataOrdering::RowMajor, walk).offsets;
    };
    const auto flat = [](const IndexSet& set, const Positions& shape, UseDataOrdering walk) {
        return SliceFlattener(set, shape, DataOrdering::RowMajor, walk).offsets;
    };
    using Invalid = std::invalid_argument;
    const char* const wrongCount = "slice dimensions don't match ZVariant dimensions";
    const char* const outOfBounds = "slice dimensions are out of bounds";
    const char* const outOfRange = "Index value out-of-range";
    const char* const invalidWalk = "invalid UseDataOrdering";
    EXPECT_RAISES(Invalid, wrongCount, slice({9}, {2, 3}, unknownWalk));
    EXPECT_RAISES(Invalid, outOfBounds, slice({2, 0}, {2, 3}, unknownWalk));
    EXPECT_RAISES(Invalid, outOfBounds, slice({0, seq(0, 2, 0)}, {2, 3}, unknownWalk));
    EXPECT_RAISES(Invalid, outOfBounds, slice({all, 0}, {0, 3}, walkData));
    // Dimension by dimension: the first one's range fails before the second one's item is looked at.
    EXPECT_RAISES(std::length_error, "vector too long", slice({seq(8, 1), 3}, {10, 3}, walkData));
    EXPECT_RAISES(Invalid, outOfBounds, slice({3, seq(8, 1)}, {3, 10}, walkData));
    EXPECT_RAISES(Invalid, invalidWalk, slice({0, 0}, {2, 3}, unknownWalk));
    EXPECT_RAISES(Invalid, invalidWalk, slice({}, {}, unknownWalk));
    EXPECT_EQ(slice({1}, {2}, unknownWalk), Positions({1}));
    EXPECT_RAISES(std::out_of_range, outOfRange, slice({0, PastTheEnd()}, {2, 3}, walkData));

    EXPECT_RAISES(std::out_of_range, outOfRange, flat(6, {2, 3}, unknownWalk));
    EXPECT_RAISES(Invalid, invalidWalk, flat(1, {2}, unknownWalk));
    EXPECT_RAISES(std::out_of_range, outOfRange, flat(PastTheEnd(), {2, 3}, walkData));
    // Copies of a client's items are asked, never the items.
    const IndexSet copiedOnce((CopiedOnce()));
    EXPECT_THROW(slice({0, copiedOnce}, {2, 3}, walkData), std::domain_error);
    EXPECT_THROW(flat(copiedOnce, {2, 3}, walkData), std::domain_error);
    EXPECT_THROW((void)copiedOnce.uniqueIndices(3), std::domain_error);
    constexpr auto large = std::uint64_t{1} << 32;
    EXPECT_THROW(slice({all, seq(0, large / 4 - 1)}, {large, large}, walkData), std::bad_alloc);
    // More combinations than can be counted: deliberately as many as the wrapped product, here none.
    EXPECT_TRUE(slice({all, all}, {large, large}, walkData).empty());
    for (const Positions& shape : {Positions{}, {2, 0}, {0, 2}}) {
        EXPECT_TRUE(flat({}, shape, walkColumns).empty());
        EXPECT_NO_THROW(flat({1, 4}, shape, walkColumns));
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
