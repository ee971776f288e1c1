// Identity and equivalence where random values hardly come: long runs, objects that fail on the way, and classes of a
// client.
#include "values.h"

#include <pyx/pyx.h>
#include <pyx/variant/IVariantDataNonRefCounted.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/comparison.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace Quorvane::Pyx {
namespace {

constexpr auto cast = ConversionMode::Cast;
constexpr auto rowMajor = DataOrdering::RowMajor;
constexpr auto columnMajor = DataOrdering::ColumnMajor;

TEST(Equivalence, LongRunsAreConvertedToTheirEnd) {
    const auto array = ZVariant::fromData(std::vector<int>(1300, 7));
    for (const auto type : {WellKnownType::double_, WellKnownType::unsignedInt32, WellKnownType::complexInt8}) {
        EXPECT_TRUE(array.isEquivalentTo(array.convertTo(type)));
        for (const std::uint64_t i : {0U, 127U, 128U, 1151U, 1152U, 1299U}) {
            ZVariant changed = array;
            changed.mutableElementAt<int>(i) = 8;
            EXPECT_FALSE(array.isEquivalentTo(changed.convertTo(type))) << type << ' ' << i;
        }
    }
}

// An object of two elements that does what a test tells it.
struct Fake final : Internal::IVariantDataNonRefCounted {
    WellKnownType type = WellKnownType::int32;
    bool isScalar = false;
    DataOrdering ordering = rowMajor;
    std::vector<std::uint64_t> shape{2};
    Internal::CustomTypeOperations* operations = nullptr;
    std::function<IVariantData*()> makeCopy = [] { return nullptr; };
    int elements[2] = {1, 1};
    mutable std::vector<std::uint64_t> handedOut;

    std::uint64_t numberAllocatedElements() const override { return 2; }
    // Good until the next call, as it is with storage of a client.
    ArrayDimensionsView dimensions() const override {
        std::vector<std::uint64_t>(shape).swap(handedOut);
        return handedOut;
    }
    bool isScalarStorage() const override { return isScalar; }
    DataOrdering dataOrdering() const override { return ordering; }
    WellKnownType wellKnownDataType() const override { return type; }
    const std::type_info* storedTypeInfo() const override { return nullptr; }
    Internal::CustomTypeOperations* customTypeOperations() const override { return operations; }
    IVariantData* reorderData(DataOrdering) override { return makeCopy(); }
    void reshapeNoRealloc(ArrayDimensionsView) override {}
    IVariantData* reshapeToZVariant(IVariantData*, ArrayDimensionsView, DataOrdering) override { return nullptr; }
    const void* constStoredData() const override { return elements; }
    void* mutableStoredData() override { return elements; }
    IVariantData* convertDataTo(WellKnownType, ConversionMode) override { return makeCopy(); }
};

TEST(Equivalence, IsFalseWhereSomethingFailsOnTheWay) {
    using namespace Internal;
    const double ones[] = {1, 1};
    const OwnedData<> doubles(constructVariantVectorWithDataWithDimsUnresolved<double>(ones, 2, {2}, rowMajor));
    Fake fake, columns;
    EXPECT_FALSE(isEquivalentTo(fake, *doubles, cast));
    // The right bits, in another type than the one asked for.
    fake.makeCopy = [&] { return constructVariantVectorWithDataWithDimsUnresolved<long long>(ones, 2, {2}, rowMajor); };
    EXPECT_FALSE(isEquivalentTo(*doubles, fake, cast));
    fake.makeCopy = []() -> IVariantData* { throw std::bad_alloc(); };
    EXPECT_FALSE(isEquivalentTo(fake, *doubles, cast));
    fake.makeCopy = []() -> IVariantData* { throw 1; };
    EXPECT_THROW(isEquivalentTo(fake, *doubles, cast), int);
    // Only the right one is reordered.
    fake.shape = columns.shape = {2, 2};
    columns.ordering = columnMajor;
    EXPECT_FALSE(isEquivalentTo(fake, columns, cast));
}

TEST(Equivalence, AsksCustomScalarsForIdentity) {
    static int askedFor = -1;
    Internal::CustomTypeOperations operations{
        [](const void*, const void*, std::uint64_t, std::uint8_t identity) { return (askedFor = identity, true); }};
    Fake custom, other;
    custom.type = other.type = WellKnownType::customType;
    custom.operations = &operations;
    for (const bool isScalar : {true, false}) {
        custom.isScalar = other.isScalar = isScalar;
        // The left one is asked, where it has operations.
        EXPECT_FALSE(Internal::isEquivalentTo(other, custom, cast));
        EXPECT_TRUE(Internal::isEquivalentTo(custom, other, cast));
        EXPECT_EQ(askedFor, isScalar ? 1 : 0);
        EXPECT_TRUE(Internal::isIdenticalTo(custom, custom));
        EXPECT_EQ(askedFor, 1);
    }
}

struct Picky {
    int number = 0;
    friend bool operator==(const Picky& left, const Picky& right) {
        return left.number < 0 ? throw std::runtime_error("picky") : left.number == right.number;
    }
};
struct Larger : Picky {
    long long more[4] = {};
};

TEST(Comparison, CustomClassesCompareByTheirOwnOperator) {
    const auto matrix = ZVariant::fromData({Picky{1}, Picky{2}, Picky{3}, Picky{4}}, {2, 2});
    EXPECT_TRUE(matrix.isEquivalentTo(matrix.reordered(columnMajor)) && matrix != matrix.reordered(columnMajor));
    EXPECT_EQ(ZVariant::fromCustom(Picky{1}), ZVariant::fromData({Picky{1}}));
    // Not by reading the one as the other.
    EXPECT_FALSE(ZVariant::fromCustom(Picky{1}).isEquivalentTo(ZVariant::fromCustom(Larger{{1}, {}})));
    for (const ZVariant& negative : {ZVariant::fromCustom(Picky{-1}), ZVariant::fromData({Picky{-1}, Picky{-1}})}) {
        EXPECT_FALSE(negative.isEquivalentTo(negative));
        EXPECT_RAISES(std::runtime_error, "picky", negative.isIdenticalTo(negative));
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
