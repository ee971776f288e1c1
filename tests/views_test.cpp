// Real arrays read as complex ones and the other way round: what the views report, share, copy and refuse.
#include "element_sequence.h"

#include <gmock/gmock.h>
#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>

#include <complex>
#include <string>
#include <vector>

namespace Quorvane::Pyx::Internal {
namespace {

using testing::ElementsAre;
using testing::ThrowsMessage;
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

bool isUnique(const OwnedData<>& data) {
    return dynamic_cast<const IVariantDataRefCounted&>(*data).isUnique();
}

// The elements of what is a plain array of T and nothing else.
template <class T>
std::vector<T> plainElements(const OwnedData<>& data) {
    const T* const elements = dynamic_cast<const VectorVariantData<T>&>(*data).elements();
    return std::vector<T>(elements, elements + data->numberAllocatedElements());
}

template <class T>
struct ViewsOf : testing::Test {};
TYPED_TEST_SUITE(ViewsOf, AllElementTypes, );

TYPED_TEST(ViewsOf, ShowTheSameStorage) {
    using T = TypeParam;
    if constexpr (isComplexElement<T>) {
        using Part = Component<T>;
        const OwnedData<> reals = arrayOf<Part>({2, 6});
        const OwnedData<> pairs = viewOf(reals, complexView);
        const OwnedData<> parts = viewOf(pairs, realView);
        EXPECT_EQ(pairs->wellKnownDataType(), WellKnownType(ElementTraits<T>::code));
        EXPECT_EQ(parts->wellKnownDataType(), WellKnownType(ElementTraits<Part>::code));
        for (const OwnedData<>* const view : {&pairs, &parts}) {
            EXPECT_EQ((*view)->constStoredData(), reals->constStoredData());
            EXPECT_EQ((*view)->mutableStoredData(), reals->constStoredData());
            EXPECT_FALSE((*view)->isScalarStorage() || isUnique(*view));
            EXPECT_TRUE((*view)->storedTypeInfo() == nullptr && (*view)->customTypeOperations() == nullptr);
        }

        std::vector<T> expected;
        for (std::uint64_t i = 0; i < 6; ++i) {
            expected.emplace_back(nthElement<Part>(2 * i), nthElement<Part>(2 * i + 1));
        }
        const OwnedData<> copy = uniqueOf(pairs);
        EXPECT_EQ(plainElements<T>(copy), expected);
        EXPECT_EQ(copy->dimensions(), ArrayDimensionsView({2, 3}));
        EXPECT_EQ(pairs->reorderData(row), pairs.get());
        pairs->destruct();
        const OwnedData<> columns(pairs->reorderData(column));
        EXPECT_THAT(plainElements<T>(columns),
                    ElementsAre(expected[0], expected[3], expected[1], expected[4], expected[2], expected[5]));
        EXPECT_EQ(columns->dataOrdering(), column);
        const OwnedData<> realColumns(parts->reorderData(column));
        EXPECT_EQ(static_cast<const Part*>(realColumns->constStoredData())[3], nthElement<Part>(7));
    }
}

TYPED_TEST(ViewsOf, ConvertToViews) {
    using T = TypeParam;
    const OwnedData<> pairs(complexView(arrayOf<int>({6}).release()));
    const OwnedData<> parts = viewOf(pairs, realView);
    const WellKnownType target = ElementTraits<T>::code;
    if constexpr (isNumericElement<T>) {
        // Whichever kind is asked for, a view stays of its own.
        for (const OwnedData<>* const view : {&pairs, &parts}) {
            const OwnedData<> converted((*view)->convertDataTo(target, ConversionMode::Cast));
            EXPECT_EQ(converted->wellKnownDataType(), view == &pairs ? target.complexType() : target.componentType());
            EXPECT_EQ(converted->dimensions(), (*view)->dimensions());
            EXPECT_FALSE(isUnique(converted));
            using Part = Component<T>;
            EXPECT_EQ(static_cast<const Part*>(converted->constStoredData())[5], static_cast<Part>(6));
        }
    } else {
        EXPECT_EQ(pairs->convertDataTo(target, ConversionMode::Cast), nullptr);
        EXPECT_THAT([&] { parts->convertDataTo(target, ConversionMode::Cast); },
                    ThrowsMessage<std::runtime_error>(notNumericText));
        // Can be made, and fails when it is asked for its type.
        const OwnedData<> meaningless(complexView(arrayOf<T>({4}).release()));
        EXPECT_THAT([&] { meaningless->wellKnownDataType(); }, ThrowsMessage<std::runtime_error>(notNumericText));
    }
}

struct ViewCase {
    Shape shape;
    DataOrdering ordering;
    Shape asComplex;
    std::uint64_t complexCount;
    Shape asReal;
};

TEST(Views, ChangeTheFastestDimension) {
    for (const ViewCase& c : {ViewCase{{6}, row, {3}, 3, {12}},
                              {{2, 6}, row, {2, 3}, 6, {2, 12}},
                              {{6, 2}, column, {3, 2}, 6, {12, 2}},
                              {{5}, row, {2}, 2, {10}},
                              {{2, 5}, row, {2, 2}, 5, {2, 10}},
                              {{5, 2}, column, {2, 2}, 5, {10, 2}},
                              {{3, 0}, row, {3, 0}, 0, {3, 0}},
                              {{1}, column, {0}, 0, {2}}}) {
        const OwnedData<> pairs(complexView(arrayOf<float>(c.shape, c.ordering).release()));
        const OwnedData<> parts(realView(arrayOf<std::complex<float>>(c.shape, c.ordering).release()));
        EXPECT_EQ(pairs->dimensions(), ArrayDimensionsView(c.asComplex));
        EXPECT_EQ(pairs->numberAllocatedElements(), c.complexCount);
        EXPECT_EQ(parts->dimensions(), ArrayDimensionsView(c.asReal));
        EXPECT_EQ(parts->numberAllocatedElements(), 2 * ArrayDimensionsView(c.shape).elementCount());
        for (const OwnedData<>* const view : {&pairs, &parts}) {
            EXPECT_EQ((*view)->dataOrdering(), c.ordering);
            // Copies have as many elements as the shape, however many there are.
            const std::uint64_t shown = (*view)->dimensions().elementCount();
            const OwnedData<> reordered((*view)->reorderData(c.ordering == row ? column : row));
            EXPECT_EQ(uniqueOf(*view)->numberAllocatedElements(), shown);
            EXPECT_EQ(reordered->numberAllocatedElements(), shown);
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
    const OwnedData<> texts(realView(arrayOf<std::string>({2}).release()));
    EXPECT_THAT(plainElements<std::string>(uniqueOf(texts)),
                ElementsAre(nthElement<std::string>(0), nthElement<std::string>(1), "", ""));
}

TEST(Views, AreReshapedAloneAndNeverRebuilt) {
    const OwnedData<> reals = arrayOf<int>({2, 5});
    const OwnedData<> view = viewOf(reals, complexView);
    const OwnedData<> second(view->reorderData(row));
    view->reshapeNoRealloc({2, 2});
    EXPECT_THAT(
        [&] { view->reshapeNoRealloc({9}); },
        ThrowsMessage<std::runtime_error>("Reference count is greater than 1 - cannot reshape without reallocating."));
    view->destruct();
    EXPECT_THAT([&] { view->reshapeNoRealloc({6}); },
                ThrowsMessage<std::length_error>("Cannot reshape array to given dimensions without reallocating."));
    // The rank may grow, and the fifth element comes into sight, although the data are shared.
    view->reshapeNoRealloc({1, 5, 1});
    EXPECT_EQ(view->dimensions(), ArrayDimensionsView({1, 5, 1}));
    EXPECT_EQ(reals->dimensions(), ArrayDimensionsView({2, 5}));
    view->copy();
    EXPECT_THAT([&] { view->reshapeToZVariant(view.get(), {1}, row); },
                ThrowsMessage<std::runtime_error>("Reshaping to ZVariant is not allowed for Transmute Variant"));
}

TEST(Views, TakeTheReferenceAlsoWhenTheyFail) {
    const OwnedData<> shapeless = arrayOf<double>({});
    AbiErrorRecord record;
    struct Factory {
        IVariantData* (*construct)(IVariantData*);
        IVariantData* (*flatConstruct)(AbiErrorRecord*, IVariantData*);
    };
    for (const Factory& factory : {Factory{complexView, ZVariantData_C_API_constructTransmuteRealToComplexVariant},
                                   Factory{realView, ZVariantData_C_API_constructTransmuteComplexToRealVariant}}) {
        EXPECT_THAT([&] { factory.construct(constructVariantNull()); },
                    ThrowsMessage<std::invalid_argument>(noDimensionsText));
        EXPECT_THAT([&] { viewOf(shapeless, factory.construct); },
                    ThrowsMessage<std::invalid_argument>(noDimensionsText));
        EXPECT_TRUE(isUnique(shapeless));
        shapeless->copy();
        EXPECT_EQ(factory.flatConstruct(&record, shapeless.get()), nullptr);
        EXPECT_STREQ(record.kind, "invalid_argument");
        EXPECT_STREQ(record.message, noDimensionsText);
        EXPECT_TRUE(isUnique(shapeless));

        const OwnedData<> data = arrayOf<double>({4});
        data->copy();
        PyxVariantData* const view = factory.flatConstruct(&record, data.get());
        EXPECT_FALSE(isUnique(data));
        ZVariantData_C_API_destruct(&record, view);
        EXPECT_TRUE(isUnique(data) && record.kind == nullptr);
    }
}

template <class Value>
struct ValueViews : testing::Test {};
using BothValues = testing::Types<ZVariant, ZVariantAbi>;
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

    EXPECT_THAT([] { (void)TypeParam().asReal(); }, ThrowsMessage<std::invalid_argument>(noDimensionsText));
    for (const TypeParam& other : {TypeParam(Duration(1, 2)), TypeParam::fromData({"one", "two"})}) {
        EXPECT_THAT([&] { (void)other.asReal(); }, ThrowsMessage<std::runtime_error>(notNumericText));
        EXPECT_THAT([&] { (void)other.asComplex(); }, ThrowsMessage<std::runtime_error>(notNumericText));
    }
}

}  // namespace
}  // namespace Quorvane::Pyx::Internal
