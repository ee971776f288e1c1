// Exhausted memory where random operations do not come: own classes, trees, codecs, interned texts, buffers and views.
// What allocates gives everything back when memory runs out at any point, changes nothing, and works when it is tried
// again.
#include "failing_memory.h"
#include "value_model.h"
#include "values.h"

#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>

#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

// In a program with a sanitizer that looks for leaks.
extern "C" [[gnu::weak]] void __lsan_disable();
extern "C" [[gnu::weak]] void __lsan_enable();

namespace Quorvane::Pyx {
namespace {

using FailingMemory::counts;
using FailingMemory::Failure;
using std::string;

constexpr auto column = DataOrdering::ColumnMajor;
constexpr const char* longText = "a text that needs a buffer of its own";
constexpr const char* codecName = "a name that needs a buffer of its own";

// Interned before anything is counted.
const InternedString nameKey("name");

// A client's class whose copies need memory.
struct Named {
    string name;
    friend bool operator==(const Named& left, const Named& right) { return left.name == right.name; }
    friend std::ostream& operator<<(std::ostream& out, const Named& named) { return out << named.name; }
};

auto registerNamed() {
    const auto encode = [](const Named& named) { return PropertyMap{{nameKey, named.name}}; };
    const auto decode = [](const PropertyMap& map) { return Named{map.at(nameKey).value().elementAt<string>(0)}; };
    return std::make_unique<CustomTypeRegistration<Named>>(codecName, encode, decode);
}

// What the calls work on, and where they put what they make.
struct Subject {
    std::vector<string> texts{longText, "short"};
    std::vector<Named> names{{longText}, {"another text that needs a buffer"}, {"short"}, {longText}};
    ZVariant people = ZVariant::fromData(names.data(), 4, {2, 2});
    ZVariant adopted = ZVariant::fromVector(std::vector<Named>(names), {2, 2}, column);
    ZVariant made;
    ExternalBuffer<string> buffer{texts};
    ZVariant shown = buffer.value();
    PropertyNode tree = PropertyMap{
        {"a", 1}, {"b", PropertyList{nullptr, longText, PropertyMap{{"c", ZVariant::fromData({1.5, 2.5})}}}}};
    PropertyNode copied;
    FPropertyNode frozen{tree};
    PropertyPath path{"b", 2, "c"};
    ZVariant pathValue = ZVariant::fromCustom(path / "d");
    EncodedCustomTypeValues encoded{codecName, PropertyList{PropertyMap{{nameKey, longText}}}};
    EncodedCustomTypeValues encodedPath = encodeCustomType(pathValue);

