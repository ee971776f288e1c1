// What allocates gives everything back when memory runs out at any point, changes nothing, and works when it is tried
// again. The rule has these exceptions, each of them in what its functions promise:
// - An interned text is stored for ever, by the call that succeeds.
// - Equivalence answers false when memory runs out, and a stream that a value is written to becomes bad: `orExhausted`.
// - Exhausted memory leaves a view's data with the caller in one case only, and consumes them in all others.
// - A refused conversion of a client's storage loses its array, until the storage is detached.
// - The destructor of an ExternalBuffer ends the process when values that are held cannot get their copy.
#include "failing_memory.h"
#include "values.h"

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
#include <tuple>
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

template <class... Results>
string describe(const std::tuple<Results...>& results) {
    return std::apply([](const auto&... each) { return (string() + ... + describe(each)); }, results);
}

// An operation on a subject that is made anew for each run.
struct Operation {
    std::function<void()> prepare;
    // Raises std::bad_alloc when memory is exhausted.
    std::function<void()> run;
    // The subject, and behind a run the result.
    std::function<string()> description;
    std::function<void()> end;
};

bool passes(const Operation& operation) try {
    operation.run();
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// Runs the operation with the first, second, third ... allocation failing, until it is not reached any more. What the
// operation has made may stay, when that is told.
void sweep(const string& what, const Operation& operation, bool keepsResult) {
    operation.prepare();
    const string before = operation.description();
    ASSERT_TRUE(passes(operation)) << what;
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
            const bool passed = passes(operation);
            FailingMemory::stopFailing();
            hasFailed = counts.hasFailed;
            if (!passed) {
                ASSERT_TRUE(hasFailed) << where;
                ASSERT_EQ(counts.alive, prepared) << where;
                ASSERT_EQ(operation.description(), before) << where;
                ASSERT_TRUE(passes(operation)) << where;
            }
            ASSERT_EQ(operation.description(), expected) << where;
            operation.end();
            ASSERT_TRUE(counts.alive == atFirst || keepsResult) << where;
            ASSERT_TRUE(hasFailed || passing > 0) << where << ": it needs no memory";
        }
    }
}

template <class Subject, bool keepsResult = false, class Call, class... Arguments>
void sweep(const string& what, Call call, Arguments... arguments) {
    using Result = std::invoke_result_t<Call&, Subject&>;
    std::optional<Subject> subject;
    std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> result;
    const auto run = [&] {
        if constexpr (std::is_void_v<Result>) {
            call(*subject);
        } else {
            result.emplace(call(*subject));
        }
    };
    const auto description = [&] { return describe(subject->parts()) + (result ? " gives " + describe(*result) : ""); };
    const auto end = [&] {
        result.reset();
        subject.reset();
    };
    sweep(what, {[&] { subject.emplace(arguments...); }, run, description, end}, keepsResult);
}

void orExhausted(bool answer) {
    if (!answer) {
        throw std::bad_alloc();
    }
}

template <class T>
string printed(const T& value) {
    std::ostringstream out;
    orExhausted((out << value).good());
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
    Value pairs = numbers.asComplex();
    ExternalBuffer<string, Value> buffer{texts, {2, 2}};
    Value shown = buffer.value();

    auto parts() const {
        const bool isShown = shown.template data<string>() == buffer.data();
        const bool isView =
            static_cast<const void*>(pairs.template data<std::complex<double>>()) == numbers.template data<double>();
        return std::tuple_cat(std::tie(text, words, numbers, digits, complexNumbers, pairs, shown),
                              std::tuple(isView, isShown));
    }
};

// ZVariantAbi calls each of the flat functions, and raises std::bad_alloc where a record says "bad_alloc", and only
// there.
template <class Value>
struct ExhaustedMemoryFor : testing::Test {};
TYPED_TEST_SUITE(ExhaustedMemoryFor, BothValues, );

