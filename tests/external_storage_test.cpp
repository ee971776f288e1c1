// Memory of a client as a value: while it is there, after it has gone, and whichever end goes first.
#include "values.h"

#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Quorvane::Pyx::Internal {
namespace {

using Shape = std::vector<std::uint64_t>;

constexpr auto row = DataOrdering::RowMajor;
constexpr auto column = DataOrdering::ColumnMajor;

// Six column-major elements, and what they are told to be.
template <class T>
struct Client final : ExternalVariantStorageInterface {
    std::uint64_t numberAllocatedElements() const override { return asked += 'n', count; }
    ArrayDimensionsView dimensions() const override {
        asked += 's';
        if (fails) {
            throw std::domain_error("no shape today");
        }
        return shape;
    }
    DataOrdering dataOrdering() const override {
        asked += 'o';
        if (exhaust != nullptr) {
            exhaust();
        }
        return column;
    }
    WellKnownType wellKnownDataType() const override { return asked += 't', type; }
    void reshapeNoRealloc(ArrayDimensionsView wanted) override { shape = wanted.toVector(); }
    const void* constStoredData() const override { return asked += 'd', elements.get(); }
    void* mutableStoredData() override { return elements.get(); }
    void adaptorDestroyed() override { ++destroyed; }

    std::unique_ptr<T[]> elements = sequence<T>(6);
    std::uint64_t count = 6;
    Shape shape{2, 3};
    WellKnownType type = ElementTraits<T>::code;
    bool fails = false;
    void (*exhaust)() = nullptr;
    int destroyed = 0;
    // What was asked: number, shape, ordering, type and data.
    mutable std::string asked;
};

// An int for those who know it.
struct Number {
    int value;
    bool operator==(const Number& other) const { return value == other.value; }
};

struct OwnExhaustion : std::bad_alloc {
    const char* what() const noexcept override { return "no room"; }
};

OwnedData<> show(ExternalVariantStorageInterface& client) {
    return OwnedData<>(constructVariantExternal(&client));
}

template <class T>
const T& element(const OwnedData<>& data, std::uint64_t position) {
    return static_cast<const T*>(data->constStoredData())[position];
}

TEST(ExternalStorage, IsSeenUntilItIsDetached) {
    using T = std::string;
    Client<T> client;
    OwnedData<> data = show(client);
    const auto expectTheClientsArray = [](const OwnedData<>& array) {
        EXPECT_EQ(array->dimensions(), ArrayDimensionsView({2, 3}));
        EXPECT_EQ(array->dataOrdering(), column);
        EXPECT_EQ(element<T>(array, 0), nthElement<T>(0));
        EXPECT_EQ(element<T>(array, 5), nthElement<T>(5));
    };
    expectTheClientsArray(data);
    EXPECT_FALSE(data->isScalarStorage() || data->storedTypeInfo() != nullptr || data->customTypeOperations());
    EXPECT_EQ(data->constStoredData(), client.elements.get());
    // A holder that is alone writes to the client; with several, one gets a plain array and the others stay.
    EXPECT_EQ(data->makeUnique()->mutableStoredData(), client.elements.get());
    data->copy();
    const OwnedData<> written(data->makeUnique());
    EXPECT_NE(dynamic_cast<VectorVariantData<T>*>(written.get()), nullptr);
    expectTheClientsArray(written);
    const OwnedData<> rebuilt(data->reshapeToZVariant(data.get(), {4, 2}, row));
    EXPECT_EQ(element<T>(rebuilt, 5), nthElement<T>(5));
    EXPECT_EQ(element<T>(rebuilt, 7), T{});
    EXPECT_RAISES(std::runtime_error, "Not implemented!", data->reorderData(column));

    // The second call replaces the copy by a copy of itself.
    for (int call = 0; call < 2; ++call) {
        client.detachCallback();
        client.elements[0] = nthElement<T>(7);
        EXPECT_NE(data->constStoredData(), client.elements.get());
        expectTheClientsArray(data);
    }
    EXPECT_EQ(data->reorderData(column), data.get());
    EXPECT_FALSE(isUnique(data.get()));
    // The rules of an array hold, except that only this object counts, which shares nothing with its holders.
    data->reshapeNoRealloc({6});
    EXPECT_THROW(data->reshapeNoRealloc({2, 3}), std::length_error);
    data->destruct();
    data.reset();
    EXPECT_EQ(client.destroyed, 0);
}

TEST(ExternalStorage, IsAskedAfreshEveryTime) {
    Client<int> client;
    OwnedData<> data = show(client);
    EXPECT_NE(data->dimensions().begin(), client.shape.data());
    client.elements = sequence<int>(8);
    client.elements[7] = 70;
    client.count = 8;
    data->reshapeNoRealloc({4, 2});
    EXPECT_EQ(data->dimensions(), ArrayDimensionsView({4, 2}));
    EXPECT_EQ(element<int>(data, 7), 70);
    EXPECT_EQ(data->mutableStoredData(), client.elements.get());
    const OwnedData<> converted(data->convertDataTo(WellKnownType::double_, ConversionMode::Exact));
    EXPECT_EQ(element<double>(converted, 7), 70);
    const OwnedData<> pairs(constructTransmuteRealToComplexVariant(show(client).release()));
    EXPECT_EQ(pairs->dimensions(), ArrayDimensionsView({2, 2}));
    // In a fixed order, which clients see.
    client.asked.clear();
    const OwnedData<> copy(data->convertDataTo(WellKnownType::int32, ConversionMode::Cast));
    EXPECT_EQ(std::exchange(client.asked, ""), "osdtn");
    data->copy();
    const OwnedData<> unique(data->makeUnique());
    EXPECT_EQ(std::exchange(client.asked, ""), "osndt");
    // That adaptor is the one that is served now. The other one tells when it goes.
    client.detachCallback();
    EXPECT_EQ(client.asked, "tosdtn");
    client.elements[7] = 71;
    EXPECT_EQ(element<int>(pairs, 7), 70);
    EXPECT_EQ(element<int>(data, 7), 71);
    data.reset();
    EXPECT_EQ(client.destroyed, 1);
}

TEST(ExternalStorage, FailsAsItsTypeAndShapeAsk) {
    Client<int> client;
    const OwnedData<> data = show(client);
    const std::uint16_t codes[] = {0x0020, 0x4008};
    for (const std::uint16_t code : codes) {
        const char* const text = code == 0x0020 ? "unknown type" : "not a numeric type";
        client.type = WellKnownType::fromCode(code);
        // The client's type is looked at before the target, which is bad as well.
        const auto target = WellKnownType::fromCode(code == 0x0020 ? 0x4008 : 0x0020);
        data->copy();
        EXPECT_RAISES(std::runtime_error, text, data->convertDataTo(target, ConversionMode::Cast));
        EXPECT_RAISES(std::runtime_error, text, data->reshapeToZVariant(nullptr, {1}, row));
        EXPECT_RAISES(std::runtime_error, text, data->makeUnique());
        EXPECT_RAISES(std::runtime_error, text, client.detachCallback());
        data->destruct();
    }
    // The class is not told, so the elements pass by their code.
    client.type = WellKnownType::customType;
    ScalarVariantDataRefCounted<Number> number(Number{});
    EXPECT_EQ(element<Number>(OwnedData<>(number.reshapeToZVariant(data.get(), {6}, row)), 5), Number{6});
    client.type = WellKnownType::int32;
    client.count = 5;
    data->copy();
    EXPECT_RAISES(std::length_error, "dimensions do not match data length", data->makeUnique());
    // Conversion reads what there is.
    const OwnedData<> converted(data->convertDataTo(WellKnownType::int16, ConversionMode::Cast));
    EXPECT_EQ(element<short>(converted, 4), 5);
    EXPECT_EQ(element<short>(converted, 5), 0);
    client.shape.clear();
    const OwnedData<> line(data->makeUnique());
    EXPECT_EQ(line->dimensions(), ArrayDimensionsView({5}));

    // What the client raises passes, also to the client itself, and changes nothing.
    client.fails = true;
    EXPECT_RAISES(std::domain_error, "no shape today", data->dimensions());
    EXPECT_RAISES(std::domain_error, "no shape today", client.detachCallback());
    EXPECT_EQ(data->constStoredData(), client.elements.get());
    EXPECT_RAISES(std::runtime_error, "no shape today", ZVariantAbi::fromExternal(client).dimensions());
    EXPECT_EQ(client.destroyed, 1);

    // A view has taken the value over by the time the client fails. Only plain exhaustion gets another name, and only
    // where the view is made.
    client.fails = false;
    client.shape = {2, 2};
    const ZVariant view = ZVariant::fromExternal(client).asComplex();
    client.exhaust = [] { throw std::bad_alloc(); };
    EXPECT_RAISES(std::bad_alloc, std::bad_alloc().what(), view.convertTo(WellKnownType::complexFloat));
    EXPECT_THROW((void)ZVariant::fromExternal(client).asComplex(), std::bad_array_new_length);
    client.exhaust = [] { throw OwnExhaustion(); };
    EXPECT_RAISES(OwnExhaustion, "no room", ZVariant::fromExternal(client).asComplex());
    EXPECT_EQ(client.destroyed, 3);
}

TEST(ExternalStorageDeathTest, EndsTheProcessBeforeItWritesTooMuch) {
    Client<std::string> client;
    const OwnedData<> data = show(client);
    EXPECT_EXIT(data->reshapeToZVariant(data.get(), {5}, row), testing::KilledBySignal(SIGABRT), "more elements than");
}

template <class Value>
struct Buffers : testing::Test {};
TYPED_TEST_SUITE(Buffers, BothValues, );

TYPED_TEST(Buffers, MayEndBeforeOrAfterTheirValues) {
    double memory[] = {1, 2, 3, 4, 5, 6};
    TypeParam kept;
    {
        ExternalBuffer<double, TypeParam> owner(std::vector<double>(memory, memory + 6), {2, 3}, column);
        ExternalBuffer<double, TypeParam> window(memory, {3, 2});
        for (auto* const buffer : {&owner, &window}) {
            // Values come and go, and those that are left see what is written.
            { const TypeParam shortLived = buffer->value(); }
            kept = buffer->value();
            TypeParam written = kept;
            buffer->data()[1] = 20;
            EXPECT_EQ(kept.template data<double>(), buffer->data());
            EXPECT_EQ(kept.template elementAt<double>(1), 20);
            written.template mutableElementAt<double>(1) = 30;
            EXPECT_EQ(*(buffer->begin() + 1), 20);
            // What is detached stays, and the buffer begins anew.
            buffer->detach();
            buffer->data()[1] = 40;
            EXPECT_EQ(kept.template elementAt<double>(1), 20);
            EXPECT_EQ(buffer->value().template elementAt<double>(1), 40);
            kept = buffer->value();
        }
        EXPECT_THROW(kept.reshapeNoRealloc({6}), std::runtime_error);
        kept.reshapeNoRealloc({3, 2});
        EXPECT_EQ(owner.value().dataOrdering(), column);
    }
    std::fill(std::begin(memory), std::end(memory), -1);
    EXPECT_EQ(testing::PrintToString(kept), "[1, 40, 3, 4, 5, 6]");
    kept.reshapeNoRealloc({6});
    EXPECT_EQ(kept.dimensions(), ArrayDimensionsView({6}));
    EXPECT_EQ(kept.reordered(column).template elementAt<double>(5), 6);
}

TEST(Buffers, HaveAShape) {
    EXPECT_EQ(ExternalBuffer(std::vector<int>(4)).value().dimensions(), ArrayDimensionsView({4}));
    EXPECT_TRUE(ExternalBuffer(std::vector<int>()).value().dimensions().empty());
    EXPECT_RAISES(std::length_error, "dimensions do not match data length", ExternalBuffer(std::vector<int>(4), {5}));
    bool flags[] = {true, false};
    EXPECT_EQ(testing::PrintToString(ExternalBuffer(flags, {2, 1}).value()), "[true, false]");
}

}  // namespace
}  // namespace Quorvane::Pyx::Internal