    string description() const {
        const bool isShown = shown.data<string>() == buffer.data();
        return testing::PrintToString(std::tuple(texts, elementsOf<Named>(people), elementsOf<Named>(adopted),
                                                 elementsOf<Named>(made), shown, isShown, tree, copied, frozen, path,
                                                 encoded.values));
    }
};

// Runs the call plainly, and then with the first, second, third ... allocation failing, until it is not reached.
template <class Call>
void sweep(const char* what, Call call, bool keepsMemory = false) {
    Subject expected;
    call(expected);
    for (const Failure failure : {Failure::once, Failure::fromThenOn}) {
        for (long passing = 0; passing == 0 || counts.hasFailed; ++passing) {
            const long atFirst = counts.alive;
            {
                Subject subject;
                const string before = subject.description();
                const long prepared = counts.alive;
                FailingMemory::failAfter(passing, failure);
                const char* const outcome = failureOf([&] { call(subject); });
                FailingMemory::stopFailing();
                if (outcome != nullptr) {
                    ASSERT_STREQ(outcome, "bad_alloc") << what << passing;
                    ASSERT_EQ(counts.alive, prepared) << what << passing;
                    ASSERT_EQ(subject.description(), before) << what << passing;
                    call(subject);
                }
                ASSERT_EQ(subject.description(), expected.description()) << what << passing;
            }
            ASSERT_TRUE(counts.alive == atFirst || keepsMemory) << what << passing;
            ASSERT_TRUE(counts.hasFailed || passing != 0) << what << " needs no memory";
        }
    }
}

using S = Subject;

TEST(ExhaustedMemory, CustomClasses) {
    sweep("scalar", [](S& s) { s.made = ZVariant::fromCustom(s.names[0]); });
    sweep("adopted", [](S& s) { s.made = ZVariant::fromVector(std::vector<Named>(s.names)); });
    sweep("allocated", [](S& s) { s.made = ZVariant::allocate<Named>({3}); });
    sweep("reordered", [](S& s) { s.made = s.people.reordered(column); });
    sweep("reshaped", [](S& s) { s.made = s.people.reshaped({5}); });
    for (ZVariant S::*array : {&S::people, &S::adopted}) {
        sweep("written", [=](S& s) {
            ZVariant shared = s.*array;
            shared.mutableElementAt<Named>(1) = s.names[0];
            s.made = shared;
        });
        sweep("put in place", [=](S& s) { (s.*array).assignSlice({all, 0}, (s.*array).slice({all, 1})); });
    }
}

TEST(ExhaustedMemory, TreesAndPaths) {
    sweep("map", [](S& s) { s.copied = PropertyMap{{"a", longText}, {"b", PropertyList{1, s.tree}}}; });
    sweep("assignment", [](S& s) { s.tree.at({"a"}) = s.tree; });
    sweep("append", [](S& s) { s.tree.at({"b"}).list().append(s.tree); });
    sweep("insert", [](S& s) { s.tree.at({"b"}).list().insert(1, longText); });
    sweep("insert a key", [](S& s) { s.tree.map().insertOrAssign("c", longText); });
    sweep("frozen", [](S& s) { s.frozen = FPropertyNode(s.tree); });
    sweep("frozen map", [](S& s) { s.frozen = FPropertyNode(FPropertyMap(s.tree.map())); });
    sweep("text", [](S& s) {
        std::ostringstream out;
        // A stream becomes bad when memory runs out.
        s.texts[1] = ConsoleFormatter::serialize(s.tree, out).good() ? out.str() : throw std::bad_alloc();
    });
    sweep("child", [](S& s) { s.path = s.path / "b"; });
    sweep("parent", [](S& s) { s.path = s.path.parent(); });
    sweep("appended segment", [](S& s) { s.path.append(3); });
}

TEST(ExhaustedMemory, Codecs) {
    // Nothing is tried again here, after which the registry's list would have room.
    decltype(registerNamed()) registration;
    for (long passing = 0; registration == nullptr; ++passing) {
        const long before = counts.alive;
        FailingMemory::failAfter(passing, Failure::once);
        (void)failureOf([&] { registration = registerNamed(); });
        FailingMemory::stopFailing();
        ASSERT_TRUE(registration != nullptr || counts.alive == before) << passing;
    }
    sweep("encoded array", [](S& s) { s.encoded = encodeCustomType(s.people); });
    sweep("encoded scalar", [](S& s) { s.encoded = encodeCustomType(s.people.element({0, 0})); });
    sweep("encoded path", [](S& s) { s.encoded = encodeCustomType(s.pathValue); });
    sweep("decoded", [](S& s) { s.made = decodeCustomType(s.encoded); });
    sweep("decoded path", [](S& s) { s.path = decodeCustomType(s.encodedPath).elementAt<PropertyPath>(0); });
    registration.reset();
    sweep("registration", [](S&) { (void)registerNamed(); });
}

TEST(ExhaustedMemory, InternedTexts) {
    // An interned text alone is stored for ever, and often enough here for the set to make room for more.
    for (int count = 0; count < 200;) {
        sweep(
            "interned text",
            [&](S&) { (void)InternedString("a text that nobody has interned: " + std::to_string(++count)); }, true);
    }
}

TEST(ExhaustedMemory, Buffers) {
    sweep("detach", [](S& s) { s.buffer.detach(); });
    sweep("buffer", [](S& s) {
        ExternalBuffer<string> buffer(s.texts, {2});
        const ZVariant kept = buffer.value();
        buffer.detach();
        s.shown = kept;
    });
}

// The only failure that leaves the reference with the caller is that of the view's own allocation, and can be told.
TEST(ExhaustedMemory, ShowsWhoHoldsTheReferenceOfAView) {
    for (const auto construct : {ZVariantData_C_API_constructTransmuteRealToComplexVariant,
                                 ZVariantData_C_API_constructTransmuteComplexToRealVariant}) {
        for (const long passing : {0, 1}) {
            AbiErrorRecord record;
            const ZVariantAbi value = ZVariantAbi::fromData({1., 2.});
            PyxVariantData* const data = ZVariantAbi(value).release();
            FailingMemory::failAfter(passing, Failure::once);
            EXPECT_EQ(construct(&record, data), nullptr);
            FailingMemory::stopFailing();
            EXPECT_STREQ(record.message, passing == 0 ? "std::bad_alloc" : "std::bad_array_new_length");
            if (passing == 0) {
                data->destruct();
            }
            EXPECT_TRUE(isUnique(data));
        }
    }
}

// What this keeps is lost for ever.
TEST(RefusedConversion, KeepsItsArrayOnlyForExternalStorage) {
    ExternalBuffer<double> buffer(std::vector<double>{1.5});
    const ZVariant value = buffer.value();
    for (const bool isDetached : {false, true}) {
        const long before = counts.alive;
        (isDetached || __lsan_disable == nullptr) ? void() : __lsan_disable();
        EXPECT_TRUE(value.convertTo(WellKnownType::int32, ConversionMode::Exact).isNull());
        (isDetached || __lsan_enable == nullptr) ? void() : __lsan_enable();
        EXPECT_EQ(counts.alive > before, !isDetached);
        buffer.detach();
    }
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
