// Both property trees: building, reading, freezing, and their text.
#include "values.h"

#include <pyx/pyx.h>

#include <sstream>
#include <string>
#include <type_traits>

namespace Quorvane::Pyx {
namespace {

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

    EXPECT_EQ(root.find({"b", 2, "c"}), &list[2].map().at("c"));
    EXPECT_EQ(root.find({}), &root);
    for (const PropertyPath& missing : {PropertyPath{"z"}, {0}, {"b", 3}, {"b", "c"}, {"a", 0}}) {
        EXPECT_EQ(root.find(missing), nullptr);
    }
    EXPECT_RAISES(std::out_of_range, "Key not found: z", root.at({"z", 1}));
    EXPECT_RAISES(std::out_of_range, "Index not found: 3", root.at({"b", 3}));
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a map", root.at({"b", "c"}));
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a list", root.at({0}));
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a value", root.value());
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
    EXPECT_FALSE(map.insertOrAssign("a", PropertyList{}).second);
    EXPECT_TRUE(map.erase("n") && !map.erase("n"));
    EXPECT_RAISES(std::out_of_range, "Key not found: n", map.at("n"));
    PropertyList& list = map.at("b").list();
    list.insert(0, 1.5);
    list.erase(1);
    EXPECT_THROW(list.erase(3), std::out_of_range);
    EXPECT_THROW(list.insert(4, 1), std::out_of_range);
    EXPECT_EQ(line(root), "{{'a', {}}, {'b', {1.5, 'x', {{'c', [1.5, 2.5]}}}}}");
    EXPECT_EQ(line(PropertyList(list.begin(), list.begin() + 2)), "{1.5, 'x'}");
    EXPECT_EQ(PropertyNode(PropertyList{1}).list().size(), 1u);
    expectSample(before);

    // Values share their data until one side writes.
    ZVariant& value = root.at({"b", 2, "c"}).value();
    EXPECT_EQ(value.data<double>(), before.at({"b", 2, "c"}).value().data<double>());
    value.mutableElementAt<double>(0) = 9;
    EXPECT_EQ(before.at({"b", 2, "c"}).value().elementAt<double>(0), 1.5);
    for (auto& [key, node] : map) {
        node = nullptr;
    }
    EXPECT_EQ(line(root), "{{'a', <NULL>}, {'b', <NULL>}}");
}

TEST(PropertyTree, MayTakeThePlaceOfItsParent) {
    for (const bool moving : {false, true}) {
        PropertyNode root = PropertyList{PropertyMap{{"deep", "a text that needs a buffer of its own"}}};
        PropertyNode& child = root.list()[0];
        root = moving ? PropertyNode(std::move(child)) : child;
        root = root.map().at("deep");
        EXPECT_EQ(line(root), "'a text that needs a buffer of its own'");
    }
    PropertyList list{PropertyList{1}, 2};
    list = list[0].list();
    EXPECT_EQ(line(list), "{1}");
    PropertyMap map{{"inner", PropertyMap{{"a", 1}}}};
    map = map.at("inner").map();
    EXPECT_EQ(line(map), "{{'a', 1}}");
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<PropertyNode> && std::is_nothrow_move_assignable_v<PropertyNode>);
}

TEST(FrozenTree, SharesAndTreatsBothFormsOfNothingAlike) {
    const PropertyNode source = sample();
    FPropertyNode root(source);
    EXPECT_TRUE(FPropertyNode(root).sharesContentWith(root));
    EXPECT_EQ(root.at({"b", 2, "c"}).value().data<double>(), source.at({"b", 2, "c"}).value().data<double>());
    // A subtree that is held elsewhere outlives its parent.
    const FPropertyNode part = root.at({"b", 2});
    root = FPropertyNode();
    EXPECT_EQ(line(part), "{{'c', [1.5, 2.5]}}");

    EXPECT_TRUE(FPropertyNode(PropertyNode()).sharesContentWith(FPropertyNode()));
    for (const FPropertyList& empty : {FPropertyList(), FPropertyList(PropertyList())}) {
        EXPECT_TRUE(empty.empty() && empty.begin() == empty.end());
        EXPECT_THROW((void)empty.at(0), std::out_of_range);
        EXPECT_EQ(line(FPropertyNode(empty)), "{}");
    }
    for (const FPropertyMap& empty : {FPropertyMap(), FPropertyMap(PropertyMap())}) {
        EXPECT_TRUE(empty.empty() && empty.find("x") == nullptr);
        EXPECT_EQ(line(FPropertyNode(empty)), "{}");
    }
}

