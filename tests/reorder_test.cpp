// Reordering of arrays, against a plain walk over all index tuples.
#include "values.h"

#include <pyx/variant/OwnedData.h>
#include <pyx/variant/factories.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace Quorvane::Pyx::Internal {
namespace {

using Shape = std::vector<std::uint64_t>;

// Where element i of a walk in row-major order stands in column-major storage. Longer walks start again.
std::uint64_t columnMajorOffset(std::uint64_t i, const Shape& shape) {
    std::uint64_t stride = ArrayDimensionsView(shape).elementCount();
    std::uint64_t offset = 0;
    for (std::size_t k = shape.size(); k-- > 0;) {
        stride /= shape[k];
        offset += i % shape[k] * stride;
        i /= shape[k];
    }
    return offset;
}

// The number of the source element at each place of the target, if there is one.
std::vector<std::optional<std::uint64_t>> expectedOrder(const Shape& shape, DataOrdering from,
                                                        std::uint64_t allocated) {
    const std::uint64_t shown = ArrayDimensionsView(shape).elementCount();
    const bool byRows = from == DataOrdering::RowMajor;
    std::vector<std::optional<std::uint64_t>> order(shown);
    for (std::uint64_t i = 0; shown != 0 && i < (byRows ? allocated : std::min(allocated, shown)); ++i) {
        const std::uint64_t offset = columnMajorOffset(i, shape);
        if (byRows) {
            order[offset] = i;
        } else if (offset < allocated) {
            order[i] = offset;
        }
    }
    return order;
}

template <class T>
void expectReordered(IVariantData& array, const Shape& shape) {
    const DataOrdering from = array.dataOrdering();
    const DataOrdering to = from == DataOrdering::RowMajor ? DataOrdering::ColumnMajor : DataOrdering::RowMajor;
    const OwnedData<> reordered(array.reorderData(to));
    ASSERT_NE(reordered.get(), &array);
    EXPECT_EQ(reordered->dataOrdering(), to);
    EXPECT_EQ(reordered->dimensions(), ArrayDimensionsView(shape));
    const auto order = expectedOrder(shape, from, array.numberAllocatedElements());
    ASSERT_EQ(reordered->numberAllocatedElements(), order.size());
    const T* const elements = static_cast<const T*>(reordered->constStoredData());
    for (std::size_t i = 0; i < order.size(); ++i) {
        ASSERT_EQ(elements[i], order[i] ? nthElement<T>(*order[i]) : T{})
            << "at " << i << " of " << testing::PrintToString(shape);
    }
}

template <class T>
OwnedData<> arrayOf(std::uint64_t count, const Shape& shape, DataOrdering ordering) {
    return OwnedData<>(
        constructVariantVectorWithDataWithDimsUnresolved<T>(sequence<T>(count).get(), count, shape, ordering));
}

template <class T>
struct Reorder : testing::Test {};
TYPED_TEST_SUITE(Reorder, AllElementTypes);

TYPED_TEST(Reorder, MovesEachElementToItsPlace) {
    const Shape shapes[] = {{5},      {0, 3},   {1, 7, 1}, {2, 3},   {65, 130},    {270, 290},       {3, 200},
                            {200, 3}, {150, 4}, {2, 77},   {5, 200}, {4, 1, 5, 6}, {70, 2, 3, 2, 9}, Shape(12, 2)};
    for (const Shape& shape : shapes) {
        for (const DataOrdering ordering : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
            const auto array = arrayOf<TypeParam>(ArrayDimensionsView(shape).elementCount(), shape, ordering);
            expectReordered<TypeParam>(*array, shape);
            EXPECT_EQ(array->reorderData(ordering), array.get());
            array->destruct();
        }
    }
}

TYPED_TEST(Reorder, CountsWhatAShapeHidesOrPromises) {
    for (const DataOrdering ordering : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
        for (const Shape& shape : {Shape{3, 2}, {2, 2}, {2, 3}, {0, 4}, {}}) {
            const auto array = arrayOf<TypeParam>(20, {5, 4}, ordering);
            array->reshapeNoRealloc(shape);
            expectReordered<TypeParam>(*array, shape);
        }
        if constexpr (!std::is_same_v<TypeParam, bool>) {
            const auto data = sequence<TypeParam>(5);
            std::vector<TypeParam> elements;
            elements.reserve(12);
            elements.assign(data.get(), data.get() + 5);
            const OwnedData<> array(constructVariantDataFromMovedVector<TypeParam>(std::move(elements), {}, ordering));
            array->reshapeNoRealloc({3, 4});
            expectReordered<TypeParam>(*array, {3, 4});
        }
    }
}

TYPED_TEST(Reorder, StaysInsideWhereTheElementCountWraps) {
    // The sanitizers tell whether anything was touched that is not there.
    for (const DataOrdering ordering : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
        const auto array = arrayOf<TypeParam>(2, {(std::uint64_t{1} << 63) + 1, 2}, ordering);
        for (const DataOrdering wanted : {DataOrdering::ColumnMajor, DataOrdering::RowMajor}) {
            EXPECT_EQ(OwnedData<>(array->reorderData(wanted))->numberAllocatedElements(), 2u);
        }
    }
}

TEST(ReorderedShape, LeavesBytesOfBoolAndForeignOrderingsAlone) {
    const unsigned char bytes[] = {0, 1, 2, 255, 128, 7};
    const OwnedData<> array(
        constructVariantVectorWithDataWithDimsUnresolved<bool>(bytes, 6, {2, 3}, DataOrdering::RowMajor));
    const OwnedData<> reordered(array->reorderData(DataOrdering::ColumnMajor));
    const auto* const moved = static_cast<const unsigned char*>(reordered->constStoredData());
    EXPECT_EQ(std::vector<unsigned char>(moved, moved + 6), (std::vector<unsigned char>{0, 255, 1, 128, 2, 7}));

    // An ordering that is none has no elements in any order.
    const auto unordered = arrayOf<int>(4, {2, 2}, DataOrdering(7));
    const OwnedData<> zeros(unordered->reorderData(DataOrdering::RowMajor));
    EXPECT_EQ(static_cast<const int*>(zeros->constStoredData())[3], 0);
}

}  // namespace
}  // namespace Quorvane::Pyx::Internal
