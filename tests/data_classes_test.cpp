// The data classes and their factories: contract, ownership and reshape.
#include "values.h"

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

using Shape = std::vector<std::uint64_t>;

constexpr const char* scalarReshapeText =
    "Cannot reshape a scalar ZVariant to different dimensions without reallocating.";
constexpr const char* sharedReshapeText = "Reference count is greater than 1 - cannot reshape without reallocating.";
constexpr const char* sizeReshapeText = "Cannot reshape array to given dimensions without reallocating.";
constexpr const char* lengthText = "dimensions do not match data length";

Shape shapeOf(const OwnedData<>& data) {
    return data->dimensions().toVector();
}

template <class T>
const T& element(const IVariantData& data, std::uint64_t position = 0) {
    return static_cast<const T*>(data.constStoredData())[position];
}

template <class T>
OwnedData<> adopted(std::vector<T> elements, const Shape& shape) {
    return OwnedData<>(constructVariantDataFromMovedVector<T>(std::move(elements), shape, DataOrdering::ColumnMajor));
}

OwnedData<> sixNumbers(const Shape& shape) {
    return OwnedData<>(constructVariantVectorWithDataWithDimsUnresolved<double>(sequence<double>(6).get(), 6, shape,
                                                                                DataOrdering::RowMajor));
}

TEST(NullData, AnswersNothing) {
    IVariantData* const null = constructVariantNull();
    EXPECT_EQ(null->makeUnique(), null);
    EXPECT_EQ(null->mutableStoredData(), nullptr);
    EXPECT_TRUE(null->dimensions().empty() && null->dimensions().begin() == nullptr);
    EXPECT_TRUE(null->storedTypeInfo() == nullptr && null->customTypeOperations() == nullptr);
    EXPECT_EQ(null->reshapeToZVariant(null, {2}, DataOrdering::RowMajor), nullptr);
    null->reshapeNoRealloc({});
    EXPECT_RAISES(std::invalid_argument,
                  "Cannot reshape an empty ZVariant to one containing more than zero elements without reallocating.",
                  null->reshapeNoRealloc({0}));
}

template <class T>
struct EachElementType : testing::Test {};
TYPED_TEST_SUITE(EachElementType, AllElementTypes);

TYPED_TEST(EachElementType, ScalarsAreInlineWhereThereIsRoom) {
    using T = TypeParam;
    const T value = nthElement<T>(1);
    ZVariantDirectStorage storage;
    void* const buffer = storage.inlineBuffer;
    const std::uint64_t needed = sizeof(ScalarVariantDataNonCounted<T>);
    IVariantData* const inlined = constructVariantScalar<T>(buffer, needed, value);
    EXPECT_EQ(static_cast<void*>(inlined), buffer);
    const OwnedData<> counted(constructVariantScalar<T>(buffer, needed - 1, value));
    EXPECT_NE(static_cast<void*>(counted.get()), buffer);
    for (IVariantData* const scalar : {inlined, counted.get()}) {
        EXPECT_EQ(*scalar->storedTypeInfo(), typeid(T));
        EXPECT_TRUE(scalar->isScalarStorage() && scalar->customTypeOperations() == nullptr);
        EXPECT_EQ(element<T>(*scalar), value);
        EXPECT_EQ(scalar->mutableStoredData(), scalar->constStoredData());
        EXPECT_EQ(scalar->dataOrdering(), DataOrdering::RowMajor);
        scalar->reshapeNoRealloc({1});
        for (const Shape& shape : {Shape{}, {1, 1}, {2}, {0}}) {
            EXPECT_RAISES(std::invalid_argument, scalarReshapeText, scalar->reshapeNoRealloc(shape));
        }
        const OwnedData<> rebuilt(scalar->reshapeToZVariant(scalar, {2, 1}, DataOrdering::ColumnMajor));
        EXPECT_TRUE(element<T>(*rebuilt, 0) == value && element<T>(*rebuilt, 1) == T{});
        EXPECT_EQ(scalar->reorderData(DataOrdering::ColumnMajor), scalar);
    }
    EXPECT_EQ(inlined->makeUnique(), inlined);
    inlined->~IVariantData();

    T moved = value;
    IVariantData* const forced = moveVariantScalar<T>(buffer, 0, std::move(moved));
    EXPECT_EQ(element<T>(*forced), value);
    EXPECT_EQ(moved, (std::is_same_v<T, std::string> ? T{} : value));
    forced->~IVariantData();

    // makeUnique gives up the reference that reorderData took.
    EXPECT_FALSE(isUnique(counted.get()));
    const OwnedData<> unique(counted->makeUnique());
    EXPECT_NE(unique, counted);
    EXPECT_TRUE(isUnique(unique.get()) && isUnique(counted.get()));
    EXPECT_EQ(unique->makeUnique(), unique.get());
    EXPECT_EQ(element<T>(*unique), value);
}

