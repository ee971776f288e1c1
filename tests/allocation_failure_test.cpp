// What allocates gives everything back when memory runs out at any point, changes nothing, and works when it is tried
// again. The rule has these exceptions, each of them in what its functions promise:
// - An interned text is stored for ever, by the call that succeeds.
// - Equivalence answers false when memory runs out, and a stream that a value is written to becomes bad: `orExhausted`.
// - Exhausted memory leaves a view's data with the caller in one case only, and consumes them in all others.
// - A refused conversion of a client's storage loses its array, until the storage is detached.
// - The destructor of an ExternalBuffer ends the process when values that are held cannot get their copy.
#include "element_sequence.h"
#include "failing_memory.h"

#include <gtest/gtest.h>
#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/extractSingleValue.h>
#include <pyx/variant/factories.h>

#include <cfenv>
#include <complex>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define PYXCORE_FINDS_LEAKS 1
#elif defined(__has_feature)
#define PYXCORE_FINDS_LEAKS __has_feature(address_sanitizer)
#endif
#if PYXCORE_FINDS_LEAKS
#include <sanitizer/lsan_interface.h>
#endif

namespace Quorvane::Pyx {
namespace {

using FailingMemory::counts;
using FailingMemory::Failure;
using std::string;

constexpr auto row = DataOrdering::RowMajor;
constexpr auto column = DataOrdering::ColumnMajor;
constexpr auto byText = ConversionMode::CastOrText;

// Interned before anything is counted.
const InternedString nameKey("name");
const InternedString missingKey("a key that is missing");

// A client's class whose copies need memory.
struct Named {
    string name;
    friend bool operator==(const Named& left, const Named& right) { return left.name == right.name; }
};

void PrintTo(const Named& named, std::ostream* out) {
    *out << named.name;
}

// Texts that are equal for equal results and operands.
template <class T>
string describe(const T& result) {
    return testing::PrintToString(result);
}

template <class Storage>
string describe(const ZVariantGeneric<Storage>& value) {
    const WellKnownType type = value.wellKnownDataType();
    string text = testing::PrintToString(type) + testing::PrintToString(value.dimensions().toVector()) +
                  testing::PrintToString(static_cast<int>(value.dataOrdering()));
    const auto append = [&](auto tag) {
        const auto* const elements = value.template data<typename decltype(tag)::type>();
        for (std::uint64_t i = 0; i < value.elementCount(); ++i) {
            text += ' ' + testing::PrintToString(elements[i]);
        }
    };
    if (type == WellKnownType::customType && value.template isElementType<Named>()) {
        append(Internal::ElementTag<Named>());
    } else if (type == WellKnownType::customType) {
        append(Internal::ElementTag<PropertyPath>());
    } else if (type != WellKnownType::unknown) {
        Internal::dispatchElementType(type, append);
    }
    return text;
}

// An operation on a subject that is made anew for each run.
struct Operation {
    virtual ~Operation() = default;
    virtual void prepare() = 0;
    // False when memory is exhausted.
    virtual bool run() = 0;
    // The subject, and behind a run the result.
    virtual string description() const = 0;
    virtual void end() = 0;
};

template <class Subject, class Call>
struct OperationOn final : Operation {
    using Result = std::decay_t<std::invoke_result_t<Call&, Subject&>>;
    static constexpr bool returns = !std::is_void_v<Result>;

