// What several threads do at once beyond operations on values, each test in a process of its own.
#include "values.h"

#include <pyx/pyx.h>
#include <pyx/variant/factories.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>
#include <typeinfo>
#include <utility>

namespace Quorvane::Pyx {
namespace {

constexpr std::size_t threadCount = 8;
const std::string longText = "a text that needs a buffer of its own";

// Runs the body, which takes the number of its thread, on all threads at once.
template <class Body>
void onAllThreads(Body body) {
    std::atomic<std::size_t> arrived{0};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            // Behind this nothing orders the threads.
            for (++arrived; arrived != threadCount;) {
                std::this_thread::yield();
            }
            body(i);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Again and again gives each thread a handle on the same object, of which no other handles are left.
template <class Make, class Use>
void passAround(Make make, Use use) {
    for (int i = 0; i < 200; ++i) {
        std::vector<decltype(make())> handles(threadCount, make());
        onAllThreads([&](std::size_t thread) { use(std::exchange(handles[thread], {}), thread); });
    }
}

struct Reading {
    std::string name;
    friend bool operator==(const Reading& left, const Reading& right) { return left.name == right.name; }
};

// The first test of the process: whatever the library makes when it is first used is made by all threads at once. Those
// are both null objects, the registry, and what is known of a client's class.
TEST(Threads, UseEverythingForTheFirstTime) {
    void (*const uses[])() = {
        [] { EXPECT_EQ(Internal::constructVariantNull()->numberAllocatedElements(), 0u); },
        [] { EXPECT_TRUE(ZVariantAbi().isNull()); },
        [] { EXPECT_RAISES(std::runtime_error, testing::_, decodeCustomType(EncodedCustomTypeValues())); },
        [] { EXPECT_EQ(ZVariant::fromCustom(Reading{"a"}), ZVariant::fromData({Reading{"a"}})); },
        [] { EXPECT_EQ(ZVariant(1.5).as<std::string>(ConversionMode::CastOrText), "1.5"); }};
    for (const auto& use : uses) {
        onAllThreads([&](std::size_t) { use(); });
    }
}

template <class Value>
struct ThreadsSharing : testing::Test {};
TYPED_TEST_SUITE(ThreadsSharing, BothValues, );

// Whoever is alone writes in place what the others have read.
TYPED_TEST(ThreadsSharing, DropTheLastReferenceAnywhere) {
    using Value = TypeParam;
    const auto make = [] { return Value::fromVector(std::vector<std::string>{longText, "short"}); };
    passAround(make, [](Value mine, std::size_t thread) {
        EXPECT_EQ(mine.template elementAt<std::string>(0), longText);
        const Value other = thread % 2 == 0 ? mine.slice({0}) : mine;
        mine.template mutableElementAt<std::string>(0) += " written";
        EXPECT_EQ(mine.template elementAt<std::string>(0), longText + " written");
        EXPECT_EQ(other.template elementAt<std::string>(0), longText);
    });
}

TEST(Threads, ReadFrozenTreesWhileHandlesComeAndGo) {
    const PropertyNode tree =
        PropertyMap{{"a", PropertyList{nullptr, "x", PropertyMap{{"c", ZVariant::fromData({1.5, 2.5})}}}}};
    passAround([&] { return FPropertyNode(tree); },
               [](FPropertyNode root, std::size_t) {
                   const FPropertyNode part = root.at({"a", 2});
                   root = FPropertyNode();
                   ZVariant value = part.at({"c"}).value();
                   value.mutableElementAt<double>(1) = 7;
                   EXPECT_EQ(testing::PrintToString(part), "{{'c', [1.5, 2.5]}}");
               });
}

TEST(Threads, InternTheSameAndDifferentTexts) {
    std::vector<std::vector<InternedString>> same(threadCount);
    onAllThreads([&](std::size_t thread) {
        for (int i = 0; i < 500; ++i) {
            same[thread].emplace_back("shared " + std::to_string(i));
            const std::string own = std::to_string(thread) + " a text of one thread " + std::to_string(i);
            EXPECT_EQ(InternedString(own), own);
        }
    });
    for (const auto& each : same) {
        EXPECT_EQ(each, same.front());
    }
}

PropertyMap toMap(const Reading& reading) {
    return {{"name", reading.name.substr(1)}};
}

Reading fromMap(const PropertyMap& map) {
    return {'-' + map.at("name").value().as<std::string>()};
}

// All encode one class, and each decodes it by a codec of its own that comes and goes.
TEST(Threads, UseTheRegistryWithFunctionsThatThrow) {
    const CustomTypeRegistration<Reading> registration("Reading", toMap, fromMap);
    const std::type_info* const types[threadCount] = {&typeid(char),  &typeid(short), &typeid(int),    &typeid(long),
                                                      &typeid(float), &typeid(bool),  &typeid(double), &typeid(void)};
    const auto readings = ZVariant::fromData({Reading{"-first"}, Reading{"-second"}});
    onAllThreads([&](std::size_t thread) {
        auto own = buildCustomTypeCodec<Reading>("Reading of " + std::to_string(thread), toMap, fromMap);
        own.typeInfo = types[thread];
        for (int round = 0; round < 100; ++round) {
            Internal::registerCustomTypeCodec(Internal::CustomTypeCodec(own));
            EXPECT_THROW(Internal::registerCustomTypeCodec(Internal::CustomTypeCodec(own)), std::runtime_error);
            EXPECT_THROW(encodeCustomType(ZVariant::fromCustom(Reading())), std::out_of_range);
            EXPECT_THROW(decodeCustomType({own.typeName, PropertyMap()}), std::out_of_range);
            EXPECT_EQ(decodeCustomType({own.typeName, encodeCustomType(readings).values}), readings);
            EXPECT_TRUE(Internal::unregisterCustomTypeCodec(*own.typeInfo));
        }
    });
}

}  // namespace
}  // namespace Quorvane::Pyx
