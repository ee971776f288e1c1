// Paths and both property trees: building, reading, changing, freezing, and their text.
#include "values.h"

#include <pyx/pyx.h>

#include <limits>
#include <sstream>
#include <type_traits>
#include <utility>

namespace Quorvane::Pyx {
namespace {

template <class Tree>
std::string line(const Tree& tree) {
    std::ostringstream out;
    out << tree;
    EXPECT_EQ(out.str(), testing::PrintToString(tree));
    return out.str();
}

std::string listing(const PropertyNode& node) {
    std::ostringstream working, frozen;
    ConsoleFormatter::serialize(node, working);
    ConsoleFormatter::serialize(FPropertyNode(node), frozen);
    EXPECT_EQ(working.str(), frozen.str());
    return working.str();
}

PropertyNode sample() {
    return PropertyMap{{"a", 1},
                       {"b", PropertyList{nullptr, "x", PropertyMap{{"c", ZVariant::fromData({1.5, 2.5})}}}},
                       {"n", nullptr},
                       {"a", 3}};
}

TEST(PropertyPath, IsASequenceOfNamesAndPositions) {
    const PropertyPath path{"a", 3, "b"};
    PropertyPath built{"a"};
    built.append(3u);
    EXPECT_TRUE(built / "b" == path && path.parent() == built);
    EXPECT_TRUE(path[0].isName() && !path[0].isIndex() && path.at(1).isIndex() && !path.at(1).isName());
    EXPECT_TRUE(path[2].name() == "b" && path[1].index() == 3);
    EXPECT_RAISES(std::runtime_error, "Property Path segment is a name, not an index.", path[0].index());
    EXPECT_RAISES(std::runtime_error, "Property Path segment is an index, not a name.", path[1].name());
    EXPECT_RAISES(std::invalid_argument, "Property Path index is negative: -1", PropertyPath{-1});
    EXPECT_RAISES(std::out_of_range, "Property Path has no segment 3", path.at(3));
    EXPECT_RAISES(std::out_of_range, "The empty Property Path has no parent.", PropertyPath().parent());
    EXPECT_FALSE((std::is_constructible_v<PropertyPathSegment, std::nullptr_t>) ||
                 (std::is_constructible_v<PropertyPathSegment, bool>));
    EXPECT_EQ(line(path) + line(PropertyPath{}), "{a, 3, b}{}");
}

TEST(PropertyPath, EqualsOnlyItself) {
    // Among them names and positions that are the same words in memory.
    const InternedString name("a");
    const auto address = reinterpret_cast<std::uintptr_t>(name.data());
    const std::vector<std::string> names{"a", "b"};
    const std::vector<PropertyPath> paths{
        {},       {name}, {"b"},        {0},        {1},      {address},  {"0"},         {""},
        {"a", 1}, {257},  {1ULL << 32}, {"a", "a"}, {1, "a"}, {"a", 257}, {"a", 1, "b"}, {names.begin(), names.end()}};
    for (std::size_t i = 0; i < paths.size(); ++i) {
        for (std::size_t j = 0; j < paths.size(); ++j) {
            EXPECT_TRUE((paths[i] == paths[j]) == (i == j) && (paths[i] != paths[j]) == (i != j)) << i << ' ' << j;
        }
    }
}

// What both forms answer to a reader.
template <class Node>
void expectSample(const Node& root) {
    EXPECT_TRUE(root.isMap() && !root.isList() && !root.isValue() && !root.isNull());
    const auto& map = root.map();
    EXPECT_TRUE(map.size() == 3 && map.contains("n") && !map.contains("z") && map.find("z") == nullptr);
    EXPECT_TRUE(map.find("a") == &map.begin()->value && map.at("a").isValue() && map.at("n").isNull());
    const auto& list = map.at("b").list();
    EXPECT_TRUE(map.at("b").isList() && list.size() == 3 && !list.empty() && list[0].isNull());
    EXPECT_TRUE(&list.at(1) == &list[1] && &root.at({"b", 1}) == &list[1] && &root.at({}) == &root);
    EXPECT_EQ(root.find({"b", 2, "c"}), &list[2].map().at("c"));
    EXPECT_EQ(line(root), "{{'a', 1}, {'b', {<NULL>, 'x', {{'c', [1.5, 2.5]}}}}, {'n', <NULL>}}");

    const std::uint64_t far = std::numeric_limits<std::uint64_t>::max();
    const std::vector<std::pair<PropertyPath, const char*>> missing{
        {{"z", 1}, "Key not found: z"},
        {{"b", 2, "d"}, "Key not found: d"},
        {{"b", 3}, "Index not found: 3"},
        {{"b", far, "c"}, "Index not found: 18446744073709551615"},
        {{"b", "c"}, "PropertyNode is not a map"},
        {{"n", "c"}, "PropertyNode is not a map"},
        {{0}, "PropertyNode is not a list"},
        {{"a", 0}, "PropertyNode is not a list"}};
    for (const auto& row : missing) {
        EXPECT_EQ(root.find(row.first), nullptr) << row.first;
        EXPECT_RAISES(std::out_of_range, row.second, root.at(row.first)) << row.first;
    }
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a value", root.value());
}

TEST(PropertyTrees, ReadAlike) {
    PropertyNode root = sample();
    expectSample(root);
    expectSample(FPropertyNode(root));
    expectSample(FPropertyNode(FPropertyMap(root.map())));
    const PropertyList& list = root.at({"b"}).list();
    EXPECT_EQ(line(list), "{<NULL>, 'x', {{'c', [1.5, 2.5]}}}");
    EXPECT_EQ(line(FPropertyNode(FPropertyList(list))), line(list));
}

// Also to a part of what it replaces, and the other way round.
TEST(PropertyTree, ChangesInPlace) {
    const PropertyNode before = PropertyMap{{"a", 1}, {"b", PropertyList{2, PropertyMap{{"c", PropertyList{3}}}}}};
    using Edit = void (*)(PropertyNode & root, PropertyMap & map, PropertyList & list);
    const std::pair<Edit, const char*> edits[] = {
        {[](auto&, auto&, auto& list) { list.insert(0, 9); }, "{{'a', 1}, {'b', {9, 2, {{'c', {3}}}}}}"},
        {[](auto&, auto&, auto& list) { list.insert(2, 9); }, "{{'a', 1}, {'b', {2, {{'c', {3}}}, 9}}}"},
        {[](auto&, auto&, auto& list) { list.erase(0); }, "{{'a', 1}, {'b', {{{'c', {3}}}}}}"},
        {[](auto&, auto&, auto& list) { list.append(list[0]) = 7; }, "{{'a', 1}, {'b', {2, {{'c', {3}}}, 7}}}"},
        {[](auto&, auto&, auto& list) { list.append(list[1]); }, "{{'a', 1}, {'b', {2, {{'c', {3}}}, {{'c', {3}}}}}}"},
        {[](auto&, auto&, auto& list) { list.clear(); }, "{{'a', 1}, {'b', {}}}"},
        {[](auto&, auto&, auto& list) { list = PropertyList(list.begin(), list.end() - 1); }, "{{'a', 1}, {'b', {2}}}"},
        {[](auto&, auto&, auto& list) { list = list[1].map().at("c").list(); }, "{{'a', 1}, {'b', {3}}}"},
        {[](auto&, auto&, auto& list) { list[1] = list; }, "{{'a', 1}, {'b', {2, {2, {{'c', {3}}}}}}}"},
        {[](auto&, auto& map, auto&) { map.insertOrAssign("a", 9); }, "{{'a', 9}, {'b', {2, {{'c', {3}}}}}}"},
        {[](auto&, auto& map, auto&) { map.insertOrAssign("d", 9); }, "{{'a', 1}, {'b', {2, {{'c', {3}}}}}, {'d', 9}}"},
        {[](auto&, auto& map, auto&) { map.erase("a"); }, "{{'b', {2, {{'c', {3}}}}}}"},
        {[](auto&, auto& map, auto&) { map.clear(); }, "{}"},
        {[](auto&, auto& map, auto&) { map.begin()->value = nullptr; }, "{{'a', <NULL>}, {'b', {2, {{'c', {3}}}}}}"},
        {[](auto&, auto& map, auto& list) { map = list[1].map(); }, "{{'c', {3}}}"},
        {[](auto& root, auto&, auto& list) { root = list[1]; }, "{{'c', {3}}}"},
        {[](auto& root, auto&, auto& list) { root = std::move(list[1]); }, "{{'c', {3}}}"},
        {[](auto& root, auto&, auto& list) { list[0] = root; },
         "{{'a', 1}, {'b', {{{'a', 1}, {'b', {2, {{'c', {3}}}}}}, {{'c', {3}}}}}}"}};
    for (const auto& [edit, result] : edits) {
        PropertyNode root = before;
        edit(root, root.map(), root.at({"b"}).list());
        EXPECT_EQ(line(root), result);
        EXPECT_EQ(line(before), "{{'a', 1}, {'b', {2, {{'c', {3}}}}}}");
    }

    PropertyNode root = before;
    PropertyMap& map = root.map();
    PropertyList& list = map.at("b").list();
    EXPECT_RAISES(std::out_of_range, "Index not found: 2", list.erase(2));
    EXPECT_RAISES(std::out_of_range, "Index not found: 3", list.insert(3, 1));
    const auto [present, isNew] = map.insertOrAssign("a", 9);
    EXPECT_TRUE(!isNew && present == map.find("a") && map.insertOrAssign("d", 9).second);
    EXPECT_TRUE(map.erase("a") && !map.erase("a"));
    EXPECT_RAISES(std::out_of_range, "Key not found: a", map.at("a"));
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<PropertyNode> && std::is_nothrow_move_assignable_v<PropertyNode>);
    // Values share their data until one side writes.
    const PropertyNode data = ZVariant::fromData({1.5, 2.5});
    root = data;
    EXPECT_EQ(root.value().data<double>(), data.value().data<double>());
    root.value().mutableElementAt<double>(0) = 9;
    EXPECT_EQ(line(data), "[1.5, 2.5]");
}

TEST(FrozenTree, SharesAndTreatsBothFormsOfNothingAlike) {
    const PropertyNode source = sample();
    FPropertyNode root(source);
    EXPECT_TRUE(FPropertyNode(root).sharesContentWith(root) && !FPropertyNode(source).sharesContentWith(root));
    EXPECT_EQ(root.at({"b", 2, "c"}).value().data<double>(), source.at({"b", 2, "c"}).value().data<double>());
    // A subtree that is held elsewhere outlives its parent.
    const FPropertyNode part = root.at({"b", 2});
    root = FPropertyNode();
    EXPECT_EQ(line(part), "{{'c', [1.5, 2.5]}}");

    EXPECT_TRUE(FPropertyNode(PropertyNode()).sharesContentWith(FPropertyNode()));
    for (const FPropertyList& empty : {FPropertyList(), FPropertyList(PropertyList())}) {
        EXPECT_RAISES(std::out_of_range, "Index not found: 0", empty.at(0));
        EXPECT_EQ(line(empty), "{}");
    }
    for (const FPropertyMap& empty : {FPropertyMap(), FPropertyMap(PropertyMap())}) {
        EXPECT_EQ(empty.find("x"), nullptr);
        EXPECT_EQ(line(empty), "{}");
    }
    // A working map can be made to hold a key twice.
    PropertyMap map{{"a", 1}, {"b", 2}};
    (map.begin() + 1)->key = "a";
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
    EXPECT_EQ(line(unflatten(flat)), line(tree));
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
        for (std::string path; std::getline(paths, path, ' '); broken.paths.push_back(path)) {
            broken.values.emplace_back(1);
        }
        EXPECT_THROW((void)unflatten(broken), std::invalid_argument) << wrong;
    }
    EXPECT_RAISES(std::invalid_argument, "A flat tree has as many paths as values.", unflatten({{"/a"}, {}}));
}