    OperationOn(Call made, std::function<std::unique_ptr<Subject>()> maker) : call(made), make(std::move(maker)) {}
    void prepare() override { subject = make(); }
    bool run() override try {
        if constexpr (returns) {
            result.emplace(call(*subject));
        } else {
            call(*subject);
        }
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
    string description() const override { return describe(*subject) + (result ? " gives " + describe(*result) : ""); }
    void end() override {
        result.reset();
        subject.reset();
    }

    Call call;
    std::function<std::unique_ptr<Subject>()> make;
    std::unique_ptr<Subject> subject;
    std::optional<std::conditional_t<returns, Result, bool>> result;
};

// Runs the operation with the first, second, third ... allocation failing, until it is not reached any more. What the
// operation has made may stay, when that is told.
void sweep(const string& what, Operation& operation, bool keepsResult = false) {
    operation.prepare();
    const string before = operation.description();
    ASSERT_TRUE(operation.run()) << what;
    const string expected = operation.description();
    operation.end();
    for (const Failure failure : {Failure::once, Failure::fromThenOn}) {
        bool hasFailed = true;
        for (long passing = 0; hasFailed; ++passing) {
            const string where = what + ", allocation " + std::to_string(passing) +
                                 (failure == Failure::once ? " failing" : " and later ones failing");
            const long atFirst = counts.alive;
            operation.prepare();
            const long prepared = counts.alive;
            FailingMemory::failAfter(passing, failure);
            const bool passed = operation.run();
            FailingMemory::stopFailing();
            hasFailed = counts.hasFailed;
            if (!passed) {
                ASSERT_TRUE(hasFailed) << where;
                ASSERT_EQ(counts.alive, prepared) << where;
                ASSERT_EQ(operation.description(), before) << where;
                ASSERT_TRUE(operation.run()) << where;
            }
            ASSERT_EQ(operation.description(), expected) << where;
            operation.end();
            ASSERT_TRUE(counts.alive == atFirst || keepsResult) << where;
            ASSERT_TRUE(hasFailed || passing > 0) << where << ": it needs no memory";
        }
    }
}

template <class Subject, class Call, class... Arguments>
void sweep(const string& what, Call call, Arguments... arguments) {
    OperationOn<Subject, Call> operation(call, [=] { return std::make_unique<Subject>(arguments...); });
    sweep(what, operation);
}

void orExhausted(bool answer) {
    if (!answer) {
        throw std::bad_alloc();
    }
}

template <class T>
string printed(const T& value) {
    std::ostringstream out;
    out << value;
    orExhausted(out.good());
    return out.str();
}

template <class Call>
string messageOf(Call call) {
    try {
        (void)call();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no failure";
}

template <class Value>
struct Values {
    string longText = "a text that needs a buffer of its own";
    // To replace the last one needs memory, when others may have been replaced without.
    std::vector<string> texts{longText, longText + "?", longText + "!", "short"};
    Value text{longText};
    Value words = Value::fromData(texts.data(), 4, {2, 2});
    Value numbers = Value::fromData({1.5, 1e300, 3.25, 4.}, {2, 2});
    Value digits = numbers.convertTo(WellKnownType::string, byText);
    Value complexNumbers = Value::fromData({std::complex<double>(1, 2), std::complex<double>(3, 4)}, {1, 2});
    std::vector<IndexSet> corners{IndexSet(0, last), IndexSet(last)};
    ExternalBuffer<string, Value> buffer{texts, {2, 2}};
    Value shown = buffer.value();
};

template <class Value>
string describe(const Values<Value>& v) {
    return describe(v.text) + describe(v.words) + describe(v.numbers) + describe(v.digits) +
           describe(v.complexNumbers) + describe(v.shown) +
           (v.shown.template data<string>() == v.buffer.data() ? " shown" : " detached");
}

// ZVariantAbi calls each of the flat functions, and raises std::bad_alloc where a record says "bad_alloc", and only
// there.
template <class Value>
struct ExhaustedMemoryFor : testing::Test {};
using BothValues = testing::Types<ZVariant, ZVariantAbi>;
TYPED_TEST_SUITE(ExhaustedMemoryFor, BothValues, );

TYPED_TEST(ExhaustedMemoryFor, MakingAndConverting) {
    using Value = TypeParam;
    using V = Values<Value>;
    const long numbers[] = {1, 2};
    sweep<V>("text", [](V& v) { return Value(v.longText); });
    sweep<V>("characters", [](V& v) { return Value(v.longText.c_str()); });
    sweep<V>("array", [](V& v) { return Value::fromData(v.texts.data(), 4, {2, 2}, column); });
    sweep<V>("array of long", [&](V&) { return Value::fromData(numbers, 2); });
    sweep<V>("vector", [](V& v) { return Value::fromVector(std::vector<string>(v.texts)); });
    sweep<V>("vector of long", [&](V&) { return Value::fromVector(std::vector<long>(numbers, numbers + 2)); });
    sweep<V>("allocated array", [](V&) { return Value::template allocate<string>({2, 2}); });
    sweep<V>("wrong shape", [](V& v) { return messageOf([&] { return Value::fromData(v.texts.data(), 4, {3}); }); });
    sweep<V>("numbers to texts", [](V& v) { return v.numbers.convertTo(WellKnownType::string, byText); });
    sweep<V>("number to text", [](V&) { return Value(2.5e17).convertTo(WellKnownType::string, byText); });
    sweep<V>("texts to numbers", [](V& v) { return v.digits.convertTo(WellKnownType::double_, byText); });
    sweep<V>("text to number", [](V& v) { return v.text.convertTo(WellKnownType::bool_, byText); });
    sweep<V>("null to array", [](V&) { return Value().convertTo(WellKnownType::double_); });
    sweep<V>("refusal", [](V& v) { return messageOf([&] { return v.words.convertOrThrow(WellKnownType::int8); }); });
    sweep<V>("wrong target", [](V& v) { return messageOf([&] { return v.words.convertTo(WellKnownType()); }); });
    sweep<V>("text as such", [](V& v) { return v.text.template as<string>(); });
    sweep<V>("single value", [](V& v) { return *extractSingleValue<string>(v.text); });
    sweep<V>("printed texts", [](V& v) { return printed(v.words); });
    sweep<V>("printed numbers", [](V& v) { return printed(v.numbers); });
    sweep<V>("reordered texts", [](V& v) { return v.words.reordered(column); });
    sweep<V>("reordered numbers", [](V& v) { return v.numbers.reordered(column); });
    sweep<V>("rebuilt texts", [](V& v) { return v.words.reshaped({5}); });
    sweep<V>("equivalence", [](V& v) { orExhausted(v.words.isEquivalentTo(v.words.reordered(column))); });
    sweep<V>("equivalence of numbers", [](V&) {
        const Value other = Value::fromData({1U, 3U, 2U, 4U}, {2, 2}, column);
        orExhausted(Value::fromData({1, 2, 3, 4}, {2, 2}).isEquivalentTo(other));
    });
}

TYPED_TEST(ExhaustedMemoryFor, WritingAndSlicing) {
    using Value = TypeParam;
    using V = Values<Value>;
    using Walk = UseDataOrdering;
    sweep<V>("write to a shared array", [](V& v) {
        Value shared = v.words;
        shared.template mutableElementAt<string>(1) = v.longText;
        return shared;
    });
    sweep<V>("write to an array", [](V& v) { v.words.template mutableElementAt<string>(3) = v.longText; });
    sweep<V>("slice", [](V& v) { return v.words.slice(v.corners); });
    sweep<V>("slice of numbers", [](V& v) { return v.numbers.slice({1, all}, Walk::WalkColumnMajor); });
    sweep<V>("flat slice", [](V& v) { return v.words.flatSlice({0, last}, Walk::WalkColumnMajor); });
    sweep<V>("element", [](V& v) { return v.words.element({1, 1}); });
    sweep<V>("text element", [](V& v) { return v.words.template element<string>({1, 1}); });
    sweep<V>("wrong slice", [](V& v) { return messageOf([&] { return v.words.slice({2, all}); }); });
    sweep<V>("text to a slice", [](V& v) { v.words.assignSlice(v.corners, v.text); });
    sweep<V>("texts to a slice", [](V& v) { v.words.assignSlice({all, 1}, v.words.slice({all, 0})); });
    sweep<V>("numbers to a slice", [](V& v) { v.numbers.assignSlice({all, 1}, Value::fromData({7, 8}, {2, 1})); });
    sweep<V>("texts to themselves", [](V& v) { v.words.assignSlice({all, all}, v.words); });
    sweep<V>("texts to a shared slice", [](V& v) {
        Value shared = v.words;
        shared.assignFlatSlice({0, 2}, v.text, Walk::WalkColumnMajor);
        return shared;
    });
    sweep<V>("element put", [](V& v) { v.words.assignElement({0, 1}, v.text); });
    sweep<V>("text element put", [](V& v) { v.words.template assignElement<string>({0, 1}, v.longText); });
    sweep<V>("slice of another shape",
             [](V& v) { return messageOf([&] { return v.words.assignSlice(v.corners, v.words), 0; }); });
}

TYPED_TEST(ExhaustedMemoryFor, ViewsAndClientsStorage) {
    using Value = TypeParam;
    using V = Values<Value>;
    sweep<V>("complex view", [](V& v) { return v.numbers.asComplex(); });
    sweep<V>("real view", [](V& v) { return v.complexNumbers.asReal(); });
    sweep<V>("view of a view", [](V& v) { return v.numbers.asComplex().asReal(); });
    sweep<V>("view of a scalar", [](V&) { return Value(std::complex<double>(1, 2)).asReal(); });
    sweep<V>("view of a null", [](V&) { return messageOf([] { return Value().asReal(); }); });
    sweep<V>("converted view", [](V& v) { return v.numbers.asComplex().convertTo(WellKnownType::complexFloat); });
    sweep<V>("reordered view", [](V& v) { return v.numbers.asComplex().reordered(column); });
    sweep<V>("reshaped view", [](V& v) {
        Value view = v.complexNumbers.asReal();
        view.reshapeNoRealloc({2, 2, 1});
        return view;
    });
    sweep<V>("rebuilt view", [](V& v) { return messageOf([&] { return v.numbers.asComplex().reshaped({4}); }); });
    sweep<V>("sliced view", [](V& v) { return v.numbers.asComplex().slice({all, 0}); });
    sweep<V>("view to a slice", [](V& v) { v.numbers.assignSlice({all, 0}, v.numbers.asComplex()); });
    sweep<V>("view compared",
             [](V& v) { orExhausted(v.numbers.asComplex().isEquivalentTo(v.numbers.asComplex().reordered(column))); });
    sweep<V>("written view", [](V& v) {
        Value view = v.numbers.asComplex();
        view.template mutableElementAt<std::complex<double>>(0) = 1;
        return view;
    });

    sweep<V>("detach", [](V& v) { v.buffer.detach(); });
    sweep<V>("buffer", [](V& v) {
        ExternalBuffer<string, Value> buffer(v.texts, {4});
        const Value kept = buffer.value();
        buffer.detach();
        return kept;
    });
    sweep<V>("converted storage", [](V& v) { return v.shown.convertTo(WellKnownType::bool_, byText); });
    sweep<V>("rebuilt storage", [](V& v) { return v.shown.reshaped({2, 3}); });
    sweep<V>("storage reordered in vain", [](V& v) { return messageOf([&] { return v.shown.reordered(row); }); });
    sweep<V>("write to a shared storage", [](V& v) { v.shown.template mutableElementAt<string>(0) = v.longText; });
}

// Storage of a client all of whose answers need memory.
struct NeedyStorage final : ExternalVariantStorageInterface {
    // No new-expression, which a compiler may leave out.
    static void need() { ::operator delete(::operator new(1)); }

    std::uint64_t numberAllocatedElements() const override { return need(), 2; }
    ArrayDimensionsView dimensions() const override { return need(), ArrayDimensionsView(lengths, 1); }
    DataOrdering dataOrdering() const override { return need(), row; }
    WellKnownType wellKnownDataType() const override { return need(), WellKnownType::double_; }
    void reshapeNoRealloc(ArrayDimensionsView) override { need(); }
    const void* constStoredData() const override { return need(), elements; }
    void* mutableStoredData() override { return need(), elements; }
    void adaptorDestroyed() override { detachCallback = nullptr; }

    std::uint64_t lengths[1] = {2};
    double elements[2] = {1, 2};
};

template <class Value>
struct Needy {
    // The value keeps its shape from now on.
    Needy() { (void)value.dimensions(); }
    NeedyStorage storage;
    Value value = Value::fromExternal(storage);
};

template <class Value>
string describe(const Needy<Value>& needy) {
    return describe(needy.value);
}

// Whatever asks the storage passes its failure on.
TYPED_TEST(ExhaustedMemoryFor, StorageThatNeedsMemoryItself) {
    using N = Needy<TypeParam>;
    sweep<N>("type", [](N& n) { return n.value.wellKnownDataType(); });
    sweep<N>("size", [](N& n) { return n.value.numberAllocatedElements(); });
    sweep<N>("shape", [](N& n) { return n.value.dimensions().toVector(); });
    sweep<N>("ordering", [](N& n) { return n.value.dataOrdering() == row; });
    sweep<N>("element", [](N& n) { return n.value.template elementAt<double>(1); });
    sweep<N>("written element", [](N& n) { n.value.template mutableElementAt<double>(1) = 3; });
    sweep<N>("reshape", [](N& n) { n.value.reshapeNoRealloc({3}); });
    sweep<N>("identity", [](N& n) { return n.value == n.value; });
    sweep<N>("equivalence", [](N& n) { orExhausted(n.value.isEquivalentTo(n.value)); });
    sweep<N>("view", [](N& n) { return n.value.asComplex(); });
    sweep<N>("conversion", [](N& n) { return n.value.convertTo(WellKnownType::int8); });
    sweep<N>("slice", [](N& n) { return n.value.slice({all}); });
}

struct OwnClass {
    string longText = "a text that needs a buffer of its own";
    std::vector<Named> names{{longText}, {longText + "?"}, {longText + "!"}, {"short"}};
    ZVariant text{longText};
    ZVariant people = ZVariant::fromData(names.data(), 4, {2, 2});
    ZVariant adopted = ZVariant::fromVector(std::vector<Named>(names), {2, 2}, column);
    ZVariant nobody = ZVariant::allocate<Named>({2});
};

string describe(const OwnClass& c) {
    return describe(c.text) + describe(c.people) + describe(c.adopted) + describe(c.nobody);
}

TEST(ExhaustedMemory, CustomClasses) {
    using C = OwnClass;
    sweep<C>("copy of an inline text", [](C& c) { return ZVariant(c.text); });
    sweep<C>("assignment of an inline text", [](C& c) { c.people = c.text; });
    sweep<C>("scalar", [](C& c) { return ZVariant::fromCustom(c.names[0]); });
    sweep<C>("array", [](C& c) { return ZVariant::fromData(c.names.data(), 4); });
    sweep<C>("vector", [](C& c) { return ZVariant::fromVector(std::vector<Named>(c.names)); });
    sweep<C>("allocated array", [](C&) { return ZVariant::allocate<Named>({3}); });
    sweep<C>("reordered", [](C& c) { return c.people.reordered(column); });
    sweep<C>("rebuilt", [](C& c) { return c.people.reshaped({5}); });
    sweep<C>("reshaped in place", [](C& c) { c.adopted.reshapeNoRealloc({2, 1, 2}); });
    for (ZVariant C::*array : {&C::people, &C::adopted}) {
        sweep<C>("written", [=](C& c) {
            ZVariant shared = c.*array;
            shared.mutableElementAt<Named>(1) = c.names[0];
            return shared;
        });
        sweep<C>("slice put", [=](C& c) { (c.*array).assignSlice({all, 0}, (c.*array).slice({all, 1})); });
        sweep<C>("element put", [=](C& c) { (c.*array).assignElement({0, 1}, (c.*array).element({0, 0})); });
        sweep<C>("one put to all", [=](C& c) { (c.*array).assignFlatSlice(all, ZVariant::fromCustom(c.names[2])); });
    }
    sweep<C>("defaults to texts",
             [](C& c) { return c.nobody.convertTo(WellKnownType::string, ConversionMode::Exact); });
    sweep<C>("default to text",
             [](C&) { return ZVariant::fromCustom(Named()).convertTo(WellKnownType::string, ConversionMode::Exact); });
    sweep<C>("equivalence", [](C& c) { orExhausted(c.people.isEquivalentTo(c.people.reordered(column))); });
}

// An array of any element type.
struct OfType {
    explicit OfType(WellKnownType type) : array(Internal::dispatchElementType(type, make)) {}
    template <class T>
    static ZVariant makeOf() {
        return ZVariant::fromData(sequence<T>(4).get(), 4, {2, 2});
    }
    static constexpr auto make = [](auto tag) { return makeOf<typename decltype(tag)::type>(); };
    ZVariant array;
};

string describe(const OfType& of) {
    return describe(of.array);
}

TEST(ExhaustedMemory, AllElementTypes) {
    const WellKnownType types[] = {
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) WellKnownType::enumerator,
#include <pyx/types/element_types.def>
    };
    for (const WellKnownType type : types) {
        const string name(type.toString());
        const auto sweepType = [&](const char* what, auto call) { sweep<OfType>(name + what, call, type); };
        sweepType(" reordered", [](OfType& of) { return of.array.reordered(column); });
        sweepType(" rebuilt", [](OfType& of) { return of.array.reshaped({5}); });
        sweepType(" sliced", [](OfType& of) { return of.array.flatSlice(all); });
        for (const WellKnownType target : types) {
            for (const auto mode : {ConversionMode::Exact, ConversionMode::Cast, byText}) {
                if (target != type) {
                    sweepType(" converted", [=](OfType& of) { return of.array.convertTo(target, mode); });
                }
            }
        }
    }
}

// A stream writes numbers then, and would leave out what it has no memory for.
TEST(ExhaustedMemory, NumbersInAnotherRoundingMode) {
    std::fesetround(FE_UPWARD);
    sweep<Values<ZVariant>>("texts", [](auto& v) { return v.numbers.convertTo(WellKnownType::string, byText); });
    std::fesetround(FE_TONEAREST);
}

struct Trees {
    string longText = "a text that needs a buffer of its own";
    PropertyNode tree = PropertyMap{
        {"a", 1}, {"b", PropertyList{nullptr, longText, PropertyMap{{"c", ZVariant::fromData({1.5, 2.5})}}}}};
    FPropertyNode frozen{tree};
    PropertyPath path{"b", 2, "c"};
    IndexSet set{0, last, seq(0, last, 2)};
};

string describe(const Trees& t) {
    return describe(t.tree) + describe(t.frozen) + describe(t.path) + describe(t.set.items().size());
}

TEST(ExhaustedMemory, TreesAndPaths) {
    using T = Trees;
    sweep<T>("map", [](T& t) { return PropertyMap{{"a", t.longText}, {"b", PropertyList{1, t.tree}}}; });
    sweep<T>("list", [](T& t) { return PropertyList{t.longText, t.tree}; });
    sweep<T>("copy", [](T& t) { return t.tree; });
    sweep<T>("assignment", [](T& t) { t.tree.at({"a"}) = t.tree; });
    sweep<T>("append", [](T& t) { t.tree.at({"b"}).list().append(t.tree); });
    sweep<T>("insert", [](T& t) { t.tree.at({"b"}).list().insert(1, t.longText); });
    sweep<T>("insert or assign", [](T& t) { t.tree.map().insertOrAssign("a", t.tree); });
    sweep<T>("insert a key", [](T& t) { t.tree.map().insertOrAssign("c", t.longText); });
    sweep<T>("reserve", [](T& t) { t.tree.map().reserve(9); });
    sweep<T>("missing key", [](T& t) { return messageOf([&] { return t.tree.at({"b", 2, missingKey}); }); });
    sweep<T>("missing position", [](T& t) { return messageOf([&] { return t.frozen.at({"b", 3}); }); });
    sweep<T>("written value", [](T& t) { t.tree.at(t.path).value().mutableElementAt<double>(0) = 7; });
    sweep<T>("freeze", [](T& t) { return FPropertyNode(t.tree); });
    sweep<T>("freeze a map", [](T& t) { return FPropertyMap(t.tree.map()); });
    sweep<T>("node of a frozen map", [](T& t) { return FPropertyNode(t.frozen.map()); });
    sweep<T>("printed tree", [](T& t) { return printed(t.tree); });
    sweep<T>("listed tree", [](T& t) {
        std::ostringstream out;
        orExhausted(ConsoleFormatter::serialize(t.tree, out).good());
        return out.str();
    });
    sweep<T>("path", [](T& t) { return PropertyPath(t.path.begin(), t.path.end()); });
    sweep<T>("child", [](T& t) { return t.path / "b"; });
    sweep<T>("parent", [](T& t) { return t.path.parent(); });
    sweep<T>("appended segment", [](T& t) { t.path.append(3); });
    sweep<T>("wrong segment", [](T& t) { return messageOf([&] { return t.path.at(7); }); });
    sweep<T>("set", [](T&) { return IndexSet(0, last, all).items().size(); });
    sweep<T>("copied set", [](T& t) { return IndexSet(t.set).items().size(); });
    sweep<T>("set in itself", [](T& t) { t.set.add(t.set); });
    sweep<T>("indices", [](T& t) { return t.set.uniqueIndices(5); });
    sweep<T>("offsets", [](T& t) { return Internal::SliceFlattener(t.set, {2, 3}, row, {}).offsets; });
}

struct Codecs {
    ZVariant people = ZVariant::fromData({Named{"a text that needs a buffer of its own"}, Named{"short"}});
    ZVariant path = ZVariant::fromCustom(PropertyPath{"a", 3, "a key that needs a buffer of its own"});
    EncodedCustomTypeValues encodedPeople{"a name that needs a buffer of its own",
                                          PropertyList{PropertyMap{{nameKey, people.elementAt<Named>(0).name}}}};
    EncodedCustomTypeValues encodedPath = encodeCustomType(path);
};

string describe(const Codecs& c) {
    return describe(c.people) + describe(c.path) + describe(c.encodedPeople.values) + describe(c.encodedPath.values);
}

template <class T>
std::unique_ptr<CustomTypeRegistration<T>> registerNamed() {
    return std::make_unique<CustomTypeRegistration<T>>(
        "a name that needs a buffer of its own",
        [](const T& named) {
            return PropertyMap{{nameKey, named.name}};
        },
        [](const PropertyMap& map) { return T{map.at(nameKey).value().template elementAt<string>(0)}; });
}

TEST(ExhaustedMemory, Codecs) {
    using C = Codecs;
    // Nothing is tried again here, after which the registry's list would have room.
    decltype(registerNamed<Named>()) registration;
    for (long passing = 0; registration == nullptr; ++passing) {
        const long before = counts.alive;
        FailingMemory::failAfter(passing, Failure::once);
        try {
            registration = registerNamed<Named>();
        } catch (const std::bad_alloc&) {
        }
        FailingMemory::stopFailing();
        ASSERT_TRUE(registration != nullptr || counts.alive == before) << passing;
    }
    sweep<C>("taken class", [](C&) { return messageOf([] { return registerNamed<Named>(); }); });
    sweep<C>("encoding", [](C& c) { return encodeCustomType(c.people).values; });
    sweep<C>("decoding", [](C& c) { return decodeCustomType(c.encodedPeople); });
    sweep<C>("encoding one", [](C& c) { return encodeCustomType(c.people.element({0})).values; });
    sweep<C>("decoding one", [](C& c) {
        return decodeCustomType({c.encodedPeople.typeName, PropertyNode(c.encodedPeople.values.list()[0])});
    });
    sweep<C>("encoding a path", [](C& c) { return encodeCustomType(c.path).values; });
    sweep<C>("decoding a path", [](C& c) { return decodeCustomType(c.encodedPath); });
    sweep<C>("unknown class", [](C&) { return messageOf([] { return encodeCustomType(ZVariant(1)); }); });
    sweep<C>("unknown name", [](C&) { return messageOf([] { return decodeCustomType({"No", PropertyMap()}); }); });
    registration.reset();
    sweep<C>("registration", [](C&) { return registerNamed<Named>() != nullptr; });
}

struct FreshText {
    static inline int count = 0;
    string text = "a text that nobody has interned before: " + std::to_string(++count);
};

string describe(const FreshText&) {
    return "";
}

TEST(ExhaustedMemory, InternedTexts) {
    const auto intern = [](FreshText& fresh) { return InternedString(fresh.text).view() == fresh.text; };
    OperationOn<FreshText, decltype(intern)> operation(intern, [] { return std::make_unique<FreshText>(); });
    // Long enough for the set to make room for more.
    for (int round = 0; round < 20; ++round) {
        sweep("interned text", operation, true);
    }
}

// The only failure that leaves the reference with the caller is that of the view's own allocation, and can be told.
TEST(ExhaustedMemory, ShowsWhoHoldsTheReferenceOfAView) {
    using namespace Internal;
    const double elements[] = {1, 2};
    for (const long passing : {0, 1}) {
        AbiErrorRecord record;
        const OwnedData<> data(
            constructVariantVectorWithDataWithDimsUnresolved<double>(elements, 2, {}, DataOrdering::RowMajor));
        data->copy();
        FailingMemory::failAfter(passing, Failure::once);
        EXPECT_EQ(ZVariantData_C_API_constructTransmuteRealToComplexVariant(&record, data.get()), nullptr);
        FailingMemory::stopFailing();
        EXPECT_STREQ(record.kind, "bad_alloc");
        EXPECT_STREQ(record.message, passing == 0 ? "std::bad_alloc" : "std::bad_array_new_length");
        if (passing == 0) {
            data->destruct();
        }
        EXPECT_TRUE(dynamic_cast<IVariantDataRefCounted&>(*data).isUnique());
    }
}

TEST(RefusedConversion, KeepsItsArrayOnlyForExternalStorage) {
    ExternalBuffer<double> buffer(std::vector<double>{1.5});
    const ZVariant value = buffer.value();
    const auto allocationsKept = [&] {
        const long before = counts.alive;
#if PYXCORE_FINDS_LEAKS
        // What this keeps is lost for ever.
        const __lsan::ScopedDisabler disabler;
#endif
        EXPECT_TRUE(value.convertTo(WellKnownType::int32, ConversionMode::Exact).isNull());
        return counts.alive - before;
    };
    EXPECT_GT(allocationsKept(), 0);
    buffer.detach();
    EXPECT_EQ(allocationsKept(), 0);
}

// Whoever reads the shape of a buffer's value on several threads relies on that.
TEST(ExternalBuffer, GivesNoValueWithoutItsShape) {
    for (const long passing : {0, 1}) {
        ExternalBuffer<double> buffer(std::vector<double>{1.5});
        FailingMemory::failAfter(passing, Failure::once);
        EXPECT_THROW((void)buffer.value(), std::bad_alloc);
        FailingMemory::stopFailing();
        const ZVariant value = buffer.value();
        FailingMemory::failAfter(0, Failure::once);
        EXPECT_EQ(value.dimensions().size(), 1u);
        FailingMemory::stopFailing();
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
