// Slices of values: what is said where they fail, what is shared and what is written, and classes and memory of a
// client.
#include "values.h"

#include <pyx/indexing/index_words.h>
#include <pyx/properties/PropertyPath.h>
#include <pyx/variant/ExternalVariantStorageInterface.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

const ZVariant sixNumbers = ZVariant::fromData({0, 1, 2, 3, 4, 5}, {2, 3});

template <class Value>
struct TypedSlices : testing::Test {};
TYPED_TEST_SUITE(TypedSlices, BothValues, );

TYPED_TEST(TypedSlices, NameTheTypeOfTheirElements) {
    using Text = std::string;
    TypeParam grid = TypeParam::fromData({"a", "b", "c", "d", "e", "f"}, {2, 3});
    const TypeParam kept = grid;
    const TypeParam column = grid.template slice<Text>({all, 2}, UseDataOrdering::WalkColumnMajor);
    EXPECT_EQ(column.dimensions(), ArrayDimensionsView({2, 1}));
    EXPECT_EQ(column.dataOrdering(), DataOrdering::ColumnMajor);
    EXPECT_THAT(elementsOf<Text>(column), ElementsAre("c", "f"));
    const TypeParam rows = grid.reordered(DataOrdering::ColumnMajor).slice({all, 2}, UseDataOrdering::WalkRowMajor);
    EXPECT_EQ(rows.dataOrdering(), DataOrdering::RowMajor);
    EXPECT_THAT(elementsOf<Text>(rows), ElementsAre("c", "f"));
    EXPECT_EQ(grid.template element<Text>({1, 2}), "f");
    EXPECT_TRUE(grid.element({1, 2}).isScalarStorage());
    grid.template assignSlice<Text>({0, all}, grid.slice({1, all}));
    grid.template assignElement<Text>({1, 0}, "x");
    grid.assignElement({1, 1}, "y");
    grid.assignFlatSlice(last, "z");
    EXPECT_THAT(elementsOf<Text>(grid), ElementsAre("d", "e", "f", "x", "y", "z"));
    EXPECT_THAT(elementsOf<Text>(kept), ElementsAre("a", "b", "c", "d", "e", "f"));
    EXPECT_TRUE(TypeParam().template slice<Text>({}).isNull());
    EXPECT_RAISES(std::invalid_argument, "Wrong data type.", grid.template slice<int>({0, 0}));
    EXPECT_RAISES(std::invalid_argument, "Wrong data type.", grid.template assignSlice<double>({0, 0}, 1.));
}

template <class T>
struct SlicesOf : testing::Test {};
TYPED_TEST_SUITE(SlicesOf, AllElementTypes, );

// Of rows so long that elements are copied in blocks.
TYPED_TEST(SlicesOf, AreReadAndWritten) {
    using T = TypeParam;
    const auto elements = sequence<T>(80);
    const auto test = [&](auto grid) {
        const auto kept = grid;
        EXPECT_THAT(elementsOf<T>(grid.flatSlice({1, 2}, UseDataOrdering::WalkColumnMajor)),
                    ElementsAre(elements[40], elements[1]));
        EXPECT_EQ(grid.template slice<T>({1, seq(3, 9, 3)}).template elementAt<T>(1), elements[46]);
        grid.assignSlice({0, seq(1, last)}, grid.slice({1, seq(0, last - 1)}));
        grid.assignSlice({0, seq(0, 4, 2)}, grid.slice({1, seq(1, 5, 2)}));
        grid.assignSlice({1, all}, grid.element({0, 0}));
        EXPECT_EQ(grid.template element<T>({0, 39}), elements[78]);
        EXPECT_EQ(grid.template element<T>({0, 4}), elements[45]);
        EXPECT_EQ(grid.template element<T>({1, 39}), elements[41]);
        EXPECT_THAT(elementsOf<T>(kept), ElementsAreArray(elements.get(), 80));
    };
    test(ZVariant::fromData(elements.get(), 80, {2, 40}));
    test(ZVariantAbi::fromData(elements.get(), 80, {2, 40}));
}

