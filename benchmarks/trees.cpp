// Interned texts and property trees, beside what a user would pick instead.
#include "contenders.h"

#include <pyx/pyx.h>
#include <boost/flyweight.hpp>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>
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

// Looks every key of the map up once.
void addLookup(int count) {
    const std::string task = "find each of " + std::to_string(count) + " keys";
    const auto texts = keyTexts(count);
    std::vector<InternedString> keys(texts.begin(), texts.end());
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

constexpr int branches = 1000;
constexpr int leaves = 10;

PropertyNode makeTree(const std::vector<InternedString>& keys) {
    PropertyList list;
    list.reserve(branches);
    for (int branch = 0; branch < branches; ++branch) {
        PropertyMap map;
        map.reserve(leaves);
        for (const InternedString key : keys) {
            map.insertOrAssign(key, branch);
        }
        list.append(std::move(map));
    }
    return list;
}

nlohmann::json makeJson(const std::vector<std::string>& texts) {
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

}  // namespace

void addTrees() {
    addInterning("intern a known text of 8 bytes", "elements");
    addInterning("intern a known text of 40 bytes", std::string(40, 'k'));
    for (const int count : {4, 16, 64, 256}) {
        addLookup(count);
    }

    const auto texts = keyTexts(leaves);
    const std::vector<InternedString> keys(texts.begin(), texts.end());
    addContender("build and drop a tree of 11,000 nodes", "ours", [keys] { benchmark::DoNotOptimize(makeTree(keys)); });
    addContender("build and drop a tree of 11,000 nodes", "nlohmann::json",
                 [texts] { benchmark::DoNotOptimize(makeJson(texts)); });

    const PropertyNode tree = makeTree(keys);
    const nlohmann::json json = makeJson(texts);
    const auto copyJson = [json] { benchmark::DoNotOptimize(nlohmann::json(json)); };
    addContender("copy and drop a tree of 11,000 nodes", "ours",
                 [tree] { benchmark::DoNotOptimize(PropertyNode(tree)); });
    addContender("copy and drop a tree of 11,000 nodes", "nlohmann::json", copyJson);
    addContender("freeze and drop a tree of 11,000 nodes", "ours",
                 [tree] { benchmark::DoNotOptimize(FPropertyNode(tree)); });
    addContender("freeze and drop a tree of 11,000 nodes", "nlohmann::json copied", copyJson);

    const FPropertyNode frozen(tree);
    const auto sharedJson = std::make_shared<const nlohmann::json>(json);
    addContender("copy and drop a frozen handle", "ours",
                 [frozen] { benchmark::DoNotOptimize(FPropertyNode(frozen)); });
    addContender("copy and drop a frozen handle", "shared_ptr to json",
                 [sharedJson] { benchmark::DoNotOptimize(std::shared_ptr<const nlohmann::json>(sharedJson)); });
}