TEST(TreeText, ListsOneLineForEachValue) {
    const PropertyNode tree = PropertyMap{{"a", 1},
                                          {"b", PropertyMap{{"c", PropertyMap{{"z", 1}}}, {"d", 4}}},
                                          {"e", PropertyList{PropertyMap{{"f", 5}}, PropertyMap{{"g", 6}}, 7}},
                                          {"n", nullptr}};
    EXPECT_EQ(listing(tree),
              "|---> 'a': 1\n"
              "|---> 'b': \n|    `--> 'c': \n|        `--> 'z': 1\n\n|    `--> 'd': 4\n"
              "|---> 'e': |---> 'f': 5\n|---> 'g': 6\n7\n"
              "|---> 'n': ");
}

TEST(TreeText, KeepsWhatWasWrittenBeforeAFailure) {
    const PropertyMap map{{"a", true}, {"b", ZVariant::allocate<Duration>({2})}};
    std::ostringstream out;
    EXPECT_THROW(PrintTo(map, &out), std::runtime_error);
    EXPECT_THROW(ConsoleFormatter::serialize(map, out << '\n'), std::runtime_error);
    EXPECT_EQ(out.str(), "{{'a', true}, {'b', [\n|---> 'a': true\n|---> 'b': [");
}

}  // namespace
}  // namespace Quorvane::Pyx
