// Slices of values, for every element type and both storage policies.
#include "element_sequence.h"

#include <gmock/gmock.h>
#include <pyx/indexing/index_words.h>
#include <pyx/properties/PropertyPath.h>
#include <pyx/variant/ExternalVariantStorageInterface.h>
#include <pyx/variant/ZVariant.h>

#include <complex>
#include <new>
#include <numeric>
#include <stdexcept>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::ThrowsMessage;

template <class T, class Value>
std::vector<T> elementsOf(const Value& value) {
    std::vector<T> elements;
    for (std::uint64_t i = 0; i < value.elementCount(); ++i) {
        elements.push_back(value.template elementAt<T>(i));
    }
    return elements;
}

ZVariant counted(ArrayDimensionsView shape, DataOrdering ordering = DataOrdering::RowMajor) {
    std::vector<int> elements(shape.elementCount());
    std::iota(elements.begin(), elements.end(), 0);
    return ZVariant::fromVector(std::move(elements), shape, ordering);
}

template <class T>
class SlicesOf : public testing::Test {
public:
    // A long row, so that elements are also copied in blocks.
    static constexpr std::uint64_t rows = 4;
    static constexpr std::uint64_t columns = 40;

    template <class Value>
    static void readAndWrite() {
        const auto elements = sequence<T>(rows * columns);
        const auto at = [&](std::uint64_t row, std::uint64_t column) { return elements[row * columns + column]; };
        Value grid = Value::fromData(elements.get(), rows * columns, {rows, columns});
        const Value kept = grid;

        const Value block = grid.slice({{0, 2}, seq(1, last)});
        EXPECT_EQ(block.dimensions(), ArrayDimensionsView({2, columns - 1}));
        EXPECT_EQ(block.template elementAt<T>(columns - 1), at(2, 1));
        EXPECT_EQ(block.template elementAt<T>(columns - 2), at(0, columns - 1));
        const Value strided = grid.template slice<T>({last, seq(0, 30, 10)}, UseDataOrdering::WalkColumnMajor);
        EXPECT_EQ(strided.dimensions(), ArrayDimensionsView({1, 4}));
        EXPECT_EQ(strided.dataOrdering(), DataOrdering::ColumnMajor);
        EXPECT_THAT(elementsOf<T>(strided), ElementsAre(at(3, 0), at(3, 10), at(3, 20), at(3, 30)));
        EXPECT_THAT(elementsOf<T>(grid.flatSlice({1, rows + 1}, UseDataOrdering::WalkColumnMajor)),
                    ElementsAre(at(1, 0), at(1, 1)));
        const Value columnwise = grid.reordered(DataOrdering::ColumnMajor);
        const Value corner = columnwise.slice({seq(2, 3), seq(0, 1)}, UseDataOrdering::WalkRowMajor);
        EXPECT_EQ(corner.dataOrdering(), DataOrdering::RowMajor);
        EXPECT_THAT(elementsOf<T>(corner), ElementsAre(at(2, 0), at(2, 1), at(3, 0), at(3, 1)));
        EXPECT_EQ(grid.template element<T>({1, 2}), at(1, 2));
        EXPECT_EQ(grid.element({1, 2}).template elementAt<T>(0), at(1, 2));

        grid.assignSlice({seq(0, 1), all}, grid.slice({seq(2, 3), all}));
        grid.assignSlice({3, all}, grid.element({0, 0}));
        grid.assignElement({2, 0}, grid.element({2, 1}));
        grid.template assignElement<T>({2, 2}, at(2, 1));
        grid.assignFlatSlice(seq(0, 2, 2), grid.flatSlice({0, 1}));
        EXPECT_EQ(grid.template element<T>({0, 0}), at(2, 0));
        EXPECT_EQ(grid.template element<T>({0, 2}), at(2, 1));
        EXPECT_EQ(grid.template element<T>({1, columns - 1}), at(3, columns - 1));
        EXPECT_EQ(grid.template element<T>({2, 0}), at(2, 1));
        EXPECT_EQ(grid.template element<T>({2, 2}), at(2, 1));
        EXPECT_EQ(grid.template element<T>({3, 7}), at(2, 0));
        EXPECT_THAT(elementsOf<T>(kept), ElementsAreArray(elements.get(), rows * columns));
    }
};
TYPED_TEST_SUITE(SlicesOf, AllElementTypes, );

TYPED_TEST(SlicesOf, AreReadAndWritten) {
    this->template readAndWrite<ZVariant>();
    this->template readAndWrite<ZVariantAbi>();
}

