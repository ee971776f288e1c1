// What several threads may do at once; for ThreadSanitizer above all. Each test runs in a process of its own.
#include "values.h"

#include <pyx/pyx.h>
#include <pyx/variant/factories.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

constexpr std::size_t threadCount = 8;
constexpr auto column = DataOrdering::ColumnMajor;

// Lets its threads go on together. Those that wait look at what only the last one writes, and so do not see, nor order
// themselves behind, what the others do already.
class StartLine {
public:
    void wait() {
        const int round = round_.load();
        if (arrived_.fetch_add(1) + 1 == threadCount) {
            arrived_.store(0);
            round_.fetch_add(1);
        }
        while (round_.load() == round) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<std::size_t> arrived_{0};
    std::atomic<int> round_{0};
};

// Runs the body, which takes the number of its thread, on all threads at once.
template <class Body>
void onAllThreads(Body body) {
    StartLine start;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            start.wait();
            body(i);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

struct Reading {
    std::string name;
    friend bool operator==(const Reading& left, const Reading& right) { return left.name == right.name; }
};

// The first test of the process: whatever the library makes when it is first used is made by all threads at once. Those
// are both null objects, the registry, and what is known of a client's class.
TEST(Threads, UseEverythingForTheFirstTime) {
    const std::vector<std::function<void()>> firstUses{
        [] { EXPECT_EQ(Internal::constructVariantNull()->numberAllocatedElements(), 0u); },
        [] { EXPECT_TRUE(ZVariantAbi().isNull()); },
        [] {
            EXPECT_THROW(decodeCustomType({"Unknown", {}}), std::runtime_error);
        },
        [] { EXPECT_EQ(ZVariant::fromCustom(Reading{"a"}), ZVariant::fromData({Reading{"a"}})); },
        [] { EXPECT_EQ(ZVariant(1.5).convertTo(WellKnownType::string, ConversionMode::CastOrText), ZVariant("1.5")); }};
    StartLine next;
    onAllThreads([&](std::size_t) {
        for (const auto& firstUse : firstUses) {
            next.wait();
            firstUse();
        }
    });
}

template <class Value>
struct ThreadsSharing : testing::Test {};
TYPED_TEST_SUITE(ThreadsSharing, BothValues, );

TYPED_TEST(ThreadsSharing, CopyReadAndWriteArrays) {
    using Value = TypeParam;
    const std::vector<std::string> texts(6, "a text that needs a buffer of its own");
    ExternalBuffer<double, Value> buffer({1, 2, 3, 4, 5, 6}, {3, 2});
    const std::vector<Value> numbers{Value::fromData({1., 2., 3., 4., 5., 6.}, {3, 2}),
                                     Value::fromVector(std::vector<double>{1, 2, 3, 4, 5, 6}, {3, 2}),
                                     Value::fromData({1., 2., 3., 4., 5., 6.}, {3, 2}).asComplex().asReal(),
                                     buffer.value()};
    const Value words = Value::fromVector(std::vector<std::string>(texts), {2, 3});
    onAllThreads([&](std::size_t) {
        for (int round = 0; round < 200; ++round) {
            for (const Value& shared : numbers) {
                Value mine = shared;
                mine.template mutableElementAt<double>(1) = 7;
                EXPECT_EQ(mine.template elementAt<double>(1), 7);
                EXPECT_EQ(shared.template elementAt<double>(1), 2);
                EXPECT_EQ(shared.slice({0, last}).template elementAt<double>(0), 2);
                EXPECT_EQ(shared.convertTo(WellKnownType::int32).template elementAt<int>(3), 4);
                EXPECT_TRUE(shared == numbers.front());
            }
            Value written = words;
            written.assignSlice({all, 1}, Value("x"));
            EXPECT_EQ(words.template elementAt<std::string>(1), texts[1]);
            EXPECT_TRUE(words.isEquivalentTo(words.reordered(column)));
        }
    });
}

// Again and again gives each thread a handle on the same object, of which no other handles are left.
template <class Make, class Use>
void passAround(Make make, Use use) {
    StartLine round;
    std::vector<decltype(make())> handles(threadCount);
    onAllThreads([&](std::size_t thread) {
        for (int i = 0; i < 200; ++i) {
            round.wait();
            if (thread == 0) {
                std::fill(handles.begin(), handles.end(), make());
            }
            round.wait();
            use(std::exchange(handles[thread], {}), thread);
        }
    });
}

// Whoever finds himself alone writes in place what the others have read.
TYPED_TEST(ThreadsSharing, DropTheLastReferenceAnywhere) {
    using Value = TypeParam;
    const std::vector<std::string> texts{"a text that needs a buffer of its own", "short"};
    const auto make = [&] { return Value::fromVector(std::vector<std::string>(texts)); };
    passAround(make, [&](Value mine, std::size_t thread) {
        EXPECT_EQ(mine.template elementAt<std::string>(0), texts[0]);
        const Value other = thread % 2 == 0 ? mine.slice({0}) : mine;
        mine.template mutableElementAt<std::string>(0) += " written";
        EXPECT_EQ(mine.template elementAt<std::string>(0), texts[0] + " written");
        EXPECT_EQ(other.template elementAt<std::string>(0), texts[0]);
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
                   EXPECT_EQ(part.map().at("c").value().elementAt<double>(1), 2.5);
                   EXPECT_EQ(testing::PrintToString(part), "{{'c', [1.5, 2.5]}}");
               });
}

TEST(Threads, InternTheSameAndDifferentTexts) {
    std::vector<std::vector<InternedString>> same(threadCount);
    std::vector<std::vector<InternedString>> own(threadCount);
    onAllThreads([&](std::size_t thread) {
        for (int i = 0; i < 500; ++i) {
            same[thread].emplace_back("shared " + std::to_string(i));
            own[thread].emplace_back(std::to_string(thread) + " a text of one thread " + std::to_string(i));
        }
    });
    for (std::size_t thread = 0; thread < threadCount; ++thread) {
        EXPECT_EQ(same[thread], same.front());
        EXPECT_EQ(own[thread][499].view(), std::to_string(thread) + " a text of one thread 499");
    }
}

template <int>
struct OfThread : Reading {};

template <class T>
PropertyMap toMap(const T& reading) {
    if (reading.name.empty()) {
        throw std::invalid_argument("a reading without a name");
    }
    return {{"name", reading.name}};
}

template <class T>
T fromMap(const PropertyMap& map) {
    return T{{map.at("name").value().template elementAt<std::string>(0)}};
}

template <class T>
auto registerReading(const std::string& name) {
    return std::make_unique<CustomTypeRegistration<T>>(name, toMap<T>, fromMap<T>);
}

// Registers a class of its own and fails in functions of a client, beside a class that all have in common.
template <class Own>
void useRegistry(const std::string& name) {
    const ZVariant common = ZVariant::fromCustom(Reading{"common"});
    const ZVariant own[] = {ZVariant::fromCustom(Own{{"own"}}), ZVariant::fromData({Own{{"first"}}, Own{{"second"}}})};
    for (int round = 0; round < 100; ++round) {
        const auto registration = registerReading<Own>(name);
        EXPECT_THROW(encodeCustomType(ZVariant::fromCustom(Own())), std::invalid_argument);
        EXPECT_THROW(decodeCustomType({name, PropertyMap()}), std::out_of_range);
        EXPECT_THROW(registerReading<Reading>("Another"), std::runtime_error);
        EXPECT_EQ(decodeCustomType(encodeCustomType(common)), common);
        for (const ZVariant& value : own) {
            EXPECT_EQ(decodeCustomType(encodeCustomType(value)), value);
        }
        EXPECT_EQ(encodeCustomType(ZVariant::fromCustom(PropertyPath{"a", 3})).typeName, "PropertyPath");
    }
}

TEST(Threads, UseTheRegistryWithFunctionsThatThrow) {
    const auto registration = registerReading<Reading>("Reading");
    void (*const uses[])(const std::string&) = {
        useRegistry<OfThread<0>>, useRegistry<OfThread<1>>, useRegistry<OfThread<2>>, useRegistry<OfThread<3>>,
        useRegistry<OfThread<4>>, useRegistry<OfThread<5>>, useRegistry<OfThread<6>>, useRegistry<OfThread<7>>};
    onAllThreads([&](std::size_t thread) { uses[thread]("Reading of " + std::to_string(thread)); });
}

}  // namespace
}  // namespace Quorvane::Pyx