TEST(FrozenTree, KeepsTheFirstOfEqualKeys) {
    // A working map can be made to hold a key twice.
    PropertyMap map{{"a", 1}, {"b", 2}};
    (map.begin() + 1)->key = "a";
    const FPropertyMap frozen(map);
    EXPECT_EQ(line(frozen), "{{'a', 1}}");
    EXPECT_EQ(line(map), "{{'a', 1}}");
}

TEST(FlatTree, HoldsPathsAndValuesInOrder) {
    const PropertyNode tree = PropertyMap{
        {"a/b#c~d", sample()}, {"~list", PropertyList{}}, {"", PropertyMap{}}, {"2", PropertyList{ZVariant()}}};
    const FlatTree flat = flatten(tree);
    EXPECT_THAT(flat.paths,
                testing::ElementsAre("/a~1b~2c~0d/a", "/a~1b~2c~0d/b#0~null", "/a~1b~2c~0d/b#1", "/a~1b~2c~0d/b#2/c",
                                     "/a~1b~2c~0d/n~null", "/~0list~list", "/~map", "/2#0"));
    EXPECT_EQ(flat.values[3].data<double>(), tree.at({"a/b#c~d", "b", 2, "c"}).value().data<double>());
    EXPECT_EQ(listing(unflatten(flat)), listing(tree));
    EXPECT_EQ(flatten(unflatten(flat)).paths, flat.paths);
    EXPECT_EQ(line(unflatten(flatten(7))), "7");
    EXPECT_TRUE(unflatten(flatten(nullptr)).isNull() && unflatten({}).isNull());

    // Paths that are none, contradict each other or are not in order.
    for (const char* const wrong :
         {"a",   "/a~",        "/a~3",         "~0",       "/a~List",     "#1",          "#00",
          "#",   "#0 #2",      "#1 #0",        "/a /a",    "/a /a/b",     "/a #0",       "#0 /a",
          " /a", "/a~null /a", "/a~null /a/b", "~list #0", "/a~map /a/b", "/a/b /c /a/d"}) {
        FlatTree broken;
        std::istringstream paths(wrong);
        for (std::string path; std::getline(paths, path, ' ');) {
            broken.paths.push_back(path);
            broken.values.push_back(1);
        }
        EXPECT_THROW((void)unflatten(broken), std::invalid_argument) << wrong;
    }
    EXPECT_RAISES(std::invalid_argument, "A flat tree has as many paths as values.", unflatten({{"/a"}, {}}));
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
    EXPECT_EQ(line(PropertyPath{"a", 3, "b"}), "{a, 3, b}");
    EXPECT_EQ(line(PropertyPath{}), "{}");
}

TEST(TreeText, KeepsWhatWasWrittenBeforeAFailure) {
    const PropertyMap map{{"a", true}, {"b", ZVariant::fromData({Duration(1, 2), Duration(3, 4)})}};
    const char* const text =
        "Cannot convert Quorvane::Pyx::ZVariant of type 'Quorvane::Pyx::Duration' (size: 2) to 'int64_t'";
    std::ostringstream one;
    EXPECT_RAISES(std::runtime_error, text, PrintTo(map, &one));
    EXPECT_EQ(one.str(), "{{'a', true}, {'b', [");
    std::ostringstream many;
    EXPECT_RAISES(std::runtime_error, text, ConsoleFormatter::serialize(map, many));
    many << false;
    EXPECT_EQ(many.str(), "|---> 'a': true\n|---> 'b': [false");
    std::ostringstream custom;
    EXPECT_RAISES(std::runtime_error, "unknown type", PrintTo(ZVariant::fromCustom(PropertyPath{}), &custom));
}

}  // namespace
}  // namespace Quorvane::Pyx
