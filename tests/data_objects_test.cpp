// What data objects promise beyond their elements: where these stand, what a client is asked and told, and who holds
// what.
#include "client_storage.h"
#include "values.h"

#include <pyx/pyx.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/comparison.h>
#include <pyx/variant/factories.h>

#include <csignal>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using namespace Internal;
using testing::PrintToString;

constexpr auto row = DataOrdering::RowMajor;
constexpr auto column = DataOrdering::ColumnMajor;
const std::string longText = "a text that needs a buffer of its own";

template <class T>
struct Layout : testing::Test {};
TYPED_TEST_SUITE(Layout, AllElementTypes, );

TYPED_TEST(Layout, IsAsPromised) {
    using T = TypeParam;
    const auto elements = sequence<T>(6);
    // A scalar stands in the buffer where it fits.
    ZVariantDirectStorage storage;
    const std::uint64_t needed = sizeof(ScalarVariantDataNonCounted<T>);
    IVariantData* const inlined = constructVariantScalar<T>(storage.inlineBuffer, needed, elements[1]);
    EXPECT_EQ(static_cast<void*>(inlined), storage.inlineBuffer);
    inlined->~IVariantData();
    const OwnedData<> counted(constructVariantScalar<T>(storage.inlineBuffer, needed - 1, elements[1]));
    EXPECT_NE(static_cast<void*>(counted.get()), storage.inlineBuffer);
    // One allocation: the elements stand right behind the object.
    const OwnedData<> array(constructVariantVectorWithDataWithDimsUnresolved<T>(elements.get(), 6, {2, 3}, row));
    EXPECT_EQ(array->constStoredData(), static_cast<const VectorVariantData<T>*>(array.get()) + 1);
    EXPECT_EQ(*array->storedTypeInfo(), typeid(T));
    // Elements of the plain types are not initialised.
    if constexpr (!std::is_arithmetic_v<T>) {
        const OwnedData<> fresh(constructVariantVectorWithoutDataWithDimsUnresolved<T>({9}, row));
        EXPECT_EQ(static_cast<const T*>(fresh->constStoredData())[8], T{});
    }
    if constexpr (!std::is_same_v<T, bool>) {
        std::vector<T> vector(elements.get(), elements.get() + 6);
        const T* const adopted = vector.data();
        const OwnedData<> data(constructVariantDataFromMovedVector<T>(std::move(vector), {6}, row));
        EXPECT_EQ(data->constStoredData(), adopted);
    }
}

// An element that holds a value.
struct Holder {
    ZVariant held;
    bool operator==(const Holder& other) const { return held == other.held; }
};

TEST(ZVariant, KeepsScalarsInsideAndIsAssignedFromInside) {
    const ZVariant scalar = "lattice";
    const auto* const inside = reinterpret_cast<const char*>(scalar.data<std::string>());
    EXPECT_TRUE(inside >= reinterpret_cast<const char*>(&scalar) &&
                inside < reinterpret_cast<const char*>(&scalar + 1));
    // What is assigned stands inside data that end by it.
    for (const ZVariant& inner : {ZVariant(1.5), ZVariant(longText), ZVariant::fromData({1, 2, 3}), ZVariant()}) {
        ZVariant outer = ZVariant::fromData({Holder(), Holder{inner}});
        outer = std::move(outer.mutableElementAt<Holder>(1).held);
        EXPECT_EQ(outer, inner);
        outer = static_cast<const ZVariant&>(outer);
        EXPECT_EQ(outer, inner);
    }
    // A part of the own shape.
    ZVariant array = ZVariant::allocate<int>({1, 2, 3});
    array.reshapeNoRealloc({array.dimensions().begin() + 1, 2});
    EXPECT_EQ(array.dimensions(), ArrayDimensionsView({2, 3}));
}

template <class Value>
struct EitherValue : testing::Test {};
TYPED_TEST_SUITE(EitherValue, BothValues, );

TYPED_TEST(EitherValue, IsMadeOfWhatIsNoElementType) {
    using Value = TypeParam;
    EXPECT_EQ(Value(1L).wellKnownDataType(), WellKnownType::int64);
    EXPECT_EQ(Value::fromData({1UL, 2UL}).wellKnownDataType(), WellKnownType::unsignedInt64);
    EXPECT_EQ(Value('a').wellKnownDataType(), WellKnownType::int8);
    EXPECT_EQ(PrintToString(Value::fromData(std::vector<bool>{true, false})), "[true, false]");
    // Braces with a named type stay a list of elements.
    EXPECT_EQ(Value::template fromData<std::string>({"one", "two"}).elementCount(), 2u);
    static_assert(!std::is_constructible_v<Value, int*> && !std::is_constructible_v<Value, std::nullptr_t>);
    static_assert(std::is_nothrow_move_constructible_v<Value> && std::is_nothrow_move_assignable_v<Value>);
}

