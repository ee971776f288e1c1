// The fixed texts of values and of what selects from them, which random operations do not look at. A call that breaks
// two rules with one class expects the rule that is looked at first.
#include "client_storage.h"
#include "values.h"

#include <pyx/abi/c_api.h>
#include <pyx/abi/rethrowAbiError.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/SliceFlattener.h>
#include <pyx/indexing/index_words.h>
#include <pyx/properties/PropertyPath.h>
#include <pyx/pyx.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

template <class Error>
std::string failure(const std::string& text) {
    return std::string(typeid(Error).name()) + ": " + text;
}
constexpr auto invalid = failure<std::invalid_argument>;
constexpr auto outOfRange = failure<std::out_of_range>;
constexpr auto length = failure<std::length_error>;
constexpr auto runtime = failure<std::runtime_error>;

const std::string wrongType = invalid("Wrong data type.");
const std::string outOfBounds = outOfRange("Indices out of bounds.");
const std::string unknownType = runtime("unknown type");
const std::string notNumeric = runtime("not a numeric type");
const std::string wrongCount = invalid("slice dimensions don't match ZVariant dimensions");
const std::string outsideAxis = invalid("slice dimensions are out of bounds");
const std::string outsideSet = outOfRange("Index value out-of-range");

struct Failing {
    std::string expected;
    std::function<void()> call;
};

void expectFailures(const std::vector<Failing>& rows) {
    for (const Failing& failing : rows) {
        std::string outcome = "none";
        try {
            failing.call();
        } catch (const std::exception& error) {
            outcome = std::string(typeid(error).name()) + ": " + error.what();
        }
        EXPECT_EQ(outcome, failing.expected) << "in row " << &failing - rows.data();
    }
}

template <class... Lengths>
Shape at(Lengths... lengths) {
    return {static_cast<std::uint64_t>(lengths)...};
}

template <class... Each>
std::vector<IndexSet> sets(const Each&... each) {
    return {each...};
}

template <class Value>
struct FailuresOf : testing::Test {};
TYPED_TEST_SUITE(FailuresOf, BothValues, );

TYPED_TEST(FailuresOf, Values) {
    using Value = TypeParam;
    Value null, scalar = 2.5, texts = Value::fromData({"one", "two"});
    Value grid = Value::fromData({1., 2., 3., 4., 5., 6.}, {2, 3});
    const Value second = grid, empty = Value::template allocate<double>({2, 0});
    ClientStorage client({WellKnownType::int32, {2}, DataOrdering::RowMajor, std::vector<Bytes>(3, Bytes(4, '\1'))});
    const Value shown = Value::fromExternal(client);
    const auto showAs = [&](int code) { client.type = WellKnownType::fromCode(static_cast<std::uint16_t>(code)); };
    const auto refusal = [](const std::string& rest) {
        const char* const ending = std::is_same_v<Value, ZVariant> ? "" : "Abi";
        return runtime(std::string("Cannot convert Quorvane::Pyx::ZVariant") + ending + " of type " + rest);
    };
    expectFailures({
        {invalid("Cannot access element of null variant."), [&] { return null.template elementAt<int>(0); }},
        {wrongType, [&] { return grid.template elementAt<int>(9); }},
        {outOfBounds, [&] { return grid.template elementAt<double>(6); }},
        {wrongType, [&] { return grid.template data<float>(); }},
        {runtime("Data type mismatch, cannot provide iterable container"), [&] { elementsOf<int>(grid); }},
        {invalid("Cannot read a single value from a ZVariant with 2 elements."),
         [&] { return texts.template as<double>(); }},
        {refusal("'double' (size: 6) to 'std::string'"), [&] { return grid.convertOrThrow(WellKnownType::string); }},
        {refusal("'double' (size: 1) to 'int'"), [&] { return scalar.template as<int>(ConversionMode::Exact); }},
        {unknownType, [&] { return null.convertOrThrow(WellKnownType::unknown); }},
        {invalid("Cannot reshape an empty ZVariant to one containing more than zero elements without reallocating."),
         [&] { null.reshapeNoRealloc({0}); }},
        {invalid("Cannot reshape a scalar ZVariant to different dimensions without reallocating."),
         [&] { scalar.reshapeNoRealloc(at(1, 1)); }},
        {runtime("Reference count is greater than 1 - cannot reshape without reallocating."),
         [&] { grid.reshapeNoRealloc(at(9, 9, 9)); }},
        {length("Cannot reshape array to given dimensions without reallocating."),
         [&] { texts.reshapeNoRealloc({7}); }},
        {runtime("Reshaping to ZVariant is not allowed for Transmute Variant"),
         [&] { return grid.asComplex().reshaped({1}); }},
        {runtime("Can not convert non-numeric data type to complex numeric type"), [&] { return texts.asReal(); }},
        {runtime("Not implemented!"), [&] { return shown.reordered(DataOrdering::ColumnMajor); }},
        // The client's type is looked at before the target, which is bad as well.
        {unknownType, [&] { return showAs(0x0020), shown.convertTo(WellKnownType::fromCode(0x4008)); }},
        {notNumeric, [&] { return showAs(0x4008), shown.convertTo(WellKnownType::unknown); }},
        {notNumeric, [&] { client.detachCallback(); }},
        {notNumeric, [&] { return shown.isEquivalentTo(shown) || shown.isIdenticalTo(shown); }},
        {unknownType, [&] { return showAs(WellKnownType::customType.code()), shown.slice({0}); }},
        {wrongCount, [&] { grid.assignSlice({9}, texts); }},
        {outsideAxis, [&] { return grid.template element<int>(at(0, 3)); }},
        {wrongType, [&] { return grid.template slice<int>(sets(0, 0)); }},
        {wrongType, [&] { grid.template assignSlice<int>(sets(0, 0), texts); }},
        {refusal("'std::string' (size: 2) to 'double'"), [&] { grid.assignSlice(sets(0, 0), texts); }},
        {invalid("Cannot write data of shape [2, 3] to a slice of shape [2, 2]."),
         [&] { grid.assignSlice(sets(all, seq(0, 1)), grid); }},
        {invalid("Cannot write data of shape [2] to a slice of shape []."), [&] { null.assignSlice({}, texts); }},
        {outsideSet, [&] { return empty.flatSlice(all); }},
    });
    for (const int code : {0x0000, 0x8000, 0x0003}) {
        const auto type = WellKnownType::fromCode(static_cast<std::uint16_t>(code));
        expectFailures({{code % 16 == 0 ? unknownType : notNumeric, [&] { return scalar.convertTo(type); }}});
    }
}