TEST(Slices, OfScalarsAndNullsAndShapesWithoutElements) {
    ZVariant scalar = 5;
    EXPECT_THROW((void)scalar.flatSlice(1), std::out_of_range);
    scalar.assignSlice({0}, 6);
    EXPECT_THAT(elementsOf<int>(scalar.slice({all})), ElementsAre(6));
    ZVariant null;
    EXPECT_THROW((void)null.element({}), std::invalid_argument);
    EXPECT_THROW(null.assignElement({}, 5), std::invalid_argument);
    null.assignFlatSlice({}, null.flatSlice({}));
    EXPECT_THROW(null.assignSlice({}, sixNumbers), std::invalid_argument);
    const ZVariant empty = ZVariant::allocate<int>({2, 0});
    EXPECT_EQ(empty.slice({all, {}}).dimensions(), ArrayDimensionsView({2, 0}));
    EXPECT_THROW((void)empty.flatSlice(all), std::out_of_range);
}

TEST(Slices, HoldClassesOfAClient) {
    const PropertyPath a{"a"}, b{"b", 2}, c{};
    ZVariant paths = ZVariant::fromData({a, b, c}, {3, 1});
    EXPECT_THAT(elementsOf<PropertyPath>(paths.slice({{0, 2}, 0})), ElementsAre(a, c));
    EXPECT_TRUE(paths.element({1, 0}).isScalarStorage());
    paths.assignSlice({seq(0, 1), all}, paths.element({1, 0}));
    paths.assignSlice<PropertyPath>({2, all}, ZVariant::fromData({a}, {1, 1}));
    EXPECT_THAT(elementsOf<PropertyPath>(paths), ElementsAre(b, b, a));
    EXPECT_THROW(paths.assignSlice({0, 0}, 1), std::runtime_error);
    struct Other {
        bool operator==(const Other&) const { return true; }
    };
    EXPECT_RAISES(std::invalid_argument, "Wrong data type.", paths.assignSlice({0, 0}, ZVariant::fromCustom(Other())));
}

TEST(Slices, AValueCanBeWrittenIntoItself) {
    ZVariant square = ZVariant::fromData({0, 1, 2, 3}, {2, 2});
    square.assignSlice({all, all}, square.reordered(DataOrdering::ColumnMajor));
    square.assignSlice({{1, 0}, {0, 1}}, square);
    EXPECT_THAT(elementsOf<int>(square), ElementsAre(0, 1, 2, 3));
}

// Conversion of a view ends in a view, which is not what the elements of the target look like.
TEST(Slices, TakeTheElementsOfViews) {
    ZVariant numbers = ZVariant::fromData({1., 2., 3., 4.});
    numbers.assignSlice({{0, 2}}, numbers.asComplex());
    EXPECT_THAT(elementsOf<double>(numbers), ElementsAre(1, 2, 3, 4));
    numbers.assignSlice({seq(0, 1)}, numbers.convertTo(WellKnownType::int8).asComplex());
    EXPECT_THAT(elementsOf<double>(numbers), ElementsAre(1, 3, 3, 4));
}

// A storage that a value writes to when it is the only one to hold it.
struct Memory : ExternalVariantStorageInterface {
    std::uint64_t numberAllocatedElements() const override { return elements.size(); }
    ArrayDimensionsView dimensions() const override { return shape; }
    DataOrdering dataOrdering() const override { return DataOrdering::RowMajor; }
    WellKnownType wellKnownDataType() const override { return type; }
    void reshapeNoRealloc(ArrayDimensionsView) override {}
    const void* constStoredData() const override { return first; }
    void* mutableStoredData() override { return first; }
    void adaptorDestroyed() override { detachCallback = nullptr; }

    std::vector<int> elements = {1, 2, 3, 4};
    int* first = elements.data();
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
    // The values are in the same memory, which nobody but the client knows.
    Memory window;
    window.first = memory.first;
    window.shape = {2};
    memory.shape = {4};
    value.assignSlice({seq(1, 3, 2)}, ZVariant::fromExternal(window));
    EXPECT_THAT(memory.elements, ElementsAre(7, 7, 7, 4));
    memory.shape = {2, 2};
    // Nothing is known of the class.
    memory.type = WellKnownType::customType;
    EXPECT_RAISES(std::runtime_error, "unknown type", value.slice({0, all}));
}