TYPED_TEST(ExhaustedMemoryFor, MakingAndConverting) {
    using Value = TypeParam;
    using V = Values<Value>;
    sweep<V>("making", [](V& v) {
        const long numbers[] = {1, 2};
        return std::tuple(Value(v.longText), Value(v.longText.c_str()), Value::template allocate<string>({2, 2}),
                          Value::fromData(v.texts.data(), 4, {2, 2}, column), Value::fromData(numbers, 2),
                          Value::fromVector(std::vector<string>(v.texts)), Value::fromVector(std::vector<long>(2)));
    });
    sweep<V>("conversion", [](V& v) {
        const auto convert = [](const Value& value, WellKnownType type) { return value.convertTo(type, byText); };
        return std::tuple(convert(v.numbers, WellKnownType::string), convert(2.5e17, WellKnownType::string),
                          convert(v.digits, WellKnownType::double_), convert(v.text, WellKnownType::bool_),
                          convert(Value(), WellKnownType::double_));
    });
    sweep<V>("texts", [](V& v) {
        return v.text.template as<string>() + *extractSingleValue<string>(v.text) + printed(v.words) +
               printed(v.numbers);
    });
    sweep<V>("rebuilding", [](V& v) {
        return std::tuple(v.words.reordered(column), v.numbers.reordered(column), v.words.reshaped({5}));
    });
    using Other = std::conditional_t<std::is_same_v<Value, ZVariant>, ZVariantAbi, ZVariant>;
    sweep<V>("other value type",
             [](V& v) { return std::tuple(Other(v.text), Value(Other(v.longText)), Other(v.words), Other(v.shown)); });
    sweep<V>("taken over", [](V& v) {
        const Value needed(v.longText);
        Other taken(std::move(v.text));
        v.text = Value(std::move(taken));
    });
    sweep<V>("equivalence", [](V& v) { orExhausted(v.words.isEquivalentTo(v.words.reordered(column))); });
    sweep<V>("equivalence of numbers", [](V&) {
        const Value other = Value::fromData({1U, 3U, 2U, 4U}, {2, 2}, column);
        orExhausted(Value::fromData({1, 2, 3, 4}, {2, 2}).isEquivalentTo(other));
    });
    sweep<V>("wrong shape", [](V& v) { return messageOf([&] { return Value::fromData(v.texts.data(), 4, {3}); }); });
    sweep<V>("refusal", [](V& v) { return messageOf([&] { return v.words.convertOrThrow(WellKnownType::int8); }); });
    sweep<V>("wrong target", [](V& v) { return messageOf([&] { return v.words.convertTo(WellKnownType()); }); });
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
    sweep<V>("reading", [](V& v) {
        return std::tuple(v.words.slice(v.corners), v.words.flatSlice({0, last}), v.words.element({1, 1}),
                          v.numbers.slice({1, all}, Walk::WalkColumnMajor), v.words.template element<string>({1, 1}));
    });
    sweep<V>("wrong slice", [](V& v) { return messageOf([&] { return v.words.slice({2, all}); }); });
    sweep<V>("text to a slice", [](V& v) { v.words.assignSlice(v.corners, v.text); });
    sweep<V>("texts to a slice", [](V& v) { v.words.assignSlice({all, 1}, v.words.slice({all, 0})); });
    sweep<V>("numbers to a slice", [](V& v) { v.numbers.assignSlice({all, 1}, Value::fromData({7, 8}, {2, 1})); });
    sweep<V>("number to a view", [](V& v) { v.pairs.assignSlice(v.corners, 7); });
    sweep<V>("texts to themselves", [](V& v) { v.words.assignSlice({all, all}, v.words); });
    sweep<V>("texts to a shared slice", [](V& v) {
        Value shared = v.words;
        shared.assignFlatSlice({0, 2}, v.text, Walk::WalkColumnMajor);
        return shared;
    });
    sweep<V>("wrong shape", [](V& v) { return messageOf([&] { return v.words.assignSlice(v.corners, v.words), 0; }); });
    sweep<V>("element put", [](V& v) { v.words.assignElement({0, 1}, v.text); });
    sweep<V>("text element put", [](V& v) { v.words.template assignElement<string>({0, 1}, v.longText); });
}

TYPED_TEST(ExhaustedMemoryFor, ViewsAndClientsStorage) {
    using Value = TypeParam;
    using V = Values<Value>;
    using Number = std::complex<double>;
    sweep<V>("views", [](V& v) {
        const Value view = v.numbers.asComplex();
        return std::tuple(view.asReal(), v.complexNumbers.asReal(), Value(Number(1, 2)).asReal(),
                          view.reordered(column), view.convertTo(WellKnownType::complexFloat), view.slice({all, 0}));
    });
    sweep<V>("view of a null", [](V&) { return messageOf([] { return Value().asReal(); }); });
    sweep<V>("rebuilt view", [](V& v) { return messageOf([&] { return v.numbers.asComplex().reshaped({4}); }); });
    sweep<V>("view to a slice", [](V& v) { v.numbers.assignSlice({all, 0}, v.numbers.asComplex()); });
    sweep<V>("view compared",
             [](V& v) { orExhausted(v.numbers.asComplex().isEquivalentTo(v.numbers.asComplex().reordered(column))); });
    sweep<V>("reshaped and written view", [](V& v) {
        Value view = v.numbers.asComplex();
        view.reshapeNoRealloc({1, 2, 1});
        view.template mutableElementAt<Number>(0) = 1;
        return view;
    });

    sweep<V>("detach", [](V& v) { v.buffer.detach(); });
    sweep<V>("buffer", [](V& v) {
        ExternalBuffer<string, Value> buffer(v.texts, {4});
        const Value kept = buffer.value();
        buffer.detach();
        return kept;
    });
    sweep<V>("storage reordered in vain", [](V& v) { return messageOf([&] { return v.shown.reordered(row); }); });
    sweep<V>("storage", [](V& v) {
        return std::tuple(v.shown.convertTo(WellKnownType::bool_, byText), v.shown.reshaped({2, 3}));
    });
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
    auto parts() const { return std::tie(value); }
};