TYPED_TEST(EachElementType, ArraysHoldCopiesOfTheirData) {
    using T = TypeParam;
    const OwnedData<> array(constructVariantVectorWithDataWithDimsUnresolved<T>(sequence<T>(6).get(), 6, {2, 3},
                                                                                DataOrdering::ColumnMajor));
    EXPECT_EQ(*array->storedTypeInfo(), typeid(T));
    // One allocation: the elements stand right behind the object.
    EXPECT_EQ(array->constStoredData(), static_cast<const VectorVariantData<T>*>(array.get()) + 1);
    // A copy keeps what a smaller shape hides.
    array->reshapeNoRealloc({1, 3});
    array->copy();
    const OwnedData<> copy(array->makeUnique());
    EXPECT_EQ(shapeOf(copy), Shape({1, 3}));
    EXPECT_EQ(copy->numberAllocatedElements(), 6u);
    EXPECT_EQ(copy->dataOrdering(), DataOrdering::ColumnMajor);
    for (std::uint64_t i = 0; i < 6; ++i) {
        EXPECT_EQ(element<T>(*copy, i), nthElement<T>(i));
    }

    const auto allocate = [](const Shape& shape) {
        return OwnedData<>(constructVariantVectorWithoutDataWithDimsUnresolved<T>(shape, DataOrdering::RowMajor));
    };
    // Elements of the plain types are not initialised.
    if constexpr (!std::is_arithmetic_v<T>) {
        EXPECT_EQ(element<T>(*allocate({2, 2}), 3), T{});
    }
    EXPECT_THROW(allocate({~std::uint64_t{0} / sizeof(T)}), std::bad_alloc);
}

TEST(Arrays, HaveAsManyElementsAsTheirShape) {
    EXPECT_EQ(shapeOf(sixNumbers({})), Shape{6});
    for (const Shape& shape : {Shape{2, 2}, {0, 3}, {7}}) {
        EXPECT_RAISES(std::length_error, lengthText, sixNumbers(shape));
    }
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
        EXPECT_EQ(shapeOf(array), Shape({2, 3}));
        array->copy();
        const OwnedData<> copy(array->makeUnique());
        EXPECT_NE(dynamic_cast<StdVectorVariantData<T>*>(copy.get()), nullptr);
        EXPECT_EQ(element<T>(*copy, 5), nthElement<T>(5));

        // Unlike with data that are copied, a dimension of 0 gives way to the elements.
        EXPECT_EQ(shapeOf(adopted(std::vector<T>(5), {0, 3})), Shape{5});
        EXPECT_EQ(shapeOf(adopted(std::vector<T>(5), {})), Shape{5});
        EXPECT_EQ(shapeOf(adopted(std::vector<T>(), {0, 3})), Shape({0, 3}));
        EXPECT_EQ(shapeOf(adopted(std::vector<T>(), {})), Shape{});
        EXPECT_RAISES(std::length_error, lengthText, adopted(std::vector<T>(5), {2, 3}));
        EXPECT_RAISES(std::length_error, lengthText, adopted(std::vector<T>(), {1}));
    }
}

