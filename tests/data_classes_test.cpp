// The data classes and their factories: contract, ownership and reshape, over all element types.
#include "element_sequence.h"

#include <gmock/gmock.h>
#include <pyx/types/dispatch.h>
#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/StdVectorVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/ZVariantDirectStorage.h>

#include <functional>
#include <string>
#include <vector>

namespace Quorvane::Pyx::Internal {
namespace {

using testing::ThrowsMessage;
using Shape = std::vector<std::uint64_t>;

constexpr const char* scalarReshapeText =
    "Cannot reshape a scalar ZVariant to different dimensions without reallocating.";
constexpr const char* sharedReshapeText = "Reference count is greater than 1 - cannot reshape without reallocating.";
constexpr const char* sizeReshapeText = "Cannot reshape array to given dimensions without reallocating.";

bool isUnique(const IVariantData* data) {
    return dynamic_cast<const IVariantDataRefCounted&>(*data).isUnique();
}

Shape shapeOf(const IVariantData& data) {
    return data.dimensions().toVector();
}

template <class T>
const T& element(const IVariantData& data, std::uint64_t position = 0) {
    return static_cast<const T*>(data.constStoredData())[position];
}

template <class T>
OwnedData<> adopted(std::vector<T> elements, const Shape& shape) {
    return OwnedData<>(constructVariantDataFromMovedVector<T>(std::move(elements), shape, DataOrdering::ColumnMajor));
}

TEST(NullData, AnswersNothingAndConvertsToEmptyArrays) {
    IVariantData* const null = constructVariantNull();
    null->copy();
    null->destruct();
    null->destruct();
    EXPECT_EQ(null->makeUnique(), null);
    EXPECT_EQ(null->reorderData(DataOrdering::ColumnMajor), null);
    EXPECT_EQ(null->wellKnownDataType(), WellKnownType::unknown);
    EXPECT_TRUE(null->dimensions().empty() && null->dimensions().begin() == nullptr);
    EXPECT_EQ(null->numberAllocatedElements(), 0u);
    EXPECT_FALSE(null->isScalarStorage());
    EXPECT_EQ(null->constStoredData(), nullptr);
    EXPECT_EQ(null->mutableStoredData(), nullptr);
    EXPECT_TRUE(null->storedTypeInfo() == nullptr && null->customTypeOperations() == nullptr);
    EXPECT_EQ(null->reshapeToZVariant(null, {2}, DataOrdering::RowMajor), nullptr);
    null->reshapeNoRealloc({});
    EXPECT_THAT([&] { null->reshapeNoRealloc({0}); },
                ThrowsMessage<std::invalid_argument>("Cannot reshape an empty ZVariant to one containing more than "
                                                     "zero elements without reallocating."));
    for (const std::uint32_t mode : {0u, 1u, 2u, 3u}) {
        EXPECT_EQ(null->convertDataTo(WellKnownType::unknown, ConversionMode(mode)), null);
        const OwnedData<> empty(null->convertDataTo(WellKnownType::string, ConversionMode(mode)));
        EXPECT_EQ(empty->wellKnownDataType(), WellKnownType::string);
        EXPECT_TRUE(empty->dimensions().empty() && isUnique(empty.get()));
    }
    EXPECT_THAT([&] { null->convertDataTo(WellKnownType::customType, ConversionMode::Cast); },
                ThrowsMessage<std::runtime_error>("unknown type"));
}

template <class T>
struct EachElementType : testing::Test {};
TYPED_TEST_SUITE(EachElementType, AllElementTypes);

// What holds for a scalar of either ownership.
template <class T>
void expectScalar(IVariantData& scalar, const T& value) {
    EXPECT_EQ(scalar.wellKnownDataType(), WellKnownType(ElementTraits<T>::code));
    EXPECT_EQ(*scalar.storedTypeInfo(), typeid(T));
    EXPECT_EQ(scalar.customTypeOperations(), nullptr);
    EXPECT_EQ(shapeOf(scalar), Shape{1});
    EXPECT_EQ(scalar.numberAllocatedElements(), 1u);
    EXPECT_TRUE(scalar.isScalarStorage());
    EXPECT_EQ(element<T>(scalar), value);
    EXPECT_EQ(scalar.mutableStoredData(), scalar.constStoredData());
    scalar.reshapeNoRealloc({1});
    for (const Shape& shape : {Shape{}, {1, 1}, {2}, {0}}) {
        EXPECT_THAT([&] { scalar.reshapeNoRealloc(shape); }, ThrowsMessage<std::invalid_argument>(scalarReshapeText));
    }
    const OwnedData<> rebuilt(scalar.reshapeToZVariant(&scalar, {2, 1}, DataOrdering::ColumnMajor));
    EXPECT_EQ(shapeOf(*rebuilt), Shape({2, 1}));
    EXPECT_EQ(rebuilt->dataOrdering(), DataOrdering::ColumnMajor);
    EXPECT_EQ(element<T>(*rebuilt, 0), value);
    EXPECT_EQ(element<T>(*rebuilt, 1), T{});
}

TYPED_TEST(EachElementType, ScalarsAreInlineWhereThereIsRoom) {
    using T = TypeParam;
    const T value = nthElement<T>(1);
    ZVariantDirectStorage storage;
    void* const buffer = storage.inlineBuffer;
    const std::uint64_t needed = sizeof(ScalarVariantDataNonCounted<T>);

    IVariantData* const inlined = constructVariantScalar<T>(buffer, needed, value);
    EXPECT_EQ(static_cast<void*>(inlined), buffer);
    expectScalar(*inlined, value);
    EXPECT_EQ(inlined->makeUnique(), inlined);
    EXPECT_EQ(inlined->reorderData(DataOrdering::ColumnMajor), inlined);
    EXPECT_EQ(inlined->dataOrdering(), DataOrdering::RowMajor);
    inlined->~IVariantData();

    T moved = value;
    IVariantData* const forced = moveVariantScalar<T>(buffer, 0, std::move(moved));
    EXPECT_EQ(element<T>(*forced), value);
    EXPECT_EQ(moved, (std::is_same_v<T, std::string> ? T{} : value));
    forced->~IVariantData();

    const OwnedData<> counted(constructVariantScalar<T>(buffer, needed - 1, value));
    EXPECT_NE(static_cast<void*>(counted.get()), buffer);
    expectScalar(*counted, value);
    EXPECT_TRUE(isUnique(counted.get()));
    EXPECT_EQ(counted->reorderData(DataOrdering::ColumnMajor), counted.get());
    EXPECT_FALSE(isUnique(counted.get()));

    // makeUnique gives up the reference that reorderData took.
    const OwnedData<> unique(counted->makeUnique());
    EXPECT_NE(unique, counted);
    EXPECT_TRUE(isUnique(unique.get()) && isUnique(counted.get()));
    EXPECT_EQ(unique->makeUnique(), unique.get());
    EXPECT_EQ(element<T>(*unique), value);
}

TYPED_TEST(EachElementType, ArraysHoldCopiesOfTheirData) {
    using T = TypeParam;
    const auto data = sequence<T>(6);
    const auto make = [&](std::uint64_t length, const Shape& shape) {
        return OwnedData<>(
            constructVariantVectorWithDataWithDimsUnresolved<T>(data.get(), length, shape, DataOrdering::ColumnMajor));
    };
    const auto array = make(6, {2, 3});
    EXPECT_EQ(array->wellKnownDataType(), WellKnownType(ElementTraits<T>::code));
    EXPECT_EQ(shapeOf(*array), Shape({2, 3}));
    EXPECT_EQ(array->dataOrdering(), DataOrdering::ColumnMajor);
    EXPECT_FALSE(array->isScalarStorage());
    EXPECT_EQ(*array->storedTypeInfo(), typeid(T));
    // One allocation: the elements stand right behind the object.
    EXPECT_EQ(array->constStoredData(), static_cast<const VectorVariantData<T>*>(array.get()) + 1);

    EXPECT_EQ(shapeOf(*make(6, {})), Shape{6});
    EXPECT_EQ(shapeOf(*make(0, {})), Shape{});
    EXPECT_EQ(shapeOf(*make(0, {0, 3})), Shape({0, 3}));
    for (const auto& [length, shape] : {std::pair<std::uint64_t, Shape>{6, {2, 2}}, {5, {0, 3}}, {0, {1}}}) {
        EXPECT_THAT(([&, length = length, shape = shape] { make(length, shape); }),
                    ThrowsMessage<std::length_error>("dimensions do not match data length"));
    }

    // A copy keeps what a smaller shape hides.
    array->reshapeNoRealloc({1, 3});
    array->copy();
    const OwnedData<> copy(array->makeUnique());
    EXPECT_NE(copy, array);
    EXPECT_EQ(shapeOf(*copy), Shape({1, 3}));
    EXPECT_EQ(copy->numberAllocatedElements(), 6u);
    EXPECT_EQ(copy->dataOrdering(), DataOrdering::ColumnMajor);
    for (std::uint64_t i = 0; i < 6; ++i) {
        EXPECT_EQ(element<T>(*copy, i), nthElement<T>(i));
    }
}

TYPED_TEST(EachElementType, ArraysWithoutDataHaveDefaultElements) {
    using T = TypeParam;
    const OwnedData<> array(
        constructVariantVectorWithoutDataWithDimsUnresolved<T>(Shape{2, 2}, DataOrdering::RowMajor));
    EXPECT_EQ(array->numberAllocatedElements(), 4u);
    // Elements of the plain types are not initialised.
    if constexpr (!std::is_arithmetic_v<T>) {
        EXPECT_EQ(element<T>(*array, 3), T{});
    }
    const OwnedData<> empty(constructVariantVectorWithoutDataWithDimsUnresolved<T>({}, DataOrdering::RowMajor));
    EXPECT_EQ(shapeOf(*empty), Shape{});
    EXPECT_EQ(empty->numberAllocatedElements(), 0u);
    EXPECT_THROW(
        constructVariantVectorWithoutDataWithDimsUnresolved<T>({~std::uint64_t{0} / sizeof(T)}, DataOrdering{}),
        std::bad_alloc);
}

TEST(LargeArrays, CanBeWrittenFromEndToEnd) {
    const std::uint64_t count = std::uint64_t{1} << 20;
    const OwnedData<> array(
        constructVariantVectorWithoutDataWithDimsUnresolved<double>({count}, DataOrdering::RowMajor));
    auto* const elements = static_cast<double*>(array->mutableStoredData());
    std::fill_n(elements, count, 0.5);
    EXPECT_EQ(elements[count - 1], 0.5);
}

TYPED_TEST(EachElementType, VectorsAreAdopted) {
    using T = TypeParam;
    if constexpr (!std::is_same_v<T, bool>) {
        const auto data = sequence<T>(6);
        std::vector<T> elements(data.get(), data.get() + 6);
        const T* const storage = elements.data();
        const auto array = adopted(std::move(elements), {2, 3});
        EXPECT_EQ(array->constStoredData(), storage);
        EXPECT_EQ(shapeOf(*array), Shape({2, 3}));
        EXPECT_EQ(array->dataOrdering(), DataOrdering::ColumnMajor);
        array->copy();
        const OwnedData<> copy(array->makeUnique());
        EXPECT_NE(dynamic_cast<StdVectorVariantData<T>*>(copy.get()), nullptr);
        EXPECT_EQ(element<T>(*copy, 5), nthElement<T>(5));

        // Unlike with data that are copied, a dimension of 0 gives way to the elements.
        EXPECT_EQ(shapeOf(*adopted(std::vector<T>(5), {0, 3})), Shape{5});
        EXPECT_EQ(shapeOf(*adopted(std::vector<T>(5), {})), Shape{5});
        EXPECT_EQ(shapeOf(*adopted(std::vector<T>(), {0, 3})), Shape({0, 3}));
        EXPECT_EQ(shapeOf(*adopted(std::vector<T>(), {})), Shape{});
        EXPECT_THAT(
            [] {
                adopted(std::vector<T>(5), {2, 3});
            },
            ThrowsMessage<std::length_error>("dimensions do not match data length"));
        EXPECT_THAT([] { adopted(std::vector<T>(), {1}); },
                    ThrowsMessage<std::length_error>("dimensions do not match data length"));
    }
}

struct ReshapeCase {
    bool adopts;  // a StdVectorVariantData with room for 8 elements instead of a VectorVariantData
    Shape from, to;
    const char* failure;
};

TEST(Reshape, DiffersByClassAsItsClientsRelyOn) {
    const ReshapeCase cases[] = {
        {false, {2, 3}, {3, 2}, nullptr},      {false, {2, 3}, {6}, nullptr},
        {false, {2, 3}, {2, 2}, nullptr},      {false, {2, 3}, {}, nullptr},
        {false, {2, 3}, {0, 9}, nullptr},      {false, {2, 3}, {7, 1}, sizeReshapeText},
        {false, {6}, {2, 3}, sizeReshapeText}, {false, {2, 3}, {1, 1, 1}, sizeReshapeText},
        {true, {2, 3}, {6}, nullptr},          {true, {6}, {2, 3}, nullptr},
        {true, {6}, {2, 2, 2}, nullptr},       {true, {6}, {}, nullptr},
        {true, {6}, {9}, sizeReshapeText},
    };
    for (const ReshapeCase& reshape : cases) {
        const std::vector<double> data{0, 1, 2, 3, 4, 5};
        std::vector<double> roomy;
        roomy.reserve(8);
        roomy = data;
        const OwnedData<> array = reshape.adopts ? adopted(std::move(roomy), reshape.from)
                                                 : OwnedData<>(constructVariantVectorWithDataWithDimsUnresolved<double>(
                                                       data.data(), 6, reshape.from, DataOrdering::RowMajor));
        // While it is shared only its own shape passes, whatever else would fail.
        array->copy();
        array->reshapeNoRealloc(reshape.from);
        EXPECT_THAT([&] { array->reshapeNoRealloc(reshape.to); }, ThrowsMessage<std::runtime_error>(sharedReshapeText));
        EXPECT_EQ(shapeOf(*array), reshape.from);
        array->destruct();
        if (reshape.failure != nullptr) {
            EXPECT_THAT([&] { array->reshapeNoRealloc(reshape.to); },
                        ThrowsMessage<std::length_error>(reshape.failure));
            EXPECT_EQ(shapeOf(*array), reshape.from);
        } else {
            array->reshapeNoRealloc(reshape.to);
            EXPECT_EQ(shapeOf(*array), reshape.to);
        }
        EXPECT_EQ(array->numberAllocatedElements(), 6u);
        EXPECT_EQ(element<double>(*array, 5), 5);
    }
}

TEST(Reshape, MayTakeAPartOfTheOwnShape) {
    const OwnedData<> array(
        constructVariantVectorWithoutDataWithDimsUnresolved<int>(Shape{2, 3, 4}, DataOrdering::RowMajor));
    array->reshapeNoRealloc({array->dimensions().begin() + 1, 2});
    EXPECT_EQ(shapeOf(*array), Shape({3, 4}));
}

TEST(Rebuild, RefusesElementsOfAnotherType) {
    const int value = 5;
    const OwnedData<> number(constructVariantScalar<int>(nullptr, 0, value));
    const OwnedData<> text(constructVariantScalar<std::string>(nullptr, 0, "text"));
    EXPECT_THAT([&] { text->reshapeToZVariant(number.get(), {1}, DataOrdering::RowMajor); },
                ThrowsMessage<std::invalid_argument>("Wrong data type."));
    for (const IVariantData* nothing :
         {static_cast<const IVariantData*>(nullptr), static_cast<const IVariantData*>(constructVariantNull())}) {
        const OwnedData<> empty(text->reshapeToZVariant(nothing, {2}, DataOrdering::RowMajor));
        EXPECT_EQ(element<std::string>(*empty, 1), "");
    }
}

TEST(InlineScalars, AreCopiedAndMovedBetweenStorages) {
    const auto source = ZVariantDirectStorage::fromScalar(std::string("a text that needs a buffer of its own"));
    const ZVariantDirectStorage copy(source);
    EXPECT_EQ(static_cast<const void*>(copy.variantData), copy.inlineBuffer);
    EXPECT_NE(copy.constStoredData(), source.constStoredData());
    EXPECT_EQ(element<std::string>(*copy.variantData), element<std::string>(*source.variantData));

    ZVariantDirectStorage donor(source);
    ZVariantDirectStorage buffer;
    IVariantData* const moved = moveConstructVariantScalar(buffer.inlineBuffer, sizeof(buffer.inlineBuffer), donor);
    EXPECT_EQ(element<std::string>(*moved), element<std::string>(*source.variantData));
    EXPECT_EQ(element<std::string>(*donor.variantData), "");
    moved->~IVariantData();

    for (const ZVariantDirectStorage& other : {ZVariantDirectStorage()}) {
        EXPECT_THAT([&] { copyConstructVariantScalar(buffer.inlineBuffer, 40, other); },
                    ThrowsMessage<std::runtime_error>("unknown type"));
    }
    ZVariantDirectStorage taken(std::move(donor));
    EXPECT_EQ(donor.variantData, nullptr);
}

}  // namespace
}  // namespace Quorvane::Pyx::Internal