// Whatever asks the storage passes its failure on.
TYPED_TEST(ExhaustedMemoryFor, StorageThatNeedsMemoryItself) {
    using N = Needy<TypeParam>;
    sweep<N>("answers", [](N& n) {
        return std::tuple(n.value.wellKnownDataType(), n.value.numberAllocatedElements(), n.value.dimensions().size(),
                          n.value.dataOrdering() == row, n.value.template elementAt<double>(1), n.value == n.value);
    });
    sweep<N>("written element", [](N& n) { n.value.template mutableElementAt<double>(1) = 3; });
    sweep<N>("reshape", [](N& n) { n.value.reshapeNoRealloc({3}); });
    sweep<N>("equivalence", [](N& n) { orExhausted(n.value.isEquivalentTo(n.value)); });
    sweep<N>("results", [](N& n) {
        return std::tuple(n.value.asComplex(), n.value.convertTo(WellKnownType::int8), n.value.slice({all}));
    });
}

struct OwnClass {
    string longText = "a text that needs a buffer of its own";
    std::vector<Named> names{{longText}, {longText + "?"}, {longText + "!"}, {"short"}};
    ZVariant text{longText};
    ZVariant people = ZVariant::fromData(names.data(), 4, {2, 2});
    ZVariant adopted = ZVariant::fromVector(std::vector<Named>(names), {2, 2}, column);
    ZVariant nobody = ZVariant::allocate<Named>({2});
    auto parts() const { return std::tie(text, people, adopted, nobody); }
};

TEST(ExhaustedMemory, CustomClasses) {
    using C = OwnClass;
    sweep<C>("assignment of an inline text", [](C& c) { c.people = c.text; });
    sweep<C>("making", [](C& c) {
        return std::tuple(c.text, ZVariant::fromCustom(c.names[0]), ZVariant::fromData(c.names.data(), 4),
                          ZVariant::fromVector(std::vector<Named>(c.names)), ZVariant::allocate<Named>({3}),
                          c.people.reordered(column), c.people.reshaped({5}));
    });
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
    sweep<C>("defaults to texts", [](C& c) {
        const auto toText = [](const ZVariant& v) { return v.convertTo(WellKnownType::string, ConversionMode::Exact); };
        return std::tuple(toText(c.nobody), toText(ZVariant::fromCustom(Named())));
    });
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
    auto parts() const { return std::tie(array); }
};