TEST(Slices, HoldClassesOfAClient) {
    const PropertyPath a{"a"}, b{"b", 2}, c{};
    ZVariant paths = ZVariant::fromData({a, b, c}, {3, 1});
    EXPECT_THAT(elementsOf<PropertyPath>(paths.slice({{0, 2}, 0})), ElementsAre(a, c));
    EXPECT_EQ(paths.element<PropertyPath>({1, 0}), b);
    EXPECT_TRUE(paths.element({1, 0}).isScalarStorage());
    paths.assignSlice({seq(0, 1), all}, paths.element({1, 0}));
    paths.assignSlice<PropertyPath>({2, all}, ZVariant::fromData({a}, {1, 1}));
    EXPECT_THAT(elementsOf<PropertyPath>(paths), ElementsAre(b, b, a));
    EXPECT_THROW(paths.assignSlice({0, 0}, 1), std::runtime_error);
    EXPECT_THROW((void)paths.slice<int>({0, 0}), std::invalid_argument);
    struct Other {
        bool operator==(const Other&) const { return true; }
    };
    EXPECT_THAT(
        [&] {
            paths.assignSlice({0, 0}, ZVariant::fromCustom(Other()));
        },
        ThrowsMessage<std::invalid_argument>("Wrong data type."));
}

TEST(Slices, WrittenElementsKeepTheirIndices) {
    for (const DataOrdering ordering : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
        for (const DataOrdering ofValues : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
            ZVariant grid = counted({3, 4}, ordering);
            const ZVariant values = ZVariant(counted({2, 3}, ofValues)).convertTo(WellKnownType::double_);
            grid.assignSlice({{0, 2}, seq(1, last)}, values);
            for (std::uint64_t row = 0; row < 2; ++row) {
                for (std::uint64_t column = 0; column < 3; ++column) {
                    EXPECT_EQ(grid.element<int>({2 * row, column + 1}), values.element<double>({row, column}));
                }
            }
        }
    }
}

TEST(Slices, AValueCanBeWrittenIntoItself) {
    ZVariant row = counted({6});
    row.assignFlatSlice(seq(1, last), row.flatSlice(seq(0, last - 1)));
    EXPECT_THAT(elementsOf<int>(row), ElementsAre(0, 0, 1, 2, 3, 4));
    ZVariant square = counted({2, 2});
    square.assignSlice({all, all}, square.reordered(DataOrdering::ColumnMajor));
    square.assignSlice({{1, 0}, {0, 1}}, square);
    EXPECT_THAT(elementsOf<int>(square), ElementsAre(0, 1, 2, 3));
}

