// Identity and equivalence of values, and of objects that fail on the way.
#include "values.h"

#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>
#include <pyx/types/dispatch.h>
#include <pyx/variant/IVariantDataNonRefCounted.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/comparison.h>

#include <complex>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace Quorvane::Pyx {
namespace {

constexpr DataOrdering columnMajor = DataOrdering::ColumnMajor;

const std::string same = "same", equivalent = "equivalent", different = "different";

// Asks both ways round, which matters for none of the values here.
template <class Left, class Right>
std::string compare(const Left& left, const Right& right) {
    EXPECT_EQ(left == right, right == left);
    EXPECT_EQ(left.isEquivalentTo(right), right.isEquivalentTo(left));
    if (left == right) {
        return left.isEquivalentTo(right) ? same : "identical only";
    }
    return left.isEquivalentTo(right) ? equivalent : different;
}

template <class T>
struct EachComparedType : testing::Test {};
TYPED_TEST_SUITE(EachComparedType, AllElementTypes, );

TYPED_TEST(EachComparedType, EveryElementCounts) {
    using T = TypeParam;
    const std::uint64_t count = 67;
    const auto elements = sequence<T>(count);
    const auto array = ZVariant::fromData(elements.get(), count);
    EXPECT_EQ(compare(array, ZVariantAbi::fromData(elements.get(), count)), same);
    EXPECT_EQ(compare(ZVariant(elements[1]), ZVariantAbi(elements[1])), same);
    EXPECT_EQ(compare(ZVariant(elements[1]), ZVariant::fromData(&elements[1], 1)), same);
    for (std::uint64_t i = 0; i < count; ++i) {
        const T kept = elements[i];
        elements[i] = nthElement<T>(kept == nthElement<T>(0) ? 1 : 0);
        EXPECT_EQ(compare(array, ZVariantAbi::fromData(elements.get(), count)), different) << i;
        elements[i] = kept;
    }
}

TYPED_TEST(EachComparedType, ShapeAndOrderingCount) {
    using T = TypeParam;
    const auto elements = sequence<T>(6);
    const auto make = [&](ArrayDimensionsView dimensions, DataOrdering ordering = DataOrdering::RowMajor) {
        return ZVariant::fromData(elements.get(), 6, dimensions, ordering);
    };
    EXPECT_EQ(compare(make({2, 3}), make({2, 3}).reordered(columnMajor)), equivalent);
    EXPECT_EQ(compare(make({2, 3}), make({2, 3}, columnMajor)), different);
    EXPECT_EQ(compare(make({1, 6}), make({1, 6}, columnMajor)), equivalent);
    EXPECT_EQ(compare(make({2, 3}), make({3, 2})), different);
    EXPECT_EQ(compare(make({6}), make({1, 6})), different);

    // What a shrinking reshape hides is not compared ...
    auto shrunk = make({6});
    shrunk.reshapeNoRealloc({2});
    EXPECT_EQ(compare(shrunk, ZVariant::fromData(elements.get(), 2)), same);
    // ... and what a shape promises and an adopted vector does not have counts as default.
    if constexpr (!std::is_same_v<T, bool>) {
        std::vector<T> adopted;
        adopted.reserve(4);
        adopted.assign({elements[1], elements[2]});
        auto grown = ZVariant::fromVector(std::move(adopted));
        grown.reshapeNoRealloc({2, 2});
        EXPECT_EQ(compare(grown, ZVariant(grown)), same);
        EXPECT_EQ(compare(grown, ZVariant::fromData({elements[1], elements[2], T{}, T{}}, {2, 2})), same);
        EXPECT_EQ(compare(grown, ZVariant::fromData({elements[1], elements[2], T{}, elements[3]}, {2, 2})), different);
    }
}

// A 2x3 matrix of zeros and ones with this second element, but defaults for types that are not numeric.
ZVariant matrixOf(WellKnownType type, int second = 1) {
    return Internal::dispatchElementType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto numbers = ZVariant::fromData({1, second, 0, 0, 0, 1}, {2, 3});
        return Internal::isNumericElement<T> ? numbers.convertTo(type) : ZVariant::allocate<T>({2, 3});
    });
}

TEST(Equivalence, NumbersOfAllTypesCompareAndNothingElseDoes) {
    for (const WellKnownType a : elementTypes) {
        for (const WellKnownType b : elementTypes) {
            const bool numbers = a.isNumeric() && b.isNumeric();
            const std::string expected = a == b ? same : numbers ? equivalent : different;
            const std::string reordered = expected == same ? equivalent : expected;
            EXPECT_EQ(compare(matrixOf(a), matrixOf(b)), expected) << a << ' ' << b;
            EXPECT_EQ(compare(matrixOf(a), matrixOf(b).reordered(columnMajor)), reordered) << a << ' ' << b;
            if (numbers) {
                EXPECT_EQ(compare(matrixOf(a), matrixOf(b, 0)), different) << a << ' ' << b;
                EXPECT_EQ(compare(matrixOf(a), matrixOf(b, 0).reordered(columnMajor)), different) << a << ' ' << b;
                EXPECT_EQ(compare(ZVariant(1).convertTo(a), ZVariant(1).convertTo(b)), expected) << a << ' ' << b;
            }
        }
    }
}

