// The two value types, which must not differ but where they say so.
#include "values.h"

#include <pyx/pyx.h>

#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using testing::ElementsAre;

template <class Value>
struct Values : testing::Test {};
TYPED_TEST_SUITE(Values, BothValues, );

TYPED_TEST(Values, NullHasNoElements) {
    const TypeParam null;
    EXPECT_TRUE(null.isNull());
    EXPECT_EQ(null.elementCount(), 0u);
    // A custom class has no code of its own either.
    EXPECT_TRUE(null.template isElementType<std::vector<int>>());
    EXPECT_RAISES(std::invalid_argument, "Cannot access element of null variant.", null.template elementAt<double>(0));
    EXPECT_TRUE(elementsOf<double>(null).empty());
    EXPECT_RAISES(std::runtime_error, "unknown type", null.convertOrThrow(WellKnownType::unknown));
    EXPECT_TRUE(null.reshaped({3}).isNull() && null.reordered(DataOrdering::ColumnMajor).isNull());
}

TYPED_TEST(Values, EveryIntegerTypeHasItsElementType) {
    EXPECT_EQ(TypeParam(1L).wellKnownDataType(), WellKnownType::int64);
    EXPECT_EQ(TypeParam(1UL).wellKnownDataType(), WellKnownType::unsignedInt64);
    EXPECT_EQ(TypeParam(1LL).wellKnownDataType(), WellKnownType::int64);
    EXPECT_EQ(TypeParam('a').wellKnownDataType(), WellKnownType::int8);
    EXPECT_EQ(TypeParam(true).wellKnownDataType(), WellKnownType::bool_);
    EXPECT_EQ(TypeParam("text").wellKnownDataType(), WellKnownType::string);
    EXPECT_EQ(TypeParam(std::numeric_limits<unsigned long>::max()).template as<unsigned long>(),
              std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(TypeParam::fromData({1L, 2L}).wellKnownDataType(), WellKnownType::int64);
    EXPECT_FALSE((std::is_constructible_v<TypeParam, int*>) || (std::is_constructible_v<TypeParam, std::nullptr_t>));
}

TYPED_TEST(Values, ElementsAreReadByTypeAndPosition) {
    const auto grid = TypeParam::fromData({1., 2., 3., 4.}, {2, 2}, DataOrdering::ColumnMajor);
    EXPECT_EQ(grid.template elementAt<double>(1), 2);
    EXPECT_RAISES(std::out_of_range, "Indices out of bounds.", grid.template elementAt<double>(4));
    EXPECT_RAISES(std::invalid_argument, "Wrong data type.", grid.template elementAt<int>(9));
    EXPECT_RAISES(std::out_of_range, "Indices out of bounds.",
                  TypeParam::template allocate<double>({}).template elementAt<double>(0));
    EXPECT_RAISES(std::runtime_error, "Data type mismatch, cannot provide iterable container", elementsOf<int>(grid));
    EXPECT_TRUE(elementsOf<double>(TypeParam::template allocate<int>({0})).empty());
    EXPECT_THAT(elementsOf<double>(TypeParam(2.5)), ElementsAre(2.5));
    EXPECT_RAISES(std::invalid_argument, "Wrong data type.", grid.template data<float>());
    EXPECT_EQ(TypeParam(7).template as<double>(), 7);
    EXPECT_THROW((void)grid.template as<double>(), std::invalid_argument);
}

TYPED_TEST(Values, CopiesAreIndependent) {
    for (const TypeParam& original : {TypeParam(1.5), TypeParam::fromData({1.5, 2.5})}) {
        TypeParam copy = original;
        EXPECT_EQ(copy.dimensions(), original.dimensions());
        copy.template mutableElementAt<double>(0) = 9;
        EXPECT_EQ(original.template elementAt<double>(0), 1.5);
        EXPECT_EQ(copy.template elementAt<double>(0), 9);
        copy = original;
        *copy.template mutableData<double>() = 8;
        EXPECT_EQ(original.template elementAt<double>(0), 1.5);
    }
    // Data on the heap are shared until then, a writer that is alone writes in place.
    auto array = TypeParam::fromData({1, 2, 3});
    const int* const before = array.template data<int>();
    {
        const TypeParam shared = array;
        EXPECT_EQ(shared.template data<int>(), before);
        const TypeParam converted = array.convertTo(WellKnownType::int32);
        EXPECT_EQ(converted.template data<int>(), before);
    }
    EXPECT_EQ(array.template mutableData<int>(), before);
}

TYPED_TEST(Values, AssignmentAndMovesKeepTheValue) {
    for (const TypeParam& original : {TypeParam("a text that needs a buffer of its own"),
                                      TypeParam::fromData({"one", "two"}), TypeParam("short")}) {
        const std::string text = original.template elementAt<std::string>(0);
        TypeParam value = original;
        value = static_cast<const TypeParam&>(value);
        EXPECT_EQ(value.template elementAt<std::string>(0), text);
        value = static_cast<TypeParam&&>(value);
        EXPECT_EQ(value.template elementAt<std::string>(0), text);
        TypeParam moved(std::move(value));
        const TypeParam copyOfMoved(value);
        value = moved;
        EXPECT_EQ(value.template elementAt<std::string>(0), text);
        moved = TypeParam(1.5);
        moved = std::move(value);
        EXPECT_EQ(moved.template elementAt<std::string>(0), text);
        std::swap(moved, value = TypeParam(2));
        EXPECT_EQ(moved.template as<int>(), 2);
    }
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<TypeParam> && std::is_nothrow_move_assignable_v<TypeParam>);
}