// Conversion of a view ends in a view, which is not what the elements of the target look like.
TEST(Slices, TakeTheElementsOfViews) {
    const ZVariant reals = ZVariant::fromData({1., 2., 3., 4.});
    ZVariant target = ZVariant::allocate<std::complex<float>>({2});
    target.assignSlice({all}, reals.asComplex());
    EXPECT_THAT(elementsOf<std::complex<float>>(target), ElementsAre(std::complex(1.F, 2.F), std::complex(3.F, 4.F)));
    ZVariant numbers = ZVariant::allocate<int>({4});
    numbers.assignSlice({all}, target.asReal());
    EXPECT_THAT(elementsOf<int>(numbers), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(elementsOf<double>(reals.asComplex().slice({1}).asReal()), ElementsAre(3., 4.));
    numbers.assignSlice({seq(0, 1)}, reals.asComplex());
    EXPECT_THAT(elementsOf<int>(numbers), ElementsAre(1, 3, 3, 4));
}

// A storage that a value writes to when it is the only one to hold it.
struct Memory : ExternalVariantStorageInterface {
    std::uint64_t numberAllocatedElements() const override { return elements.size(); }
    ArrayDimensionsView dimensions() const override { return shape; }
    DataOrdering dataOrdering() const override { return DataOrdering::RowMajor; }
    WellKnownType wellKnownDataType() const override { return type; }
    void reshapeNoRealloc(ArrayDimensionsView) override {}
    const void* constStoredData() const override { return elements.data(); }
    void* mutableStoredData() override { return elements.data(); }
    void adaptorDestroyed() override { detachCallback = nullptr; }

    std::vector<int> elements = {1, 2, 3, 4};
    std::vector<std::uint64_t> shape = {3};
    WellKnownType type = WellKnownType::int32;
};

TEST(Slices, WriteToTheMemoryOfAClient) {
    Memory memory;
    ZVariant value = ZVariant::fromExternal(memory);
    value.assignSlice({{2, 1}}, ZVariant::fromData({7., 8.}));
    EXPECT_THAT(memory.elements, ElementsAre(1, 7, 8, 4));
    const ZVariant other = ZVariant::fromExternal(memory);
    value.assignSlice({seq(1, 2)}, other.slice({seq(0, 1)}));
    EXPECT_THAT(memory.elements, ElementsAre(1, 1, 7, 4));
    memory.shape = {2, 2};
    value.assignSlice({all, all}, other);
    EXPECT_THAT(memory.elements, ElementsAre(1, 1, 7, 4));
    value.assignSlice({0, all}, value.slice({1, all}));
    EXPECT_THAT(memory.elements, ElementsAre(7, 4, 7, 4));
    EXPECT_THROW((void)ZVariant(5).slice({all}).asComplex().slice({0}), std::invalid_argument);
    // Nothing is known of the class.
    memory.type = WellKnownType::customType;
    EXPECT_THAT([&] { (void)value.slice({0, all}); }, ThrowsMessage<std::runtime_error>("unknown type"));
}

TEST(Slices, NothingHappensUnlessEveryCheckPasses) {
    ZVariant grid = counted({2, 3});
    const ZVariant kept = grid;
    const int* const data = kept.data<int>();
    const auto assign = [&](const std::vector<IndexSet>& sets, const ZVariant& values) {
        return [&grid, sets, values] { grid.assignSlice(sets, values); };
    };
    EXPECT_THAT(assign({0}, ZVariant("x")),
                ThrowsMessage<std::invalid_argument>("slice dimensions don't match ZVariant dimensions"));
    EXPECT_THAT(assign({2, 0}, ZVariant("x")),
                ThrowsMessage<std::invalid_argument>("slice dimensions are out of bounds"));
    EXPECT_THAT(
        assign({0, 0}, ZVariant("x")),
        ThrowsMessage<std::runtime_error>("Cannot convert Quorvane::Pyx::ZVariant of type 'std::string' (size: 1) "
                                          "to 'int'"));
    EXPECT_THAT(assign({all, seq(0, 1)}, counted({2, 3})),
                ThrowsMessage<std::invalid_argument>("Cannot write data of shape [2, 3] to a slice of shape [2, 2]."));
    EXPECT_THAT(assign({0, 0}, ZVariant()),
                ThrowsMessage<std::invalid_argument>("Cannot write data of shape [] to a slice of shape [1, 1]."));
    EXPECT_THAT(
        [&] {
            grid.assignSlice<double>({0, 0}, 1.);
        },
        ThrowsMessage<std::invalid_argument>("Wrong data type."));
    EXPECT_THAT([&] { grid.assignFlatSlice(6, 1); }, ThrowsMessage<std::out_of_range>("Index value out-of-range"));
    EXPECT_THAT([&] { (void)grid.flatSlice(seq(0, 1, 0)); },
                ThrowsMessage<std::invalid_argument>("The step of an index range must not be 0."));
    EXPECT_THAT(
        [&] {
            (void)grid.slice({0, 0}, static_cast<UseDataOrdering>(3));
        },
        ThrowsMessage<std::invalid_argument>("invalid UseDataOrdering"));
    EXPECT_THAT(
        [&] {
            grid.assignElement({0, 3}, 1);
        },
        ThrowsMessage<std::invalid_argument>("slice dimensions are out of bounds"));
    EXPECT_THAT([&] { (void)grid.element<int>({0}); },
                ThrowsMessage<std::invalid_argument>("slice dimensions don't match ZVariant dimensions"));
    grid.assignSlice({all, {}}, 7);
    EXPECT_EQ(std::as_const(grid).data<int>(), data);
    grid.assignSlice({all, 0}, 7.9);
    EXPECT_THAT(elementsOf<int>(grid), ElementsAre(7, 1, 2, 7, 4, 5));
    EXPECT_THAT(elementsOf<int>(kept), ElementsAre(0, 1, 2, 3, 4, 5));
}

// A class whose copies fail when they are told to.
struct Fragile {
    static inline int copiesLeft = -1;

    Fragile() = default;
    explicit Fragile(int number) : value(number) {}
    Fragile(Fragile&&) = default;
    Fragile& operator=(Fragile&&) = default;
    Fragile(const Fragile& other) { *this = other; }
    Fragile& operator=(const Fragile& other) {
        if (copiesLeft-- == 0) {
            throw std::bad_alloc();
        }
        value = other.value;
        return *this;
    }
    bool operator==(const Fragile& other) const { return value == other.value; }

    int value = 0;
};

TEST(Slices, AWriteThatFailsHalfWayChangesNothing) {
    ZVariant target = ZVariant::fromData({Fragile(1), Fragile(2), Fragile(3)});
    const ZVariant values = ZVariant::fromData({Fragile(7), Fragile(8), Fragile(9)});
    for (const ZVariant& source : {values, ZVariant::fromCustom(Fragile(7))}) {
        Fragile::copiesLeft = 2;
        EXPECT_THROW(target.assignSlice({all}, source), std::bad_alloc);
        Fragile::copiesLeft = -1;
        EXPECT_EQ(target.element<Fragile>({0}), Fragile(1));
        EXPECT_EQ(target.element<Fragile>({1}), Fragile(2));
    }
    target.assignSlice({all}, values);
    EXPECT_EQ(target.element<Fragile>({2}), Fragile(9));
}

TEST(Slices, ScalarsAndNullsAndShapesWithoutElements) {
    ZVariant scalar = 5;
    EXPECT_THAT(elementsOf<int>(scalar.slice({all})), ElementsAre(5));
    EXPECT_THROW((void)scalar.flatSlice(1), std::out_of_range);
    scalar.assignSlice({0}, 6);
    EXPECT_EQ(scalar.element<int>({0}), 6);

    ZVariant null;
    EXPECT_TRUE(null.slice({}).isNull());
    EXPECT_TRUE(null.slice<int>({}).isNull());
    EXPECT_THROW((void)null.slice({0}), std::invalid_argument);
    EXPECT_THROW((void)null.flatSlice(all), std::out_of_range);
    EXPECT_THROW((void)null.element({}), std::invalid_argument);
    EXPECT_THROW(null.assignElement({}, 5), std::invalid_argument);
    null.assignFlatSlice({}, null.flatSlice({}));
    null.assignSlice({}, 5);
    EXPECT_TRUE(null.isNull());
    EXPECT_THROW(null.assignSlice({}, ZVariant::fromData({1, 2})), std::invalid_argument);

    const ZVariant empty = ZVariant::allocate<int>({2, 0});
    EXPECT_THROW((void)empty.flatSlice(all, UseDataOrdering::WalkColumnMajor), std::out_of_range);
    EXPECT_EQ(empty.slice({all, {}}).dimensions(), ArrayDimensionsView({2, 0}));
    EXPECT_EQ(empty.flatSlice({}).dimensions(), ArrayDimensionsView({0}));
}

// Neither elements that a shape promises and the storage does not have, nor those that it hides, are reached.
TEST(Slices, StayWithinStorageAndShape) {
    std::vector<int> elements = {1, 2, 3};
    elements.reserve(8);
    ZVariant grown = ZVariant::fromVector(std::move(elements));
    grown.reshapeNoRealloc({2, 4});
    EXPECT_THROW((void)grown.slice({all, all}), std::out_of_range);
    EXPECT_THROW((void)grown.element({1, 0}), std::out_of_range);
    EXPECT_THROW(grown.assignSlice({1, 0}, 1), std::out_of_range);
    EXPECT_THROW(counted({2, 4}).assignSlice({all, all}, grown), std::out_of_range);
    EXPECT_THROW(counted({2, 4}).assignSlice({all, all}, grown.convertTo(WellKnownType::double_).reshaped({2, 3})),
                 std::invalid_argument);
    // Offsets 0, 2^63 + 1 and 2.
    const std::vector<unsigned char> few(4);
    ZVariant wrapped = ZVariant::fromData(few.data(), 4, {4, (std::uint64_t{1} << 63) + 1});
    EXPECT_THROW((void)wrapped.slice({seq(0, 2), 0}), std::out_of_range);
    EXPECT_THROW(wrapped.assignSlice({seq(0, 2), 0}, 1), std::out_of_range);
    EXPECT_THAT(elementsOf<int>(grown.slice({0, seq(0, 2)})), ElementsAre(1, 2, 3));

    ZVariant shrunk = ZVariant::fromData({1, 2, 3, 4});
    shrunk.reshapeNoRealloc({2});
    EXPECT_THROW((void)shrunk.flatSlice(2), std::out_of_range);
    EXPECT_THAT(elementsOf<int>(shrunk.flatSlice(all)), ElementsAre(1, 2));
}

}  // namespace
}  // namespace Quorvane::Pyx