TEST(Equivalence, LongRunsAreConvertedToTheirEnd) {
    const std::vector<int> numbers(1300, 7);
    const auto array = ZVariant::fromData(numbers.data(), numbers.size());
    for (const WellKnownType type :
         {WellKnownType::double_, WellKnownType::unsignedInt32, WellKnownType::complexInt8}) {
        EXPECT_EQ(compare(array, array.convertTo(type)), equivalent);
        for (const std::uint64_t i : {0U, 127U, 128U, 1151U, 1152U, 1299U}) {
            ZVariant changed = array;
            changed.mutableElementAt<int>(i) = 8;
            EXPECT_EQ(compare(array, changed.convertTo(type)), different) << type << ' ' << i;
        }
    }
}

template <class Value>
struct BothComparedValues : testing::Test {};
TYPED_TEST_SUITE(BothComparedValues, BothValues, );

TYPED_TEST(BothComparedValues, SpecialValues) {
    using Value = TypeParam;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto int64 = [](int bits) { return Value((1LL << bits) + 1); };
    const struct {
        Value left, right;
        std::string expected;
    } rows[] = {{nan, nan, different},
                {5, 5.0, equivalent},
                {-1, 4294967295U, different},
                {static_cast<signed char>(-1), static_cast<unsigned char>(255), different},
                {std::complex<double>(1, nan), std::complex<double>(1, nan), different},
                {0.0, -0.0, same},
                {int64(24), 16777216.0F, equivalent},
                {int64(53), 9007199254740992.0, equivalent},
                {int64(53), (1LL << 53), different},
                {std::complex<float>(1, 0), 1.0, equivalent},
                {std::complex<float>(1, 1), 1.0, different},
                {Complex<int>(1, 0), true, equivalent},
                {Complex<int>(1, 0), Complex<int>(1, 1), different},
                {"1", 1, different},
                {std::string("a\0b", 3), std::string("a\0c", 3), different},
                {std::string("a\0b", 3), "a", different},
                {Duration(1, 2), Duration(1, 2), same},
                {Duration(1, 2), Duration(1, 3), different},
                {Duration(1, 2), TimePoint(1, 2), different},
                {Value(), Value(), same},
                {Value(), 0, different},
                {Value(), Value::template allocate<std::string>({0}), equivalent},
                {Value::template allocate<int>({0, 3}), Value::template allocate<double>({5, 0}), equivalent},
                {Value::template allocate<int>({0}), 0, different}};
    for (const auto& row : rows) {
        EXPECT_EQ(compare(row.left, row.right), row.expected) << &row - rows;
    }
    // There is no shortcut for one and the same value.
    EXPECT_EQ(compare(rows[0].left, rows[0].left), different);
    EXPECT_TRUE(rows[0].left != rows[0].left);

    auto bools = Value::template allocate<bool>({2});
    auto complexBools = Value::template allocate<Complex<bool>>({2});
    for (void* bytes : {static_cast<void*>(bools.template mutableData<bool>()),
                        static_cast<void*>(complexBools.template mutableData<Complex<bool>>())}) {
        static_cast<unsigned char*>(bytes)[0] = 1;
        static_cast<unsigned char*>(bytes)[1] = 2;
    }
    EXPECT_EQ(compare(bools, Value::fromData({true, true})), different);
    EXPECT_EQ(compare(complexBools, Value::fromData({Complex<bool>(true, true), Complex<bool>()})), different);
}

// An object of two elements that does what a test tells it.
struct Fake final : Internal::IVariantDataNonRefCounted {
    WellKnownType type = WellKnownType::int32;
    bool isScalar = false;
    DataOrdering ordering = DataOrdering::RowMajor;
    std::vector<std::uint64_t> shape{2};
    Internal::CustomTypeOperations* operations = nullptr;
    std::function<void()> whenAskedForType = [] {};
    std::function<IVariantData*()> makeCopy = [] { return nullptr; };
    ConversionMode mode = ConversionMode::Exact;
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
    WellKnownType wellKnownDataType() const override {
        whenAskedForType();
        return type;
    }
    const std::type_info* storedTypeInfo() const override { return nullptr; }
    Internal::CustomTypeOperations* customTypeOperations() const override { return operations; }
    IVariantData* reorderData(DataOrdering) override { return makeCopy(); }
    void reshapeNoRealloc(ArrayDimensionsView) override {}
    IVariantData* reshapeToZVariant(IVariantData*, ArrayDimensionsView, DataOrdering) override { return nullptr; }
    const void* constStoredData() const override { return elements; }
    void* mutableStoredData() override { return elements; }
    IVariantData* convertDataTo(WellKnownType, ConversionMode asked) override {
        mode = asked;
        return makeCopy();
    }
};