TEST(Slices, NothingHappensUnlessEveryCheckPasses) {
    using Invalid = std::invalid_argument;
    ZVariant grid = sixNumbers;
    const char* const wrongCount = "slice dimensions don't match ZVariant dimensions";
    const char* const outOfBounds = "slice dimensions are out of bounds";
    EXPECT_RAISES(Invalid, wrongCount, grid.assignSlice({0}, "x"));
    EXPECT_RAISES(Invalid, wrongCount, grid.element<int>({0}));
    EXPECT_RAISES(Invalid, outOfBounds, grid.assignSlice({2, 0}, "x"));
    EXPECT_RAISES(Invalid, outOfBounds, grid.assignElement({0, 3}, 1));
    const char* const refusal = "Cannot convert Quorvane::Pyx::ZVariant of type 'std::string' (size: 1) to 'int'";
    EXPECT_RAISES(std::runtime_error, refusal, grid.assignSlice({0, 0}, "x"));
    EXPECT_RAISES(Invalid, "Cannot write data of shape [2, 3] to a slice of shape [2, 2].",
                  grid.assignSlice({all, seq(0, 1)}, sixNumbers));
    EXPECT_RAISES(Invalid, "Cannot write data of shape [] to a slice of shape [1, 1].",
                  grid.assignSlice({0, 0}, ZVariant()));
    EXPECT_RAISES(std::out_of_range, "Index value out-of-range", grid.assignFlatSlice(6, 1));
    EXPECT_RAISES(std::out_of_range, "Indices out of bounds.", ZVariant::allocate<int>({}).assignElement({}, 1));
    EXPECT_RAISES(Invalid, "The step of an index range must not be 0.", grid.flatSlice(seq(0, 1, 0)));
    EXPECT_RAISES(Invalid, "invalid UseDataOrdering", grid.slice({0, 0}, static_cast<UseDataOrdering>(3)));
    EXPECT_EQ(std::as_const(grid).data<int>(), sixNumbers.data<int>());
    // A write that selects nothing ends the sharing too.
    grid.assignSlice({all, {}}, 7);
    EXPECT_NE(std::as_const(grid).data<int>(), sixNumbers.data<int>());
    grid.assignSlice({all, 0}, 7.9);
    EXPECT_THAT(elementsOf<int>(grid), ElementsAre(7, 1, 2, 7, 4, 5));
    EXPECT_THAT(elementsOf<int>(sixNumbers), ElementsAre(0, 1, 2, 3, 4, 5));
}

// A class whose copies fail when they are told to. It has no moves.
struct Fragile {
    static inline int copiesLeft = -1;

    Fragile() = default;
    explicit Fragile(int number) : value(number) {}
    void operator&() const = delete;
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
    const ZVariant original = ZVariant::fromData({Fragile(1), Fragile(2), Fragile(3)});
    ZVariant target = original;
    const ZVariant values = ZVariant::fromData({Fragile(7), Fragile(8), Fragile(9)});
    const std::function<void()> writes[] = {[&] { target.assignSlice({all}, values); },
                                            [&] {
                                                target.assignFlatSlice({0, 2}, ZVariant::fromCustom(Fragile(4)));
                                            },
                                            [&] { target.assignElement<Fragile>({1}, Fragile(5)); }};
    for (const auto& write : writes) {
        const ZVariant before = target;
        bool fails = true;
        for (int passing = 0; fails; ++passing) {
            Fragile::copiesLeft = passing;
            try {
                write();
                fails = false;
            } catch (const std::bad_alloc&) {
                // Nor has it ended the sharing.
                EXPECT_EQ(std::as_const(target).data<Fragile>(), before.data<Fragile>()) << passing;
            }
            Fragile::copiesLeft = -1;
        }
    }
    EXPECT_EQ(target, ZVariant::fromData({Fragile(4), Fragile(5), Fragile(4)}));
    EXPECT_EQ(original, ZVariant::fromData({Fragile(1), Fragile(2), Fragile(3)}));
}

// What a shape promises and the storage does not have is not reached, also where the offsets wrap: 0, 2^63 + 1 and 2.
TEST(Slices, StayWithinTheStorage) {
    std::vector<int> room = {1, 2, 3};
    room.reserve(6);
    ZVariant grown = ZVariant::fromVector(std::move(room));
    grown.reshapeNoRealloc({2, 3});
    EXPECT_THROW((void)grown.element({1, 0}), std::out_of_range);
    EXPECT_THROW(ZVariant(sixNumbers).assignSlice({all, all}, grown), std::out_of_range);
    const std::vector<unsigned char> few(4);
    ZVariant wrapped = ZVariant::fromData(few.data(), 4, {4, (std::uint64_t{1} << 63) + 1});
    EXPECT_THROW((void)wrapped.slice({seq(0, 2), 0}), std::out_of_range);
    EXPECT_THROW(wrapped.assignSlice({seq(0, 2), 0}, 1), std::out_of_range);
}

}  // namespace
}  // namespace Quorvane::Pyx
