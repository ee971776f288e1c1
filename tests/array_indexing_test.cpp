// Checks, strides and excess of the functions of indices. The fuzz target of slices has their ordinary results.
#include "values.h"

#include <pyx/format/ConsoleFormatter.h>
#include <pyx/indexing/ArrayIndexing.h>

#include <stdexcept>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using Indices = std::vector<std::uint64_t>;

struct Ordering {
    std::uint64_t (*offset)(const Indices&, ArrayDimensionsView, bool);
    void (*indices)(Indices&, std::uint64_t, ArrayDimensionsView, bool);
    std::uint64_t (*stride)(std::uint64_t, ArrayDimensionsView);
};

const Ordering rowMajor{ArrayIndexing::calculateOffsetRowMajor, ArrayIndexing::CalculateIndicesRowMajor,
                        ArrayIndexing::CalculateDimStrideRowMajor};
const Ordering columnMajor{ArrayIndexing::calculateOffsetColumnMajor, ArrayIndexing::CalculateIndicesColumnMajor,
                           ArrayIndexing::CalculateDimStrideColumnMajor};

// Without state, and with every operation of a value all the same, which old clients may call.
TEST(StatelessClasses, AreValues) {
    ArrayIndexing first;
    ArrayIndexing second(first);
    second = first;
    second = std::move(first);
    ConsoleFormatter formatter;
    ConsoleFormatter copy(formatter);
    copy = formatter;
    copy = std::move(formatter);
}

TEST(ArrayIndexing, ChecksComeInTheirOrder) {
    for (const Ordering& ordering : {rowMajor, columnMajor}) {
        const Indices shape{2, 3};
        for (const bool checkBounds : {false, true}) {
            EXPECT_RAISES(std::invalid_argument, "Wrong number of indices.",
                          ordering.offset({5, 5, 5}, shape, checkBounds));
            EXPECT_EQ(ordering.offset({}, {}, checkBounds), 0u);
        }
        EXPECT_RAISES(std::out_of_range, "Indices out of bounds.", ordering.offset({0, 3}, shape, true));
        Indices found{1, 2, 3};
        for (const Indices& empty : {Indices{}, {0, 3}}) {
            EXPECT_RAISES(std::invalid_argument, "Too few indices.", ordering.indices(found, 0, empty, true));
            EXPECT_TRUE(found.empty());
        }
        EXPECT_RAISES(std::invalid_argument, "Too few indices.", ordering.indices(found, 6, shape, true));
        EXPECT_NO_THROW(ordering.indices(found, 4, Indices({0, 3, 0}), false));
    }
}

TEST(ArrayIndexing, ExcessLandsInTheSlowestDimension) {
    Indices found;
    rowMajor.indices(found, 13, {1, 2, 3}, false);
    EXPECT_EQ(found, Indices({2, 0, 1}));
    columnMajor.indices(found, 13, {2, 3, 1}, false);
    EXPECT_EQ(found, Indices({1, 6, 0}));
    columnMajor.indices(found, 13, {1, 1}, false);
    EXPECT_EQ(found, Indices({0, 0}));
}

TEST(ArrayIndexing, StridesLeaveOutTheirOwnLength) {
    EXPECT_EQ(columnMajor.stride(0, {}), 0u);
    EXPECT_EQ(rowMajor.stride(2, {0, 0, 0}), 1u);
    EXPECT_EQ(columnMajor.stride(2, {4, 5, 0}), 20u);
    EXPECT_EQ(rowMajor.stride(0, {0, 5, 6}), 30u);
    EXPECT_EQ(rowMajor.stride(3, {4, 5, 6}), 0u);
}

}  // namespace
}  // namespace Quorvane::Pyx