TYPED_TEST(EitherValue, GivesAndTakesHandles) {
    using Other = std::conditional_t<std::is_same_v<TypeParam, ZVariant>, ZVariantAbi, ZVariant>;
    static_assert(!std::is_convertible_v<TypeParam, Other>);
    TypeParam array = TypeParam::fromData({1., 2.});
    PyxVariantData* const data = std::move(array).release();
    EXPECT_TRUE(isUnique(data));
    {
        const Other shared = Other::share(data);
        EXPECT_FALSE(isUnique(data));
        EXPECT_EQ(ZVariantAbi(shared).handle(), data);
    }
    EXPECT_EQ(PrintToString(Other(TypeParam::adopt(data))), "[1, 2]");
    // Each side keeps its own null, also of a value that was moved from.
    PyxVariantData* const null = Other().release();
    EXPECT_NE(TypeParam().release(), null);
    EXPECT_EQ(Other(TypeParam()).release(), null);
    EXPECT_EQ(Other(std::as_const(array)).release(), null);
    EXPECT_EQ(Other(std::move(array)).release(), null);
    EXPECT_EQ(Other::adopt(nullptr).release(), null);
    EXPECT_EQ(std::move(array).release(), nullptr);
}

TYPED_TEST(EitherValue, OutlivesItsBuffer) {
    double memory[] = {1, 2, 3, 4, 5, 6};
    TypeParam kept;
    {
        ExternalBuffer<double, TypeParam> owner(std::vector<double>(memory, memory + 6), {2, 3}, column);
        ExternalBuffer<double, TypeParam> window(memory, {3, 2});
        for (auto* const buffer : {&owner, &window}) {
            kept = buffer->value();
            TypeParam written = kept;
            buffer->data()[1] = 20;
            written.template mutableElementAt<double>(1) = 30;
            EXPECT_EQ(*(buffer->begin() + 1), 20);
            EXPECT_EQ(kept.template data<double>(), buffer->data());
            // What is detached stays, and the buffer begins anew.
            buffer->detach();
            buffer->data()[1] = 40;
            EXPECT_EQ(kept.template elementAt<double>(1), 20);
            kept = buffer->value();
        }
        kept.reshapeNoRealloc({3, 2});
        EXPECT_THROW(kept.reshapeNoRealloc({6}), std::runtime_error);
    }
    memory[0] = -1;
    EXPECT_EQ(PrintToString(kept), "[1, 40, 3, 4, 5, 6]");
    kept.reshapeNoRealloc({6});
    EXPECT_EQ(ExternalBuffer(std::vector<int>(4)).value().dimensions(), ArrayDimensionsView({4}));
    EXPECT_THROW(ExternalBuffer(std::vector<int>(4), {5}), std::length_error);
    bool flags[] = {true, false};
    EXPECT_EQ(PrintToString(ExternalBuffer(flags, {2, 1}).value()), "[true, false]");
}

const Array sixNumbers{WellKnownType::int32, {2, 3}, column, std::vector<Bytes>(6, Bytes(4, '\1')), false};

OwnedData<> show(ClientStorage& client) {
    return OwnedData<>(constructVariantExternal(&client));
}

TEST(ClientStorage, IsAskedInAFixedOrder) {
    ClientStorage client(sixNumbers);
    const OwnedData<> data = show(client);
    const auto expectQuestions = [&](auto call, const std::string& expected) {
        std::string questions;
        client.asked = [&](const char* operation) { questions += std::string(operation) + ' '; };
        call();
        EXPECT_EQ(questions, expected);
    };
    const std::string conversion = "dataOrdering dimensions constStoredData wellKnownDataType numberAllocatedElements ";
    const auto convert = [&] { OwnedData<>(data->convertDataTo(WellKnownType::double_, ConversionMode::Cast)); };
    const auto write = [&] { data->copy(), OwnedData<>(data->makeUnique()); };
    expectQuestions(convert, conversion);
    expectQuestions(write, "dataOrdering dimensions numberAllocatedElements constStoredData wellKnownDataType ");
    expectQuestions([&] { data->makeUnique(); }, "");
    expectQuestions([&] { client.detachCallback(); }, "wellKnownDataType " + conversion);
    expectQuestions(convert, "");
    client.asked = [](const char*) {};
}