TEST(Reshape, DiffersByClassAsItsClientsRelyOn) {
    const struct {
        bool adopts;  // a StdVectorVariantData with room for 8 elements instead of a VectorVariantData
        Shape from, to;
        const char* failure;
    } cases[] = {{false, {2, 3}, {3, 2}, nullptr},
                 {false, {2, 3}, {2, 2}, nullptr},
                 {false, {2, 3}, {}, nullptr},
                 {false, {2, 3}, {0, 9}, nullptr},
                 {false, {2, 3}, {7, 1}, sizeReshapeText},
                 {false, {6}, {2, 3}, sizeReshapeText},
                 {false, {2, 3}, {1, 1, 1}, sizeReshapeText},
                 {true, {2, 3}, {6}, nullptr},
                 {true, {6}, {2, 2, 2}, nullptr},
                 {true, {6}, {}, nullptr},
                 {true, {6}, {9}, sizeReshapeText}};
    for (const auto& reshape : cases) {
        std::vector<double> roomy;
        roomy.reserve(8);
        roomy = {1, 2, 3, 4, 5, 6};
        const OwnedData<> array = reshape.adopts ? adopted(std::move(roomy), reshape.from) : sixNumbers(reshape.from);
        // While it is shared only its own shape passes, whatever else would fail.
        array->copy();
        array->reshapeNoRealloc(reshape.from);
        EXPECT_RAISES(std::runtime_error, sharedReshapeText, array->reshapeNoRealloc(reshape.to));
        array->destruct();
        if (reshape.failure != nullptr) {
            EXPECT_RAISES(std::length_error, reshape.failure, array->reshapeNoRealloc(reshape.to));
            EXPECT_EQ(shapeOf(array), reshape.from);
        } else {
            array->reshapeNoRealloc(reshape.to);
            EXPECT_EQ(shapeOf(array), reshape.to);
        }
        if (reshape.adopts) {
            // A copy keeps the room that the shape counts on.
            array->copy();
            const OwnedData<> copy(array->makeUnique());
            EXPECT_NO_THROW(copy->reshapeNoRealloc({copy->dimensions().elementCount()}));
        }
        EXPECT_EQ(array->numberAllocatedElements(), 6u);
        EXPECT_EQ(element<double>(*array, 5), 6);
    }
    // A part of the own shape.
    const OwnedData<> array = sixNumbers({1, 2, 3});
    array->reshapeNoRealloc({array->dimensions().begin() + 1, 2});
    EXPECT_EQ(shapeOf(array), Shape({2, 3}));
}

TEST(Rebuild, RefusesElementsOfAnotherType) {
    const OwnedData<> text(constructVariantScalar<std::string>(nullptr, 0, "text"));
    EXPECT_RAISES(std::invalid_argument, "Wrong data type.",
                  text->reshapeToZVariant(sixNumbers({6}).get(), {1}, DataOrdering::RowMajor));
    for (IVariantData* const nothing : {static_cast<IVariantData*>(nullptr), constructVariantNull()}) {
        const OwnedData<> empty(text->reshapeToZVariant(nothing, {2}, DataOrdering::RowMajor));
        EXPECT_EQ(element<std::string>(*empty, 1), "");
    }
}

TEST(InlineScalars, AreCopiedAndMovedBetweenStorages) {
    const auto source = ZVariantDirectStorage::fromScalar(std::string("a text that needs a buffer of its own"));
    ZVariantDirectStorage copy(source);
    EXPECT_EQ(static_cast<const void*>(copy.variantData), copy.inlineBuffer);
    EXPECT_NE(copy.constStoredData(), source.constStoredData());
    ZVariantDirectStorage buffer;
    IVariantData* const moved = moveConstructVariantScalar(buffer.inlineBuffer, sizeof(buffer.inlineBuffer), copy);
    EXPECT_EQ(element<std::string>(*moved), element<std::string>(*source.variantData));
    EXPECT_EQ(element<std::string>(*copy.variantData), "");
    moved->~IVariantData();
    EXPECT_RAISES(std::runtime_error, "unknown type",
                  copyConstructVariantScalar(buffer.inlineBuffer, 40, ZVariantDirectStorage()));
    ZVariantDirectStorage taken(std::move(copy));
    EXPECT_EQ(copy.variantData, nullptr);
}

}  // namespace
}  // namespace Quorvane::Pyx::Internal