TEST(Failures, OfCustomClassesAndShapesThatOutgrew) {
    struct Other {
        bool operator==(const Other&) const { return true; }
    };
    ZVariant paths = ZVariant::fromData({PropertyPath{"a"}, PropertyPath{"b"}});
    std::vector<double> room{1};
    room.reserve(4);
    ZVariant grown = ZVariant::fromVector(std::move(room)), four = ZVariant::allocate<double>({4});
    grown.reshapeNoRealloc({4});
    const ZVariantAbi number(1), text("text");
    expectFailures({
        {outOfBounds, [&] { elementsOf<double>(grown); }},
        {outOfBounds, [&] { return grown.slice({1}); }},
        {outOfBounds, [&] { four.assignSlice({0}, grown); }},
        {wrongType, [&] { paths.assignSlice({0}, ZVariant::fromCustom(Other())); }},
        {wrongType, [&] { return paths.slice<Other>({0}); }},
        {unknownType, [&] { paths.assignSlice({0}, 1); }},
        {unknownType, [&] { return paths.convertTo(WellKnownType::unknown); }},
        {wrongType,
         [&] { callFlat(ZVariantData_C_API_reshapeToZVariant, number.handle(), text.handle(), PyxDimensions(), 0U); }},
    });
}

// A client's item that does not keep what it promises: it selects how often it was copied, and gives no tenth copy.
struct ClientsItem : IndexItem {
    static inline bool isBroken = false;

    explicit ClientsItem(std::uint64_t copies) : copied(copies) {}
    Shape indicesForDimension(std::uint64_t) const override { return {copied}; }
    bool isValidForDimension(std::uint64_t) const override { return true; }
    std::unique_ptr<IndexItem> clone() const override {
        if (isBroken) {
            throw std::domain_error("broken");
        }
        return copied == 9 ? nullptr : std::make_unique<ClientsItem>(copied + 1);
    }

    const std::uint64_t copied;
};

TEST(Failures, OfIndexSetsAndTheirOffsets) {
    const auto negative = [](const std::string& number) {
        return invalid("An index, step or count must not be negative: " + number +
                       ". Count from the end of an axis with `last - k` or IndexValue::fromEnd(k).");
    };
    const auto slice = [](const auto& selection, const Shape& shape) {
        Internal::SliceFlattener(selection, shape, DataOrdering::RowMajor, static_cast<UseDataOrdering>(3));
    };
    // The set has a copy, and asks copies of that.
    const IndexSet clients(ClientsItem(0));
    EXPECT_EQ(clients.sortedIndices(9), Shape({2}));
    const std::vector<IndexSet> axes{0, clients};
    const std::string broken = failure<std::domain_error>("broken");
    Shape found{1, 2, 3};
    expectFailures({
        {invalid("The step of an index range must not be 0."), [] { return IndexSet(seq(1, 0, 0)).sortedIndices(5); }},
        {length("vector too long"), [] { return IndexSet(seq(8, 1)).sortedIndices(10); }},
        {negative("-1"), [] { return last - -1; }},
        {negative("-2"), [] { return seq(0, 1, -2); }},
        {negative("-2147483648"), [] { return firstN(std::numeric_limits<int>::min()); }},
        {invalid("An index item gave no copy of itself."), [] { return IndexSet(ClientsItem(9)); }},
        {wrongCount, [&] { slice(sets(9), at(2, 3)); }},
        {outsideAxis, [&] { slice(sets(2, 0), at(2, 3)); }},
        {outsideAxis, [&] { slice(sets(0, seq(0, 2, 0)), at(2, 3)); }},
        {outsideSet, [&] { slice(axes, at(2, 2)); }},
        {outsideSet, [&] { slice(clients, at(2)); }},
        {invalid("invalid UseDataOrdering"), [&] { slice(IndexSet(1), at(2)); }},
        {invalid("Wrong number of indices."), [] { ArrayIndexing::calculateOffsetRowMajor(at(5), at(2, 3), true); }},
        {outOfBounds, [] { ArrayIndexing::calculateOffsetColumnMajor(at(0, 3), at(2, 3), true); }},
        {invalid("Too few indices."), [&] { ArrayIndexing::CalculateIndicesRowMajor(found, 6, at(2, 3), true); }},
        {broken, [&] { ClientsItem::isBroken = true, slice(axes, at(2, 9)); }},
        {broken, [&] { slice(clients, at(9)); }},
        {broken, [&] { return clients.uniqueIndices(9); }},
    });
    EXPECT_TRUE(found.empty());
    ClientsItem::isBroken = false;
}

}  // namespace
}  // namespace Quorvane::Pyx