TEST(ClientStorage, ServesOneAdaptorUntilItIsDetached) {
    ClientStorage client(sixNumbers);
    OwnedData<> former = show(client);
    {
        const OwnedData<> data = show(client);
        client.detachCallback();
        EXPECT_NE(data->constStoredData(), client.first);
    }
    EXPECT_EQ(client.destroyed, 0);
    EXPECT_EQ(former->constStoredData(), client.first);
    former.reset();
    EXPECT_EQ(client.destroyed, 1);
}

struct OwnExhaustion : std::bad_alloc {
    const char* what() const noexcept override { return "no room"; }
};

TEST(ClientStorage, PassesWhatItRaises) {
    ClientStorage client(sixNumbers);
    const auto failAt = [&](const char* question, const auto& error) {
        client.asked = [=](const char* operation) {
            if (operation == std::string(question)) {
                throw error;
            }
        };
    };
    const OwnedData<> data = show(client);
    failAt("dimensions", std::domain_error("no shape today"));
    EXPECT_RAISES(std::domain_error, "no shape today", client.detachCallback());
    EXPECT_EQ(data->constStoredData(), client.first);
    EXPECT_RAISES(std::runtime_error, "no shape today", ZVariantAbi::fromExternal(client).dimensions());
    failAt("wellKnownDataType", std::domain_error("no type"));
    EXPECT_RAISES(std::domain_error, "no type", isEquivalentTo(*data, *data, ConversionMode::Cast));
    // A view has taken the data over by the time the client fails. Only plain exhaustion gets another name, and only
    // where the view is made.
    client.asked = [](const char*) {};
    const ZVariant view = ZVariant::fromExternal(client).asComplex();
    for (const auto construct : {constructTransmuteRealToComplexVariant, constructTransmuteComplexToRealVariant}) {
        failAt("dataOrdering", OwnExhaustion());
        EXPECT_RAISES(OwnExhaustion, "no room", construct(constructVariantExternal(&client)));
        failAt("dataOrdering", std::bad_alloc());
        EXPECT_THROW(construct(constructVariantExternal(&client)), std::bad_array_new_length);
    }
    EXPECT_RAISES(std::bad_alloc, std::bad_alloc().what(), view.convertTo(WellKnownType::complexFloat));
    EXPECT_EQ(client.destroyed, 5);
}

TEST(ClientStorage, IsReadByItsCodeWhereItTellsNoClass) {
    Holder elements[] = {{1}, {2}};
    ClientStorage client({WellKnownType::int8, {2}, row, {"1", "2"}, false});
    client.type = WellKnownType::customType;
    client.first = elements;
    ScalarVariantDataRefCounted<Holder> scalar(Holder{});
    const OwnedData<> rebuilt(scalar.reshapeToZVariant(show(client).get(), {2}, row));
    EXPECT_EQ(static_cast<const Holder*>(rebuilt->constStoredData())[1], elements[1]);
}

TEST(ClientStorageDeathTest, EndsTheProcessBeforeItWritesTooMuch) {
    ClientStorage client(sixNumbers);
    const OwnedData<> data = show(client);
    EXPECT_EXIT(data->reshapeToZVariant(data.get(), {5}, row), testing::KilledBySignal(SIGABRT), "more elements than");
}

// Real data as real ones, and data that are no numbers, which nobody should ask for: with twice their number. Valgrind
// and the sanitizers tell whether anything was read that is not there.
TEST(Views, ReadNothingThatIsNotThere) {
    for (const WellKnownType type : {WellKnownType::int32, WellKnownType::string}) {
        const OwnedData<> twice(constructTransmuteComplexToRealVariant(constructDefaultArray(type, {2, 2}, row)));
        EXPECT_EQ(twice->numberAllocatedElements(), 8u);
        EXPECT_TRUE(isIdenticalTo(*twice, *twice));
        twice->copy();
        const OwnedData<> copy(twice->makeUnique());
        const OwnedData<> reordered(twice->reorderData(column));
        EXPECT_TRUE(isEquivalentTo(*copy, *reordered, ConversionMode::Cast));
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
