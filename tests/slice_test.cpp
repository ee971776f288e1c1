// Slices beyond random ones: extreme indices, memory that two values share, and classes of a client.
#include "client_storage.h"
#include "values.h"

#include <pyx/format/ConsoleFormatter.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/SliceFlattener.h>
#include <pyx/indexing/index_words.h>

#include <functional>
#include <initializer_list>
#include <limits>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using testing::ElementsAre;

constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();

// Otherwise `{true, 1}` and `{axis, 1}` would be lists of as many sets, all of them {1}.
enum Axis { axisOfTime = 2 };
static_assert(std::is_convertible_v<Axis, IndexSet> && std::is_convertible_v<int, IndexSet>);
static_assert(!std::is_convertible_v<bool, IndexSet> && !std::is_convertible_v<double, IndexSet>);
static_assert(!std::is_constructible_v<std::vector<IndexSet>, std::initializer_list<bool>>);
// Without state, and values all the same.
static_assert(std::is_copy_assignable_v<ArrayIndexing> && std::is_copy_assignable_v<ConsoleFormatter>);

TEST(IndexSet, GoesToTheEndsOfIntegers) {
    // The next position would wrap. And where there are no elements, the last position wraps.
    EXPECT_EQ(IndexSet(seq(maximum - 3, maximum - 1, 2)).sortedIndices(maximum), Shape({maximum - 3, maximum - 1}));
    EXPECT_EQ(IndexSet(4, last - 1).sortedIndices(0), Shape({4, maximum - 1}));
    EXPECT_THROW(IndexSet(all).sortedIndices(0), std::bad_alloc);
    EXPECT_THROW(IndexSet(all).sortedIndices(maximum / 8), std::bad_alloc);
    IndexSet doubled(firstN(1), axisOfTime, IndexValue::fromEnd(3));
    doubled.add(doubled);
    EXPECT_EQ(doubled.sortedIndices(5), Shape({0, 1, 2}));
    constexpr auto large = std::uint64_t{1} << 32;
    const auto offsets = [](const std::vector<IndexSet>& sets) {
        return Internal::SliceFlattener(sets, {large, large}, DataOrdering::RowMajor, {}).offsets;
    };
    EXPECT_THROW(offsets({all, seq(0, large / 4 - 1)}), std::bad_alloc);
    // More combinations than can be counted: deliberately as many as the wrapped product, here none.
    EXPECT_TRUE(offsets({all, all}).empty());
    // An offset that is too large ends in the slowest dimension.
    Shape found;
    ArrayIndexing::CalculateIndicesRowMajor(found, 13, {1, 2, 3}, false);
    EXPECT_EQ(found, Shape({2, 0, 1}));
    ArrayIndexing::CalculateIndicesColumnMajor(found, 13, {2, 3, 1}, false);
    EXPECT_EQ(found, Shape({1, 6, 0}));
}

template <class Value>
struct Slices : testing::Test {};
TYPED_TEST_SUITE(Slices, BothValues, );

// Two windows of a client's memory, which nobody but the client knows to be the same.
TYPED_TEST(Slices, MayOverlapInTheMemoryOfAClient) {
    int memory[] = {1, 2, 3, 4, 5};
    const Array shown{WellKnownType::int32, {2}, DataOrdering::RowMajor, std::vector<Bytes>(2, Bytes(4, '\0')), false};
    ClientStorage target(shown), source(shown);
    const auto put = [&](int* to, std::uint64_t count, const IndexRange& slice, int* from) {
        target.first = to;
        target.shape = {target.count = count};
        source.first = from;
        TypeParam value = TypeParam::fromExternal(target);
        value.assignSlice({slice}, TypeParam::fromExternal(source));
    };
    put(memory + 1, 4, seq(0, 2, 2), memory);
    EXPECT_THAT(memory, ElementsAre(1, 1, 3, 2, 5));
    put(memory, 5, seq(2, 4, 2), memory + 1);
    EXPECT_THAT(memory, ElementsAre(1, 1, 1, 2, 3));
}

// A class whose copies or moves fail when they are told to.
struct Fragile {
    static inline int copiesLeft = -1, movesLeft = -1;

    Fragile(int number = 0) : value(number) {}
    Fragile(const Fragile& other) { put(other, copiesLeft); }
    Fragile& operator=(const Fragile& other) { return put(other, copiesLeft); }
    Fragile& operator=(Fragile&& other) {
        put(other, movesLeft);
        other.value = 0;
        return *this;
    }
    Fragile& put(const Fragile& other, int& left) {
        value = left-- == 0 ? throw std::bad_alloc() : other.value;
        return *this;
    }
    bool operator==(const Fragile& other) const { return value == other.value; }

    int value;
};

TEST(Slices, OfOwnClassesChangeNothingWhenTheyFailHalfWay) {
    const auto three = [](int a, int b, int c) { return ZVariant::fromData({Fragile(a), Fragile(b), Fragile(c)}); };
    ZVariant target = three(1, 2, 3);
    const ZVariant values = three(7, 8, 9);
    const std::function<void()> writes[] = {
        [&] { target.assignSlice({all}, values); },
        [&] { target.assignSlice({seq(1, last)}, target.slice({seq(0, 1)})); },
        [&] { target.assignFlatSlice(seq(0, 2, 2), ZVariant::fromCustom(Fragile(4))); },
        [&] { target.assignElement<Fragile>({1}, Fragile(5)); }, [&] { target.assignSlice({all}, target); }};
    for (const auto& write : writes) {
        for (int* const left : {&Fragile::copiesLeft, &Fragile::movesLeft}) {
            const ZVariant before = target;
            for (int passing = 0; *left < 0; ++passing) {
                *left = passing;
                try {
                    write();
                } catch (const std::bad_alloc&) {
                    // Nor has it ended the sharing.
                    EXPECT_EQ(std::as_const(target).data<Fragile>(), before.data<Fragile>()) << passing;
                }
            }
            *left = -1;
        }
    }
    EXPECT_EQ(target, three(4, 5, 4));
    EXPECT_EQ(target.element<Fragile>({1}), Fragile(5));
    // A null has no elements of a wrong type.
    EXPECT_TRUE(ZVariant().slice<Fragile>({}).isNull());
    EXPECT_EQ(values, three(7, 8, 9));
}

}  // namespace
}  // namespace Quorvane::Pyx
