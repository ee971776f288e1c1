// Real arrays read as complex ones and the other way round: what the views share, copy and refuse.
#include "values.h"

#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>

#include <complex>
#include <string>
#include <vector>

namespace Quorvane::Pyx::Internal {
namespace {

using testing::ElementsAre;
using Shape = std::vector<std::uint64_t>;

constexpr auto row = DataOrdering::RowMajor;
constexpr auto column = DataOrdering::ColumnMajor;
constexpr auto complexView = constructTransmuteRealToComplexVariant;
constexpr auto realView = constructTransmuteComplexToRealVariant;
constexpr const char* notNumericText = "Can not convert non-numeric data type to complex numeric type";
constexpr const char* noDimensionsText = "Cannot create a view of data without dimensions.";

template <class T>
OwnedData<> arrayOf(const Shape& shape, DataOrdering ordering = row) {
    const std::uint64_t count = ArrayDimensionsView(shape).elementCount();
    return OwnedData<>(VectorVariantData<T>::makeFromData(sequence<T>(count).get(), count, shape, ordering).release());
}

// What the functions do with a reference of their own, so that the caller keeps his.
OwnedData<> viewOf(const OwnedData<>& data, IVariantData* (*construct)(IVariantData*)) {
    data->copy();
    return OwnedData<>(construct(data.get()));
}
OwnedData<> uniqueOf(const OwnedData<>& data) {
    data->copy();
    return OwnedData<>(data->makeUnique());
}

// The elements of what is a plain array of T and nothing else.
template <class T>
std::vector<T> plainElements(const OwnedData<>& data) {
    const T* const elements = dynamic_cast<const VectorVariantData<T>&>(*data).elements();
    return std::vector<T>(elements, elements + data->numberAllocatedElements());
}

TEST(Views, ConvertToViewsOfTheirOwnKind) {
    const OwnedData<> pairs(complexView(arrayOf<int>({6}).release()));
    const OwnedData<> parts = viewOf(pairs, realView);
    for (const WellKnownType target : elementTypes) {
        if (!target.isNumeric()) {
            EXPECT_EQ(pairs->convertDataTo(target, ConversionMode::Cast), nullptr);
            EXPECT_RAISES(std::runtime_error, notNumericText, parts->convertDataTo(target, ConversionMode::Cast));
            continue;
        }
        for (const OwnedData<>* const view : {&pairs, &parts}) {
            const OwnedData<> converted((*view)->convertDataTo(target, ConversionMode::Cast));
            EXPECT_EQ(converted->wellKnownDataType(), view == &pairs ? target.complexType() : target.componentType());
            EXPECT_EQ(converted->dimensions(), (*view)->dimensions());
            EXPECT_FALSE(isUnique(converted.get()));
        }
    }
    // Can be made, and fails when it is asked for its type.
    const OwnedData<> meaningless(complexView(arrayOf<std::string>({4}).release()));
    EXPECT_RAISES(std::runtime_error, notNumericText, meaningless->wellKnownDataType());
}

TEST(Views, ChangeTheFastestDimension) {
    const struct {
        Shape shape;
        DataOrdering ordering;
        Shape asComplex;
        std::uint64_t complexCount;
        Shape asReal;
    } cases[] = {{{2, 6}, row, {2, 3}, 6, {2, 12}},
                 {{5, 2}, column, {2, 2}, 5, {10, 2}},
                 {{3, 0}, row, {3, 0}, 0, {3, 0}},
                 {{1}, column, {0}, 0, {2}}};
    for (const auto& c : cases) {
        const OwnedData<> reals = arrayOf<float>(c.shape, c.ordering);
        const OwnedData<> pairs = viewOf(reals, complexView);
        const OwnedData<> parts(realView(arrayOf<std::complex<float>>(c.shape, c.ordering).release()));
        EXPECT_EQ(pairs->dimensions(), ArrayDimensionsView(c.asComplex));
        EXPECT_EQ(pairs->numberAllocatedElements(), c.complexCount);
        EXPECT_EQ(pairs->mutableStoredData(), reals->constStoredData());
        EXPECT_EQ(parts->dimensions(), ArrayDimensionsView(c.asReal));
        for (const OwnedData<>* const view : {&pairs, &parts}) {
            EXPECT_EQ((*view)->dataOrdering(), c.ordering);
            EXPECT_TRUE((*view)->storedTypeInfo() == nullptr && (*view)->customTypeOperations() == nullptr);
            // Copies have as many elements as the shape, however many there are.
            const OwnedData<> reordered((*view)->reorderData(c.ordering == row ? column : row));
            EXPECT_EQ(uniqueOf(*view)->numberAllocatedElements(), (*view)->dimensions().elementCount());
            EXPECT_EQ(reordered->numberAllocatedElements(), (*view)->dimensions().elementCount());
        }
    }
    const OwnedData<> parts(realView(new ScalarVariantDataRefCounted<std::complex<double>>({2, 3})));
    EXPECT_FALSE(parts->isScalarStorage());
    EXPECT_THAT(plainElements<double>(uniqueOf(parts)), ElementsAre(2, 3));
}

// The sanitizers tell whether anything was read that is not there.
TEST(Views, ReadNothingThatIsNotThere) {
    std::vector<double> elements{1, 2};
    elements.reserve(8);
    OwnedData<> grown(constructVariantDataFromMovedVector<double>(std::move(elements), {}, row));
    grown->reshapeNoRealloc({4, 2});
    const OwnedData<> promising(complexView(grown.release()));
    using Pair = std::complex<double>;
    EXPECT_THAT(plainElements<Pair>(uniqueOf(promising)), ElementsAre(Pair(1, 2), Pair(), Pair(), Pair()));
    // Real data as real ones, and data that are no numbers, which nobody should ask for: with twice their number.
    const OwnedData<> twice(realView(arrayOf<int>({2, 2}).release()));
    EXPECT_EQ(twice->numberAllocatedElements(), 8u);
    EXPECT_THAT(plainElements<int>(uniqueOf(twice)), ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
    EXPECT_THAT(plainElements<int>(OwnedData<>(twice->reorderData(column))), ElementsAre(1, 0, 2, 0, 3, 0, 4, 0));
    EXPECT_THAT(plainElements<int>(OwnedData<>(arrayOf<int>({1})->reshapeToZVariant(twice.get(), {6}, row))),
                ElementsAre(1, 2, 3, 4, 0, 0));
    const OwnedData<> texts(realView(arrayOf<std::string>({2}).release()));
    EXPECT_THAT(plainElements<std::string>(uniqueOf(texts)),
                ElementsAre(nthElement<std::string>(0), nthElement<std::string>(1), "", ""));
}

TEST(Views, AreReshapedAloneAndNeverRebuilt) {
    const OwnedData<> reals = arrayOf<int>({2, 5});
    const OwnedData<> view = viewOf(reals, complexView);
    // The rank may grow, and the fifth element comes into sight, although the data are shared.
    view->reshapeNoRealloc({1, 5, 1});
    EXPECT_EQ(view->dimensions(), ArrayDimensionsView({1, 5, 1}));
    EXPECT_EQ(reals->dimensions(), ArrayDimensionsView({2, 5}));
    EXPECT_RAISES(std::length_error, "Cannot reshape array to given dimensions without reallocating.",
                  view->reshapeNoRealloc({6}));
    const OwnedData<> second(view->reorderData(row));
    EXPECT_RAISES(std::runtime_error, "Reference count is greater than 1 - cannot reshape without reallocating.",
                  view->reshapeNoRealloc({9}));
    EXPECT_RAISES(std::runtime_error, "Reshaping to ZVariant is not allowed for Transmute Variant",
                  view->reshapeToZVariant(view.get(), {1}, row));
}

TEST(Views, TakeTheReferenceAlsoWhenTheyFail) {
    const OwnedData<> shapeless = arrayOf<double>({});
    AbiErrorRecord record;
    for (const auto construct : {complexView, realView}) {
        EXPECT_RAISES(std::invalid_argument, noDimensionsText, construct(constructVariantNull()));
        EXPECT_RAISES(std::invalid_argument, noDimensionsText, viewOf(shapeless, construct));
        EXPECT_TRUE(isUnique(shapeless.get()));
    }
    for (const auto construct : {ZVariantData_C_API_constructTransmuteRealToComplexVariant,
                                 ZVariantData_C_API_constructTransmuteComplexToRealVariant}) {
        shapeless->copy();
        EXPECT_EQ(construct(&record, shapeless.get()), nullptr);
        EXPECT_STREQ(record.kind, "invalid_argument");
        EXPECT_STREQ(record.message, noDimensionsText);
        EXPECT_TRUE(isUnique(shapeless.get()));
        const OwnedData<> data = arrayOf<double>({4});
        data->copy();
        PyxVariantData* const view = construct(&record, data.get());
        EXPECT_FALSE(isUnique(data.get()));
        ZVariantData_C_API_destruct(&record, view);
        EXPECT_TRUE(isUnique(data.get()) && record.kind == nullptr);
    }
}

template <class Value>
struct ValueViews : testing::Test {};
TYPED_TEST_SUITE(ValueViews, BothValues, );

TYPED_TEST(ValueViews, ShareUntilOneIsWritten) {
    using Pair = std::complex<double>;
    const auto samples = TypeParam::fromData({1., 2., 3., 4.});
    TypeParam pairs = samples.asComplex();
    EXPECT_EQ(static_cast<const void*>(pairs.template data<Pair>()), samples.template data<double>());
    EXPECT_EQ(testing::PrintToString(pairs), "[(1,2), (3,4)]");
    pairs.template mutableElementAt<Pair>(0) = 9;
    EXPECT_EQ(samples.template elementAt<double>(0), 1);
    EXPECT_EQ(pairs.template elementAt<Pair>(0), Pair(9));
    // Of a temporary, and of what is of the wanted kind already.
    const TypeParam parts = samples.asComplex().asReal().asReal();
    EXPECT_EQ(parts.template data<double>(), samples.template data<double>());
    EXPECT_EQ(parts.convertTo(WellKnownType::int32).template elementAt<int>(3), 4);
    // A scalar inside the value is copied first.
    const TypeParam scalar = TypeParam(Pair(5, 6)).asReal();
    EXPECT_EQ(testing::PrintToString(scalar), "[5, 6]");
    EXPECT_EQ(TypeParam(2.5).asComplex().elementCount(), 0u);

    EXPECT_RAISES(std::invalid_argument, noDimensionsText, TypeParam().asReal());
    for (const TypeParam& other : {TypeParam(Duration(1, 2)), TypeParam::fromData({"one", "two"})}) {
        EXPECT_RAISES(std::runtime_error, notNumericText, other.asReal());
        EXPECT_RAISES(std::runtime_error, notNumericText, other.asComplex());
    }
}

}  // namespace
}  // namespace Quorvane::Pyx::Internal