TEST(Comparison, FailuresOnTheWayAreFalseInEquivalenceOnly) {
    using Internal::isEquivalentTo;
    using Internal::isIdenticalTo;
    const double ones[] = {1, 1};
    const Internal::OwnedData<> doubles(
        Internal::constructVariantVectorWithDataWithDimsUnresolved<double>(ones, 2, {2}, DataOrdering::RowMajor));
    Internal::IVariantData& other = *doubles;
    // An array whose conversion is refused, on either side.
    const long long large[] = {(1LL << 53) + 1, 1};
    const Internal::OwnedData<> integers(
        Internal::constructVariantVectorWithDataWithDimsUnresolved<long long>(large, 2, {2}, DataOrdering::RowMajor));
    EXPECT_FALSE(isEquivalentTo(*integers, other, ConversionMode::Exact));
    EXPECT_FALSE(isEquivalentTo(other, *integers, ConversionMode::Exact));
    Fake fake;
    // A refusal, an object of another type than the one asked for, and exceptions.
    EXPECT_FALSE(isEquivalentTo(fake, other, ConversionMode::Cast));
    fake.makeCopy = [] { return Internal::constructVariantScalar<int>(nullptr, 0, 1); };
    EXPECT_FALSE(isEquivalentTo(other, fake, ConversionMode::Cast));
    fake.makeCopy = [&] { return other.copy(), &other; };
    EXPECT_TRUE(isEquivalentTo(other, fake, static_cast<ConversionMode>(3)));
    EXPECT_EQ(fake.mode, static_cast<ConversionMode>(3));
    AbiErrorRecord record;
    EXPECT_TRUE(ZVariantData_C_API_isEquivalentTo(&record, &fake, &other, 2));
    EXPECT_EQ(fake.mode, ConversionMode::CastOrText);
    EXPECT_TRUE(isUnique(&other));
    fake.makeCopy = []() -> Internal::IVariantData* { throw std::bad_alloc(); };
    EXPECT_FALSE(isEquivalentTo(fake, other, ConversionMode::Cast));
    fake.makeCopy = []() -> Internal::IVariantData* { throw 1; };
    EXPECT_THROW(isEquivalentTo(fake, other, ConversionMode::Cast), int);

    // The same for a reordering, which only the right one goes through, and not for one long dimension.
    Fake matrix, columns;
    matrix.makeCopy = [] { return Internal::constructVariantScalar<int>(nullptr, 0, 1); };
    matrix.shape = columns.shape = {1, 2};
    columns.ordering = columnMajor;
    EXPECT_TRUE(isEquivalentTo(matrix, columns, ConversionMode::Cast));
    matrix.shape = columns.shape = {2, 2};
    EXPECT_FALSE(isEquivalentTo(matrix, columns, ConversionMode::Cast));
    columns.makeCopy = []() -> Internal::IVariantData* { throw std::runtime_error("Not implemented!"); };
    EXPECT_FALSE(isEquivalentTo(matrix, columns, ConversionMode::Cast));

    // A code of no element type.
    fake.type = WellKnownType::fromCode(0x4008);
    EXPECT_FALSE(isEquivalentTo(fake, fake, ConversionMode::Cast));
    EXPECT_RAISES(std::runtime_error, "not a numeric type", isIdenticalTo(fake, fake));
    EXPECT_FALSE(ZVariantData_C_API_isEquivalentTo(&record, &fake, &fake, 1));
    EXPECT_EQ(record.kind, nullptr);
    EXPECT_FALSE(ZVariantData_C_API_isIdenticalTo(&record, &fake, &fake));
    EXPECT_STREQ(record.message, "not a numeric type");

    // What an object raises when it is asked for its type passes.
    fake.whenAskedForType = [] { throw std::runtime_error("no type"); };
    EXPECT_RAISES(std::runtime_error, "no type", isEquivalentTo(fake, other, ConversionMode::Cast));
}