TYPED_TEST(Values, ArraysAreReshapedAndReordered) {
    auto grid = TypeParam::fromVector(std::vector<int>{1, 2, 3, 4, 5, 6}, {2, 3});
    const TypeParam columns = grid.reordered(DataOrdering::ColumnMajor);
    EXPECT_THAT(elementsOf<int>(grid), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(elementsOf<int>(columns.reshaped({7})), ElementsAre(1, 4, 2, 5, 3, 6, 0));
    grid.reshapeNoRealloc({6});
    const TypeParam shared = grid;
    EXPECT_THROW(grid.reshapeNoRealloc({2}), std::runtime_error);
}

TYPED_TEST(Values, RefusedConversionsAreNullOrAText) {
    const auto grid = TypeParam::fromData({1., 2., 3., 4., 5., 6.}, {2, 3});
    EXPECT_TRUE(grid.convertTo(WellKnownType::string).isNull());
    EXPECT_FALSE(grid.convertTo(WellKnownType::string, ConversionMode::CastOrText).isNull());
    EXPECT_RAISES(std::runtime_error, "unknown type", grid.convertTo(WellKnownType::customType));
    EXPECT_EQ(TypeParam("2.5").template as<double>(ConversionMode::CastOrText), 2.5);
}

TYPED_TEST(Values, VectorsAreCopied) {
    const std::vector<bool> flags{true, false, true};
    EXPECT_THAT(elementsOf<bool>(TypeParam::fromData(flags)), ElementsAre(true, false, true));
    const std::vector<long> numbers{1, 2, 3, 4};
    const auto grid = TypeParam::fromData(numbers, {2, 2}, DataOrdering::ColumnMajor);
    EXPECT_THAT(elementsOf<long long>(grid), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(grid.dataOrdering(), DataOrdering::ColumnMajor);
    // Braces with a named type stay a list of elements.
    EXPECT_EQ(TypeParam::template fromData<std::string>({"one", "two"}).elementCount(), 2u);
    EXPECT_THROW((void)TypeParam::fromData(flags, {2}), std::length_error);
}

// An element that holds a value.
struct Holder {
    ZVariant held;
    bool operator==(const Holder& other) const { return held == other.held; }
};

// Whose data end when it is assigned to.
TEST(ZVariant, CanBeAssignedFromInsideItsData) {
    for (const ZVariant& inner : {ZVariant(1.5), ZVariant("a text that needs a buffer of its own"),
                                  ZVariant::fromData({1, 2, 3}), ZVariant()}) {
        ZVariant outer = ZVariant::fromData({Holder(), Holder{inner}});
        outer = std::move(outer.mutableElementAt<Holder>(1).held);
        EXPECT_EQ(outer, inner);
    }
}

// Handles and the other value type: whoever takes a reference over holds it alone, and whoever shares does not.
TYPED_TEST(Values, MoveToTheOtherValueTypeAndToHandles) {
    using Other = std::conditional_t<std::is_same_v<TypeParam, ZVariant>, ZVariantAbi, ZVariant>;
    EXPECT_FALSE((std::is_convertible_v<TypeParam, Other>));
    auto array = TypeParam::fromData({1., 2., 3., 4.}, {2, 2});
    Other other(array);
    EXPECT_EQ(other, array);
    EXPECT_EQ(other.template data<double>(), array.template data<double>());
    PyxVariantData* const data = std::move(other).release();
    EXPECT_FALSE(isUnique(data));
    array = TypeParam();
    EXPECT_TRUE(isUnique(data));
    array = TypeParam(Other::adopt(data));
    EXPECT_TRUE(isUnique(data));
    {
        const Other taken(std::move(array));
        EXPECT_TRUE(isUnique(data));
        const ZVariantAbi lending(taken);
        EXPECT_EQ(lending.handle(), data);
        EXPECT_FALSE(isUnique(data));
        array = TypeParam::share(data);
    }
    EXPECT_EQ(elementsOf<double>(array), (std::vector<double>{1, 2, 3, 4}));
    EXPECT_TRUE(isUnique(data));

    // Scalars, wherever they stand, views and a client's memory.
    const std::string longText(50, 'x');
    TypeParam text = longText;
    Other textThere(text);
    textThere.template mutableElementAt<std::string>(0) = "y";
    EXPECT_EQ(text.template as<std::string>(), longText);
    textThere = Other(std::move(text));
    EXPECT_EQ(textThere.template as<std::string>(), longText);
    EXPECT_EQ(Other(array.asComplex()).wellKnownDataType(), WellKnownType::complexDouble);
    std::vector<double> memory{1, 2};
    ExternalBuffer<double, TypeParam> buffer(memory.data(), {2});
    const Other shown(buffer.value());
    memory[0] = 9;
    EXPECT_EQ(shown.template elementAt<double>(0), 9);

    // Each side keeps its own null, also of a value that was moved from.
    PyxVariantData* const null = Other().release();
    for (const TypeParam& nothing : {TypeParam(), std::as_const(text)}) {
        EXPECT_EQ(Other(nothing).release(), null);
    }
    EXPECT_EQ(Other(std::move(text)).release(), null);
    EXPECT_EQ(Other::adopt(nullptr).release(), null);
    EXPECT_EQ(TypeParam(std::move(text)).release(), nullptr);
}

TEST(ZVariant, AdoptsVectorsAndKeepsScalarsInline) {
    std::vector<double> samples{1, 2, 3, 4};
    const double* const storage = samples.data();
    auto grid = ZVariant::fromVector(std::move(samples), {2, 2});
    EXPECT_EQ(grid.data<double>(), storage);

    // A shape that outgrew its elements shows none that are not there.
    std::vector<double> room;
    room.reserve(4);
    room = {1};
    auto grown = ZVariant::fromVector(std::move(room));
    grown.reshapeNoRealloc({4});
    EXPECT_EQ(grown.elementAt<double>(0), 1);
    EXPECT_THROW((void)grown.elementAt<double>(1), std::out_of_range);

    const ZVariant scalar = "lattice";
    const auto* const inside = reinterpret_cast<const char*>(scalar.data<std::string>());
    EXPECT_TRUE(inside >= reinterpret_cast<const char*>(&scalar) &&
                inside < reinterpret_cast<const char*>(&scalar + 1));
    EXPECT_EQ(sizeof(ZVariant), 48u);
}

}  // namespace
}  // namespace Quorvane::Pyx
