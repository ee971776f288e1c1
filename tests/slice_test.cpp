// Index sets and the offsets of slices, against a model that works out every element from its indices.
#include <gmock/gmock.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceFlattener.h>
#include <pyx/indexing/index_words.h>

#include <algorithm>
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
using testing::ThrowsMessage;

constexpr auto walkRows = UseDataOrdering::WalkRowMajor;
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
        {last, 5, {4}},
        {last - 4, 5, {0}},
        {IndexValue::fromEnd(2), 5, {2}},
        {all, 3, {0, 1, 2}},
        {IndexRange::all, 1, {0}},
        {IndexRange(1, 8, 3), 10, {1, 4, 7}},
        {seq(last - 2, last), 10, {7, 8, 9}},
        {seq(2, 2), 3, {2}},
        {{3, seq(0, 5)}, 10, {0, 1, 2, 3, 4, 5}},
        {{seq(0, 5), 3}, 10, {0, 1, 2, 3, 4, 5}},
        {{last, 0u, last, IndexSet{axisOfTime, 1}}, 4, {0, 1, 2, 3}},
        {firstN(2), 4, {0, 1}},
        {{lastN(3), firstN(0), lastN(0u)}, 4, {1, 2, 3}},
        {{}, 4, {}},
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
        EXPECT_THAT([&] { outside.sortedIndices(5); }, ThrowsMessage<std::out_of_range>("Index value out-of-range"));
        EXPECT_FALSE(outside.items()[0]->isValidForDimension(5));
    }
    EXPECT_THAT([] { IndexSet(seq(8, 1)).sortedIndices(10); }, ThrowsMessage<std::length_error>("vector too long"));
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

struct SliceCase {
    Positions shape;
    std::vector<IndexSet> sets;
};

// The combinations of positions in walk order.
std::vector<Positions> selectedIndices(const SliceCase& slice, bool byRows) {
    std::vector<Positions> tuples{Positions(slice.shape.size())};
    for (std::size_t step = 0; step < slice.shape.size(); ++step) {
        const std::size_t k = byRows ? step : slice.shape.size() - 1 - step;
        std::vector<Positions> longer;
        for (Positions tuple : tuples) {
            for (const std::uint64_t position : slice.sets[k].uniqueIndices(slice.shape[k])) {
                tuple[k] = position;
                longer.push_back(tuple);
            }
        }
        tuples = longer;
    }
    return tuples;
}

std::uint64_t offsetOf(const Positions& indices, ArrayDimensionsView shape, DataOrdering ordering) {
    return ordering == DataOrdering::RowMajor ? ArrayIndexing::calculateOffsetRowMajor(indices, shape, true)
                                              : ArrayIndexing::calculateOffsetColumnMajor(indices, shape, true);
}

TEST(SliceFlattener, FindsEveryCombinationInWalkOrder) {
    const SliceCase cases[] = {
        {{2, 3}, {{0, 1}, {0, 2}}},
        {{2, 3}, {all, all}},
        {{4, 5, 6}, {{last, 0}, seq(0, last, 2), seq(1, 3)}},
        {{4, 1, 6}, {2, 0, all}},
        {{3, 2, 2, 3}, {{2, 1}, all, last, {0, 2, 0}}},
        {{7}, {{6, seq(0, 4, 2)}}},
        {{5, 8}, {{0, 1, 4}, {1, 5, 6}}},
        {{5, 2, 8}, {{0, 1, 4}, all, {1, 5, 6}}},
        {{4, 5}, {all, {}}},
        {{0, 5}, {{}, all}},
    };
    for (const SliceCase& slice : cases) {
        for (const DataOrdering ordering : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
            for (const UseDataOrdering walk : {walkRows, walkColumns, walkData}) {
                const bool byRows = walk == walkRows || (walk == walkData && ordering == DataOrdering::RowMajor);
                Positions expected;
                for (const Positions& indices : selectedIndices(slice, byRows)) {
                    expected.push_back(offsetOf(indices, slice.shape, ordering));
                }
                const SliceFlattener flattened(slice.sets, slice.shape, ordering, walk);
                EXPECT_EQ(flattened.offsets, expected);
                ASSERT_EQ(flattened.sliceDimensions.size(), slice.shape.size());
                EXPECT_EQ(ArrayDimensionsView(flattened.sliceDimensions).elementCount(), expected.size());
            }
        }
    }
}