// Views convert to views, in the shape of their data.
TEST(Comparison, ViewsCompareByWhatTheyShow) {
    const float numbers[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ZVariant view = ZVariant::fromData(numbers, 9).asComplex();
    view.reshapeNoRealloc({2, 2});
    const std::complex<float> pairs[] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
    const ZVariant plain = ZVariant::fromData(pairs, 4, {2, 2});
    const ZVariant transposed = ZVariant::fromData(pairs, 4, {2, 2}, columnMajor);
    EXPECT_EQ(compare(view, plain), same);
    EXPECT_EQ(compare(view, plain.reordered(columnMajor)), equivalent);
    for (const WellKnownType type : {WellKnownType::complexDouble, WellKnownType::complexInt32}) {
        EXPECT_EQ(compare(view, plain.convertTo(type).reordered(columnMajor)), equivalent);
        EXPECT_EQ(compare(view, transposed.convertTo(type)), different);
    }

    // A view that promises twice as many texts as there are.
    const std::string texts[] = {"a", "b"};
    AbiErrorRecord record;
    Internal::IVariantData* const doubled = ZVariantData_C_API_constructTransmuteComplexToRealVariant(
        &record,
        Internal::constructVariantVectorWithDataWithDimsUnresolved<std::string>(texts, 2, {}, DataOrdering::RowMajor));
    EXPECT_TRUE(Internal::isIdenticalTo(*doubled, *doubled));
    doubled->destruct();
}

TEST(Comparison, StoragesOfClientsCompareByTheirElements) {
    ExternalBuffer<int> buffer({1, 2, 3, 4}, {2, 2});
    const ZVariant live = buffer.value();
    const ZVariant plain = ZVariant::fromData({1, 2, 3, 4}, {2, 2});
    EXPECT_EQ(compare(live, plain), same);
    EXPECT_EQ(compare(live, live), same);
    EXPECT_EQ(compare(live, plain.convertTo(WellKnownType::double_).reordered(columnMajor)), equivalent);
    // Deliberately: the right one is reordered, and an attached storage cannot be.
    EXPECT_TRUE(live.isEquivalentTo(plain.reordered(columnMajor)));
    EXPECT_FALSE(plain.reordered(columnMajor).isEquivalentTo(live));
    buffer.detach();
    EXPECT_EQ(compare(live, plain.reordered(columnMajor)), equivalent);
}

struct Picky {
    int number = 0;
    friend bool operator==(const Picky& left, const Picky& right) {
        if (left.number < 0) {
            throw std::runtime_error("picky");
        }
        return left.number == right.number;
    }
};
struct Larger {
    long long numbers[4] = {};
    friend bool operator==(const Larger&, const Larger&) { return true; }
};

TEST(Comparison, CustomClassesCompareByTheirOwnOperator) {
    const Picky elements[] = {{1}, {2}, {3}, {4}};
    const auto matrix = ZVariant::fromData(elements, 4, {2, 2});
    EXPECT_EQ(compare(matrix, ZVariant::fromData(elements, 4, {2, 2})), same);
    EXPECT_EQ(compare(matrix, matrix.reordered(columnMajor)), equivalent);
    EXPECT_EQ(compare(ZVariant::fromCustom(Picky{1}), ZVariant::fromData(elements, 1)), same);
    EXPECT_EQ(compare(ZVariant::fromCustom(Picky{1}), ZVariant(1)), different);
    // Not by reading the one as the other.
    EXPECT_EQ(compare(ZVariant::fromCustom(Picky{1}), ZVariant::fromCustom(Larger{})), different);
    EXPECT_EQ(compare(ZVariant::allocate<Picky>({0}), ZVariant::allocate<Larger>({0})), equivalent);

    std::vector<Picky> room;
    room.reserve(2);
    auto grown = ZVariant::fromVector(std::move(room));
    grown.reshapeNoRealloc({2});
    EXPECT_EQ(compare(grown, ZVariant(grown)), same);
    EXPECT_EQ(compare(grown, ZVariant::fromData(elements, 2)), different);

    for (const ZVariant& negative : {ZVariant::fromCustom(Picky{-1}), ZVariant::fromData({Picky{-1}, Picky{-1}})}) {
        EXPECT_FALSE(negative.isEquivalentTo(negative));
        EXPECT_RAISES(std::runtime_error, "picky", negative.isIdenticalTo(negative));
    }
}

std::optional<int> askedFor;

TEST(Comparison, CustomScalarsAreAskedForIdentity) {
    Internal::CustomTypeOperations operations{
        [](const void*, const void*, std::uint64_t, std::uint8_t identity) { return (askedFor = identity, true); }};
    Fake custom;
    custom.type = WellKnownType::customType;
    EXPECT_FALSE(Internal::isIdenticalTo(custom, custom)) << "It has no operations.";
    Fake other = custom;
    custom.operations = &operations;
    for (const bool isScalar : {true, false}) {
        custom.isScalar = other.isScalar = isScalar;
        // The left one is asked.
        EXPECT_FALSE(Internal::isEquivalentTo(other, custom, ConversionMode::Cast));
        EXPECT_TRUE(Internal::isEquivalentTo(custom, other, ConversionMode::Cast));
        EXPECT_EQ(askedFor, isScalar ? 1 : 0);
        EXPECT_TRUE(Internal::isIdenticalTo(custom, custom));
        EXPECT_EQ(askedFor, 1);
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
