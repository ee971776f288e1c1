// Both property trees: building, reading, freezing, and their text.
#include <gmock/gmock.h>
#include <pyx/pyx.h>

#include <sstream>
#include <string>
#include <type_traits>

namespace Quorvane::Pyx {
namespace {

using testing::ThrowsMessage;

std::string listing(const PropertyNode& node) {
    std::ostringstream working;
    std::ostringstream frozen;
    ConsoleFormatter::serialize(node, working);
    ConsoleFormatter::serialize(FPropertyNode(node), frozen);
    EXPECT_EQ(working.str(), frozen.str());
    return working.str();
}

template <class Tree>
std::string line(const Tree& tree) {
    std::ostringstream out;
    out << tree;
    EXPECT_EQ(out.str(), testing::PrintToString(tree));
    return out.str();
}

PropertyNode sample() {
    return PropertyMap{{"a", 1},
                       {"b", PropertyList{nullptr, "x", PropertyMap{{"c", ZVariant::fromData({1.5, 2.5})}}}},
                       {"n", nullptr},
                       {"a", 3}};
}

// What both forms answer to a reader.
template <class Node>
void expectSample(const Node& root) {
    EXPECT_TRUE(root.isMap() && !root.isList() && !root.isValue() && !root.isNull());
    const auto& map = root.map();
    EXPECT_EQ(map.size(), 3u);
    std::string keys;
    for (const auto& [key, node] : map) {
        keys += key.toString();
    }
    EXPECT_EQ(keys, "abn");
    EXPECT_EQ(map.at("a").value().template as<int>(), 1);
    EXPECT_TRUE(map.contains("n") && map.at("n").isNull());
    EXPECT_TRUE(!map.contains("z") && map.find("z") == nullptr);
    const auto& list = map.at("b").list();
    EXPECT_TRUE(list.size() == 3 && !list.empty() && list[0].isNull());
    EXPECT_EQ(list.at(1).value().template elementAt<std::string>(0), "x");

    EXPECT_EQ(root.at({"b", 2, "c"}).value().elementCount(), 2u);
    EXPECT_EQ(root.find({"b", 2, "c"}), &list[2].map().at("c"));
    EXPECT_EQ(root.find({}), &root);
    for (const PropertyPath& missing : {PropertyPath{"z"}, {0}, {"b", 3}, {"b", "c"}, {"b", 0, "c"}, {"a", 0}}) {
        EXPECT_EQ(root.find(missing), nullptr);
    }
    const std::pair<PropertyPath, const char*> failures[] = {{{"z", 1}, "Key not found: z"},
                                                             {{"b", 3}, "Index not found: 3"},
                                                             {{"b", "c"}, "PropertyNode is not a map"},
                                                             {{0}, "PropertyNode is not a list"}};
    for (const auto& [missing, text] : failures) {
        EXPECT_THAT(([&root, missing = missing] { (void)root.at(missing); }), ThrowsMessage<std::out_of_range>(text));
    }
    EXPECT_THAT([&] { (void)root.value(); }, ThrowsMessage<std::out_of_range>("PropertyNode is not a value"));
    EXPECT_THAT([&] { (void)Node().list(); }, ThrowsMessage<std::out_of_range>("PropertyNode is not a list"));
    EXPECT_EQ(line(root), "{{'a', 1}, {'b', {<NULL>, 'x', {{'c', [1.5, 2.5]}}}}, {'n', <NULL>}}");
}

TEST(PropertyTrees, ReadAlike) {
    expectSample(sample());
    expectSample(FPropertyNode(sample()));
}

TEST(PropertyTree, ChangesInPlace) {
    PropertyNode root = sample();
    const PropertyNode before = root;
    PropertyMap& map = root.map();
    EXPECT_TRUE(map.insertOrAssign("new", 5).second);
    EXPECT_FALSE(map.insertOrAssign("a", PropertyList{}).second);
    EXPECT_TRUE(map.erase("n") && !map.erase("n"));
    PropertyList& list = map.at("b").list();
    list.append("last");
    list.insert(0, 1.5);
    list.erase(1);
    EXPECT_EQ(line(root), "{{'a', {}}, {'b', {1.5, 'x', {{'c', [1.5, 2.5]}}, 'last'}}, {'new', 5}}");
    EXPECT_EQ(line(PropertyList(before.at({"b"}).list().begin(), before.at({"b"}).list().begin() + 2)),
              "{<NULL>, 'x'}");
    EXPECT_EQ(PropertyNode(PropertyList{1}).list().size(), 1u);
    EXPECT_THROW(list.insert(9, 1), std::out_of_range);
    EXPECT_THROW(list.erase(4), std::out_of_range);
    EXPECT_THAT([&] { (void)map.at("n"); }, ThrowsMessage<std::out_of_range>("Key not found: n"));
    expectSample(before);

    // Values share their data until one side writes.
    ZVariant& value = root.at({"b", 2, "c"}).value();
    EXPECT_EQ(value.data<double>(), before.at({"b", 2, "c"}).value().data<double>());
    value.mutableElementAt<double>(0) = 9;
    EXPECT_EQ(before.at({"b", 2, "c"}).value().elementAt<double>(0), 1.5);
    for (auto& [key, node] : map) {
        node = nullptr;
    }
    EXPECT_EQ(line(root), "{{'a', <NULL>}, {'b', <NULL>}, {'new', <NULL>}}");
}

TEST(PropertyTree, MayTakeThePlaceOfItsParent) {
    for (const bool moving : {false, true}) {
        const PropertyList inner{PropertyMap{{"deep", "a text that needs a buffer of its own"}}};
        PropertyNode root = PropertyList{PropertyNode(inner)};
        PropertyNode& child = root.list()[0];
        root = moving ? PropertyNode(std::move(child)) : child;
        root = static_cast<const PropertyNode&>(root).list()[0];
        root = root.map().at("deep");
        EXPECT_EQ(line(root), "'a text that needs a buffer of its own'");
        PropertyList list{PropertyList{1}, 2};
        list = list[0].list();
        EXPECT_EQ(line(list), "{1}");
        PropertyMap map{{"inner", PropertyMap{{"a", 1}}}};
        map = map.at("inner").map();
        EXPECT_EQ(line(map), "{{'a', 1}}");
    }
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<PropertyNode> && std::is_nothrow_move_assignable_v<PropertyNode>);
}

TEST(FrozenTree, SharesAndTreatsBothFormsOfNothingAlike) {
    const FPropertyNode frozen(sample());
    const FPropertyNode copy = frozen;
    EXPECT_TRUE(copy.sharesContentWith(frozen));
    PropertyNode source = sample();
    const FPropertyNode fromSource(source);
    EXPECT_EQ(fromSource.at({"b", 2, "c"}).value().data<double>(), source.at({"b", 2, "c"}).value().data<double>());

    EXPECT_TRUE(FPropertyNode(PropertyNode()).sharesContentWith(FPropertyNode()));
    for (const FPropertyList& empty : {FPropertyList(), FPropertyList(PropertyList())}) {
        EXPECT_TRUE(empty.empty() && empty.begin() == empty.end());
        EXPECT_EQ(line(empty), "{}");
        EXPECT_THROW((void)empty.at(0), std::out_of_range);
    }
    for (const FPropertyMap& empty : {FPropertyMap(), FPropertyMap(PropertyMap())}) {
        EXPECT_TRUE(empty.empty() && empty.find("x") == nullptr);
        EXPECT_EQ(line(empty), "{}");
    }
    EXPECT_EQ(line(FPropertyNode(FPropertyList(PropertyList{1, 2}))), "{1, 2}");
    EXPECT_EQ(FPropertyNode(FPropertyMap(PropertyMap{{"a", 1}})).at({"a"}).value().as<int>(), 1);
    // A subtree that is held elsewhere outlives its parent.
    FPropertyNode root(sample());
    const FPropertyNode part = root.at({"b", 2});
    root = FPropertyNode();
    EXPECT_EQ(line(part), "{{'c', [1.5, 2.5]}}");
}

TEST(FrozenTree, KeepsTheFirstOfEqualKeys) {
    // A working map can be made to hold a key twice.
    PropertyMap map{{"a", 1}, {"b", 2}};
    (map.begin() + 1)->key = "a";
    const FPropertyMap frozen(map);
    EXPECT_EQ(line(frozen), "{{'a', 1}}");
    EXPECT_EQ(line(map), "{{'a', 1}}");
}

TEST(PropertyTree, WideOnesAreFast) {
    PropertyList list;
    for (int i = 0; i < 1000000; ++i) {
        list.append(i);
    }
    EXPECT_EQ(FPropertyList(list).size(), 1000000u);
    PropertyMap map;
    for (int i = 0; i < 10000; ++i) {
        map.insertOrAssign(std::to_string(i), i);
    }
    EXPECT_EQ(FPropertyMap(map).at("9999").value().as<int>(), 9999);
}

TEST(TreeText, ListsOneLineForEachValue) {
    const ZVariant array = ZVariant::fromData({3, 4});
    EXPECT_EQ(listing(PropertyMap{{"a", 1}, {"b", PropertyMap{{"c", 2}, {"d", array}}}, {"n", nullptr}}),
              "|---> 'a': 1\n"
              "|---> 'b': \n"
              "|    `--> 'c': 2\n"
              "\n"
              "|    `--> 'd': [3, 4]\n"
              "|---> 'n': ");
    EXPECT_EQ(listing(PropertyMap{{"e", PropertyList{PropertyMap{{"f", 5}}, PropertyMap{{"g", 6}}}}}),
              "|---> 'e': |---> 'f': 5\n"
              "|---> 'g': 6\n");
    EXPECT_EQ(listing(PropertyMap{{"x", PropertyMap{{"y", PropertyMap{{"z", 1}}}}}}),
              "|---> 'x': \n"
              "|    `--> 'y': \n"
              "|        `--> 'z': 1\n");
    EXPECT_EQ(listing(PropertyList{1, 2}), "1\n2\n");
    EXPECT_EQ(listing(PropertyNode()), "");
    EXPECT_EQ(line(PropertyNode()), "<NULL>");
    EXPECT_EQ(line(PropertyList{1, nullptr, PropertyList{2, 3}}), "{1, <NULL>, {2, 3}}");
    EXPECT_EQ(line(PropertyMap{{"a", 1}, {"b", "x"}}), "{{'a', 1}, {'b', 'x'}}");
    EXPECT_EQ(line(PropertyPath{"a", 3, "b"}), "{a, 3, b}");
    EXPECT_EQ(line(PropertyPath{}), "{}");
}

TEST(TreeText, KeepsWhatWasWrittenBeforeAFailure) {
    const PropertyMap map{{"a", true}, {"b", ZVariant::fromData({Duration(1, 2), Duration(3, 4)})}};
    const char* const text =
        "Cannot convert Quorvane::Pyx::ZVariant of type 'Quorvane::Pyx::Duration' (size: 2) to "
        "'int64_t'";
    std::ostringstream one;
    EXPECT_THAT([&] { PrintTo(map, &one); }, ThrowsMessage<std::runtime_error>(text));
    EXPECT_EQ(one.str(), "{{'a', true}, {'b', [");
    std::ostringstream many;
    EXPECT_THAT([&] { ConsoleFormatter::serialize(map, many); }, ThrowsMessage<std::runtime_error>(text));
    EXPECT_EQ(many.str(), "|---> 'a': true\n|---> 'b': [");
    many << false;
    EXPECT_EQ(many.str(), "|---> 'a': true\n|---> 'b': [false");
    std::ostringstream custom;
    EXPECT_THAT([&] { PrintTo(ZVariant::fromCustom(PropertyPath{}), &custom); },
                ThrowsMessage<std::runtime_error>("unknown type"));
}

}  // namespace
}  // namespace Quorvane::Pyx