TEST(ExhaustedMemory, AllElementTypes) {
    for (const WellKnownType type : elementTypes) {
        const string name(type.toString());
        const auto sweepType = [&](const char* what, auto call) { sweep<OfType>(name + what, call, type); };
        sweepType(" reordered", [](OfType& of) { return of.array.reordered(column); });
        sweepType(" rebuilt", [](OfType& of) { return of.array.reshaped({5}); });
        sweepType(" sliced", [](OfType& of) { return of.array.flatSlice(all); });
        for (const WellKnownType target : elementTypes) {
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
    auto parts() const { return std::tuple(tree, frozen, path, set.items().size()); }
};

TEST(ExhaustedMemory, TreesAndPaths) {
    using T = Trees;
    sweep<T>("map", [](T& t) { return PropertyMap{{"a", t.longText}, {"b", PropertyList{1, t.tree}}}; });
    sweep<T>("assignment", [](T& t) { t.tree.at({"a"}) = t.tree; });
    sweep<T>("append", [](T& t) { t.tree.at({"b"}).list().append(t.tree); });
    sweep<T>("insert", [](T& t) { t.tree.at({"b"}).list().insert(1, t.longText); });
    sweep<T>("insert or assign", [](T& t) { t.tree.map().insertOrAssign("a", t.tree); });
    sweep<T>("insert a key", [](T& t) { t.tree.map().insertOrAssign("c", t.longText); });
    sweep<T>("reserve", [](T& t) { t.tree.map().reserve(9); });
    sweep<T>("written value", [](T& t) { t.tree.at(t.path).value().mutableElementAt<double>(0) = 7; });
    sweep<T>("copies", [](T& t) {
        return std::tuple(t.tree, FPropertyNode(t.tree), FPropertyMap(t.tree.map()), FPropertyNode(t.frozen.map()));
    });
    sweep<T>("texts", [](T& t) {
        std::ostringstream out;
        orExhausted(ConsoleFormatter::serialize(t.tree, out).good());
        return out.str() + printed(t.tree);
    });
    sweep<T>("flat", [](T& t) { return unflatten(flatten(t.tree)); });
    sweep<T>("paths", [](T& t) {
        return std::tuple(PropertyPath(t.path.begin(), t.path.end()), t.path / "b", t.path.parent());
    });
    sweep<T>("appended segment", [](T& t) { t.path.append(3); });
    const PropertyPath noPosition{"b", 3}, noKey{"b", 2, missingKey};
    sweep<T>("failures", [&](T& t) {
        return messageOf([&] { return t.tree.at(noKey); }) + messageOf([&] { return t.frozen.at(noPosition); }) +
               messageOf([&] { return t.path.at(7); });
    });
    sweep<T>("set in itself", [](T& t) { t.set.add(t.set); });
    sweep<T>("indices", [](T& t) {
        return std::tuple(t.set.uniqueIndices(5), Internal::SliceFlattener(t.set, {2, 3}, row, {}).offsets,
                          IndexSet(0, last, all).items().size(), IndexSet(t.set).items().size());
    });
}

struct Codecs {
    ZVariant people = ZVariant::fromData({Named{"a text that needs a buffer of its own"}, Named{"short"}});
    ZVariant path = ZVariant::fromCustom(PropertyPath{"a", 3, "a key that needs a buffer of its own"});
    EncodedCustomTypeValues encodedPeople{"a name that needs a buffer of its own",
                                          PropertyList{PropertyMap{{nameKey, people.elementAt<Named>(0).name}}}};
    EncodedCustomTypeValues encodedPath = encodeCustomType(path);
    auto parts() const { return std::tie(people, path, encodedPeople.values, encodedPath.values); }
};

auto registerNamed() {
    const auto encode = [](const Named& named) { return PropertyMap{{nameKey, named.name}}; };
    const auto decode = [](const PropertyMap& map) { return Named{map.at(nameKey).value().elementAt<string>(0)}; };
    return std::make_unique<CustomTypeRegistration<Named>>("a name that needs a buffer of its own", encode, decode);
}

TEST(ExhaustedMemory, Codecs) {
    using C = Codecs;
    // Nothing is tried again here, after which the registry's list would have room.
    decltype(registerNamed()) registration;
    for (long passing = 0; registration == nullptr; ++passing) {
        const long before = counts.alive;
        FailingMemory::failAfter(passing, Failure::once);
        try {
            registration = registerNamed();
        } catch (const std::bad_alloc&) {
        }
        FailingMemory::stopFailing();
        ASSERT_TRUE(registration != nullptr || counts.alive == before) << passing;
    }
    sweep<C>("encoding", [](C& c) {
        const auto encoded = encodeCustomType(c.people).values;
        return std::tuple(encoded, encodeCustomType(c.people.element({0})).values, encodeCustomType(c.path).values);
    });
    sweep<C>("decoding", [](C& c) {
        const PropertyNode first = c.encodedPeople.values.list()[0];
        return std::tuple(decodeCustomType(c.encodedPeople), decodeCustomType({c.encodedPeople.typeName, first}),
                          decodeCustomType(c.encodedPath));
    });
    sweep<C>("failures", [](C&) {
        return messageOf([] { return registerNamed(); }) + messageOf([] { return encodeCustomType(ZVariant(1)); }) +
               messageOf([] {
                   return decodeCustomType({"No", PropertyMap()});
               });
    });
    registration.reset();
    sweep<C>("registration", [](C&) { return registerNamed() != nullptr; });
}

struct FreshText {
    static inline int count = 0;
    string text = "a text that nobody has interned before: " + std::to_string(++count);
    auto parts() const { return std::tuple(); }
};

TEST(ExhaustedMemory, InternedTexts) {
    // Long enough for the set to make room for more.
    for (int round = 0; round < 20; ++round) {
        sweep<FreshText, true>("interned text",
                               [](FreshText& fresh) { return InternedString(fresh.text).view() == fresh.text; });
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
        EXPECT_TRUE(isUnique(data.get()));
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
