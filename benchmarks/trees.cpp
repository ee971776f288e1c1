// Interned texts and property trees, beside what a user would pick instead.

#include "contenders.h"

#include <pyx/pyx.h>

#include <boost/flyweight.hpp>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

void addInterning(const std::string& task, const std::string& text) {
    const InternedString known(text);
    const boost::flyweight<std::string> knownFlyweight(text);
    addContender(task, "ours", [text, known] { benchmark::DoNotOptimize(InternedString(text)); });
    addContender(task, "boost::flyweight",
                 [text, knownFlyweight] { benchmark::DoNotOptimize(boost::flyweight<std::string>(text)); });
}

std::vector<std::string> keyTexts(int count) {
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        texts.push_back("key number " + std::to_string(i));
    }
    return texts;
}

std::vector<InternedString> internedKeys(int count) {
    const auto texts = keyTexts(count);
    return {texts.begin(), texts.end()};
}

// Looks every key of the map up once.
void addLookup(int count) {
    const std::string task = "find each key: of " + std::to_string(count);
    const auto texts = keyTexts(count);
    const auto keys = internedKeys(count);
    PropertyMap map;
    nlohmann::json object;
    for (int i = 0; i < count; ++i) {
        map.insertOrAssign(keys[static_cast<std::size_t>(i)], i);
        object[texts[static_cast<std::size_t>(i)]] = i;
    }
    addContender(task, "ours", [map, keys] {
        for (const InternedString key : keys) {
            benchmark::DoNotOptimize(map.find(key));
        }
    });
    addContender(task, "nlohmann::json", [object, texts] {
        for (const std::string& text : texts) {
            benchmark::DoNotOptimize(object.find(text));
        }
    });
}

// A tree is a list of maps with ten values each.
constexpr int branches = 10'000;
constexpr int leaves = 10;
constexpr int nodes = branches * (leaves + 1);

PropertyNode makeTree(int branchCount = branches) {
    static const auto keys = internedKeys(leaves);
    PropertyList list;
    list.reserve(static_cast<std::size_t>(branchCount));
    for (int branch = 0; branch < branchCount; ++branch) {
        PropertyMap map;
        map.reserve(leaves);
        for (const InternedString key : keys) {
            map.insertOrAssign(key, branch);
        }
        list.append(std::move(map));
    }
    return list;
}

nlohmann::json makeJson() {
    static const auto texts = keyTexts(leaves);
    nlohmann::json list = nlohmann::json::array();
    for (int branch = 0; branch < branches; ++branch) {
        nlohmann::json object = nlohmann::json::object();
        for (const std::string& text : texts) {
            object[text] = branch;
        }
        list.push_back(std::move(object));
    }
    return list;
}

// Frozen is what a tree is frozen to; JSON has no such form and is copied instead.
template <class Tree, class Frozen>
void addTree(const char* contender, Tree (*make)()) {
    const std::string task = "tree of 110,000 nodes: ";
    const auto original = std::make_shared<const Tree>(make());
    const auto none = [] { return std::unique_ptr<Tree>(); };
    addWithState(task + "build", contender, none,
                 [make](std::unique_ptr<Tree>& tree) { tree = std::make_unique<Tree>(make()); });
    addWithState(task + "deep copy", contender, none,
                 [original](std::unique_ptr<Tree>& copy) { copy = std::make_unique<Tree>(*original); });
    addWithState(
        task + "freeze", contender, [] { return std::unique_ptr<Frozen>(); },
        [original](std::unique_ptr<Frozen>& frozen) { frozen = std::make_unique<Frozen>(*original); });
    addWithState(
        task + "drop", contender, [original] { return std::make_unique<Tree>(*original); },
        [](std::unique_ptr<Tree>& tree) { tree.reset(); });
}

// Makes the objects of a frozen tree, each of which is shared for itself, without their contents.
void addAllocationsOfFreezing() {
    using Objects = std::vector<std::shared_ptr<const void>>;
    addWithState(
        "tree of 110,000 nodes: freeze", "make_shared alone",
        [] {
            Objects objects;
            objects.reserve(nodes + branches);
            return objects;
        },
        [](Objects& objects) {
            for (int branch = 0; branch < branches; ++branch) {
                Internal::FPropertyMapData entries;
                entries.entries.reserve(leaves);
                objects.push_back(std::make_shared<const Internal::FPropertyMapData>(std::move(entries)));
                for (int node = 0; node <= leaves; ++node) {
                    objects.push_back(std::make_shared<const Internal::FPropertyNodeImpl>(FPropertyMap()));
                }
            }
        });
}

// Bytes for each node of the tree that make() gives.
template <class Make>
void addNodeBytes(const char* form, const char* contender, Make make) {
    addSize(std::string("bytes for each node: ") + form, contender, [make] {
        const std::size_t before = heapBytes();
        const auto tree = make();
        return static_cast<double>(heapBytes() - before) / nodes;
    });
}

}  // namespace

void addTrees() {
    addInterning("intern a known text: of 8", "elements");
    addInterning("intern a known text: of 40", std::string(40, 'k'));
    for (const int count : {4, 16, 64}) {
        addLookup(count);
    }

    addTree<PropertyNode, FPropertyNode>("ours", [] { return makeTree(); });
    addTree<nlohmann::json, nlohmann::json>("nlohmann::json", makeJson);

    addAllocationsOfFreezing();

    addNodeBytes("working tree", "ours", [] { return makeTree(); });
    addNodeBytes("working tree", "nlohmann::json", makeJson);
    addNodeBytes("frozen tree", "ours", [] { return FPropertyNode(makeTree()); });
    addNodeBytes("frozen tree", "nlohmann::json", makeJson);

    addGrowthOf("freeze and drop a tree", [](std::uint64_t count) {
        return [tree = makeTree(static_cast<int>(count / (leaves + 1)))] {
            benchmark::DoNotOptimize(FPropertyNode(tree));
        };
    });
}