TEST(SliceFlattener, CountsAFlatSetInWalkOrder) {
    for (const Positions& shape : {Positions{4, 5}, {2, 3, 4}, {1, 7, 1}, {6}, {3, 1, 2, 2}}) {
        const IndexSet set = {0, 3, seq(2, 5), last};
        for (const DataOrdering ordering : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
            for (const UseDataOrdering walk : {walkRows, walkColumns, walkData}) {
                const bool byRows = walk == walkRows || (walk == walkData && ordering == DataOrdering::RowMajor);
                const SliceCase whole{shape, std::vector<IndexSet>(shape.size(), all)};
                const std::vector<Positions> order = selectedIndices(whole, byRows);
                Positions expected;
                for (const std::uint64_t position : set.uniqueIndices(order.size())) {
                    expected.push_back(offsetOf(order[position], shape, ordering));
                }
                const SliceFlattener flattened(set, shape, ordering, walk);
                EXPECT_EQ(flattened.offsets, expected);
                EXPECT_EQ(flattened.sliceDimensions, Positions({expected.size()}));
            }
        }
    }
}

TEST(SliceFlattener, ChecksComeInTheirOrder) {
    const auto slice = [](const std::vector<IndexSet>& sets, const Positions& shape, UseDataOrdering walk) {
        return [=] { SliceFlattener(sets, shape, DataOrdering::RowMajor, walk); };
    };
    const auto flat = [](const IndexSet& set, const Positions& shape, UseDataOrdering walk) {
        return [=] { SliceFlattener(set, shape, DataOrdering::RowMajor, walk); };
    };
    using Invalid = std::invalid_argument;
    const char* const wrongCount = "slice dimensions don't match ZVariant dimensions";
    const char* const outOfBounds = "slice dimensions are out of bounds";
    const char* const invalidWalk = "invalid UseDataOrdering";
    EXPECT_THAT(slice({9}, {2, 3}, unknownWalk), ThrowsMessage<Invalid>(wrongCount));
    EXPECT_THAT(slice({2, 0}, {2, 3}, unknownWalk), ThrowsMessage<Invalid>(outOfBounds));
    EXPECT_THAT(slice({0, seq(0, 2, 0)}, {2, 3}, unknownWalk), ThrowsMessage<Invalid>(outOfBounds));
    EXPECT_THAT(slice({all, 0}, {0, 3}, walkData), ThrowsMessage<Invalid>(outOfBounds));
    // Dimension by dimension: the first one's range fails before the second one's item is looked at.
    EXPECT_THAT(slice({seq(8, 1), 3}, {10, 3}, walkData), ThrowsMessage<std::length_error>("vector too long"));
    EXPECT_THAT(slice({3, seq(8, 1)}, {3, 10}, walkData), ThrowsMessage<Invalid>(outOfBounds));
    EXPECT_THAT(slice({0, 0}, {2, 3}, unknownWalk), ThrowsMessage<Invalid>(invalidWalk));
    EXPECT_THAT(slice({}, {}, unknownWalk), ThrowsMessage<Invalid>(invalidWalk));
    EXPECT_NO_THROW(slice({1}, {2}, unknownWalk)());
    EXPECT_THAT(slice({0, PastTheEnd()}, {2, 3}, walkData),
                ThrowsMessage<std::out_of_range>("Index value out-of-range"));

    EXPECT_THAT(flat(6, {2, 3}, unknownWalk), ThrowsMessage<std::out_of_range>("Index value out-of-range"));
    EXPECT_THAT(flat(1, {2}, unknownWalk), ThrowsMessage<Invalid>(invalidWalk));
    EXPECT_THAT(flat(PastTheEnd(), {2, 3}, walkData), ThrowsMessage<std::out_of_range>("Index value out-of-range"));
    constexpr auto large = std::uint64_t{1} << 32;
    EXPECT_THROW(slice({all, seq(0, large / 4 - 1)}, {large, large}, walkData)(), std::bad_alloc);
    // More combinations than can be counted: deliberately as many as the wrapped product, here none.
    EXPECT_TRUE(SliceFlattener(std::vector<IndexSet>{all, all}, {large, large}, DataOrdering::RowMajor, walkData)
                    .offsets.empty());
    for (const Positions& shape : {Positions{}, {2, 0}, {0, 2}}) {
        EXPECT_TRUE(SliceFlattener(IndexSet(), shape, DataOrdering::RowMajor, walkColumns).offsets.empty());
        EXPECT_NO_THROW(flat({1, 4}, shape, walkColumns)());
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
