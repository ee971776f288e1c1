// Edits of property trees beside a model of nested vectors, in both forms of the tree, and codecs.
#include "value_model.h"

#include <pyx/pyx.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Quorvane::Pyx {
namespace {

// Texts are interned for ever, so there are few.
const char* const keys[] = {"",  "a", "b",  "c",    "path",      "type", "elements", "x",
                            "y", "z", "aa", "\xff", "segments ", "0",    "1",        "a key that needs a buffer"};

using Numbers = std::vector<double>;
using ModelValue = std::variant<std::monostate, long long, std::string, Numbers, PropertyPath>;

// A list has empty keys.
struct ModelNode {
    enum class Form { null, value, list, map };

    Form form = Form::null;
    ModelValue value = {};
    std::vector<std::pair<std::string, ModelNode>> children = {};

    std::size_t count() const {
        std::size_t nodes = 1;
        for (const auto& child : children) {
            nodes += child.second.count();
        }
        return nodes;
    }

    ModelNode* child(const std::string& key) {
        for (auto& entry : children) {
            if (entry.first == key) {
                return &entry.second;
            }
        }
        return nullptr;
    }
};
using Form = ModelNode::Form;

ZVariant variantOf(const ModelValue& value) {
    return std::visit(
        [](const auto& held) -> ZVariant {
            using T = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return {};
            } else if constexpr (std::is_same_v<T, Numbers>) {
                return ZVariant::fromData(held.data(), held.size());
            } else if constexpr (std::is_same_v<T, PropertyPath>) {
                return ZVariant::fromCustom(held);
            } else {
                return ZVariant(held);
            }
        },
        value);
}

PropertyNode nodeOf(const ModelNode& model) {
    if (model.form == Form::list) {
        PropertyList list;
        for (const auto& [key, child] : model.children) {
            list.append(nodeOf(child));
        }
        return list;
    } else if (model.form == Form::map) {
        // Of entries with the same key the first one stays.
        std::vector<PropertyMapEntry> entries;
        for (const auto& [key, child] : model.children) {
            entries.push_back({key, nodeOf(child)});
            entries.push_back({key, PropertyNode(-1)});
        }
        return PropertyMap(entries.begin(), entries.end());
    }
    return model.form == Form::null ? PropertyNode() : PropertyNode(variantOf(model.value));
}

// In either form of the tree.
template <class Node>
void requireTree(const Node& node, const ModelNode& model) {
    require(node.isNull() == (model.form == Form::null) && node.isValue() == (model.form == Form::value));
    require(node.isList() == (model.form == Form::list) && node.isMap() == (model.form == Form::map));
    std::size_t i = 0;
    if (node.isValue()) {
        require(node.value() == variantOf(model.value));
    } else if (node.isList()) {
        require(node.list().size() == model.children.size());
        for (const Node& child : node.list()) {
            requireTree(child, model.children[i++].second);
        }
    } else if (node.isMap()) {
        require(node.map().size() == model.children.size());
        for (const auto& [key, child] : node.map()) {
            require(key == model.children[i].first);
            requireTree(child, model.children[i++].second);
        }
    }
}

// Both texts, and whether they end in a failure, as they do at a path.
template <class Node>
std::string textOf(const Node& node) {
    std::ostringstream out;
    for (const bool isListing : {false, true}) {
        out << (failureOf([&] {
                    if (isListing) {
                        ConsoleFormatter::serialize(node, out);
                    } else {
                        PrintTo(node, &out);
                    }
                }) != nullptr);
    }
    return out.str();
}

// A class of a client with a codec that keeps all of it.
struct Leaf {
    long long number = 0;
    std::string text;
    friend bool operator==(const Leaf& left, const Leaf& right) {
        return left.number == right.number && left.text == right.text;
    }
};

const CustomTypeRegistration<Leaf> leafRegistration(
    "Leaf",
    [](const Leaf& leaf) {
        return PropertyMap{{"x", leaf.number}, {"y", leaf.text}};
    },
    [](const PropertyMap& map) {
        return Leaf{map.at("x").value().as<long long>(), map.at("y").value().elementAt<std::string>(0)};
    });

class TreeCalls {
public:
    TreeCalls(const std::uint8_t* bytes, std::size_t size) : input_(bytes, size) {}

    void run() {
        while (!input_.atEnd()) {
            call();
        }
        for (int i = 0; i < 3; ++i) {
            requireTree(trees_[i].node, trees_[i].model);
            requireTree(frozen_[i].node, frozen_[i].model);
            require(textOf(FPropertyNode(trees_[i].node)) == textOf(trees_[i].node));
        }
    }

private:
    template <class Node>
    struct Tree {
        Node node;
        ModelNode model;
    };

    void call() {
        Tree<PropertyNode>& tree = input_.pick(trees_);
        switch (input_.below(16)) {
            case 0:
                tree.node = nodeOf(tree.model);
                return;
            case 1:
                return graft(tree);
            case 2: {
                Tree<FPropertyNode>& frozen = input_.pick(frozen_);
                frozen = {FPropertyNode(tree.node), tree.model};
                return requireTree(frozen.node, frozen.model);
            }
            case 3:
                return find(tree);
            case 4:
                return find(input_.pick(frozen_));
            case 5:
                return encode();
            case 6:
                return decode(tree);
            default:
                return edit(tree);
        }
    }

    void graft(Tree<PropertyNode>& tree) {
        Tree<PropertyNode>& other = input_.pick(trees_);
        const std::uint64_t choice = input_.below(3);
        if (choice == 0) {
            other = Tree<PropertyNode>(tree);
        }
        const auto [node, model] = walk(tree);
        if (choice == 1) {
            // A part of the tree replaces all of it.
            tree.model = ModelNode(*model);
            tree.node = *node;
        } else if (choice == 2 && other.model.count() + model->count() < 300) {
            const ModelNode copy = *model;
            const PropertyNode part = *node;
            other.model = {Form::list, {}, {{"", other.model}, {"", copy}}};
            other.node = PropertyList{other.node, part};
        }
    }

    // A place in the tree, after some steps that mostly exist; with none, the root.
    std::pair<PropertyNode*, ModelNode*> walk(Tree<PropertyNode>& tree) {
        PropertyNode* node = &tree.node;
        ModelNode* model = &tree.model;
        for (std::uint64_t steps = input_.below(8); steps != 0 && !model->children.empty(); --steps) {
            const std::size_t position = input_.below(model->children.size());
            auto& [key, child] = model->children[position];
            node = model->form == Form::map ? &node->map().at(key) : &node->list().at(position);
            model = &child;
        }
        return {node, model};
    }

    void edit(Tree<PropertyNode>& tree) {
        const auto [node, model] = walk(tree);
        const std::uint64_t choice = input_.below(8);
        if (choice == 0 || model->form == Form::null || tree.model.count() > 200) {
            *model = pickNode();
            *node = nodeOf(*model);
        } else if (model->form == Form::list) {
            editList(node->list(), model->children, choice);
        } else if (model->form == Form::map) {
            editMap(node->map(), *model, choice);
        } else if (auto* const numbers = std::get_if<Numbers>(&model->value); numbers != nullptr && !numbers->empty()) {
            // What shares the data keeps it.
            const std::size_t i = input_.below(numbers->size());
            (*numbers)[i] += 1;
            node->value().mutableElementAt<double>(i) = (*numbers)[i];
        }
        requireTree(*node, *model);
    }

    void editList(PropertyList& list, std::vector<std::pair<std::string, ModelNode>>& children, std::uint64_t choice) {
        const std::size_t position = input_.below(children.size() + 2);
        const auto place = children.begin() + static_cast<std::ptrdiff_t>(std::min(position, children.size()));
        if (choice == 1) {
            list.clear();
            children.clear();
        } else if (choice < 4) {
            const bool exists = position < children.size();
            require(isSameKind(failureOf([&] { list.erase(position); }), exists ? nullptr : "out_of_range"));
            if (exists) {
                children.erase(place);
            }
        } else if (choice < 6) {
            const ModelNode added = pickNode();
            const bool fits = position <= children.size();
            require(
                isSameKind(failureOf([&] { list.insert(position, nodeOf(added)); }), fits ? nullptr : "out_of_range"));
            if (fits) {
                children.insert(place, {"", added});
            }
        } else if (choice == 6 && !children.empty()) {
            // An element of the list itself.
            const std::size_t i = input_.below(children.size());
            if (children[i].second.count() < 20) {
                children.push_back(std::pair<std::string, ModelNode>(children[i]));
                list.append(list[i]);
            }
        } else {
            children.emplace_back("", pickNode());
            requireTree(list.append(nodeOf(children.back().second)), children.back().second);
        }
    }

    void editMap(PropertyMap& map, ModelNode& model, std::uint64_t choice) {
        const std::string key = input_.pick(keys);
        ModelNode* const present = model.child(key);
        require(map.contains(key) == (present != nullptr));
        if (choice == 1) {
            map.clear();
            model.children.clear();
        } else if (choice < 4) {
            require(map.erase(key) == (present != nullptr));
            for (std::size_t i = 0; i < model.children.size(); ++i) {
                if (model.children[i].first == key) {
                    model.children.erase(model.children.begin() + static_cast<std::ptrdiff_t>(i));
                }
            }
        } else {
            const ModelNode added = pickNode();
            const auto [node, isNew] = map.insertOrAssign(key, nodeOf(added));
            require(isNew == (present == nullptr));
            requireTree(*node, added);
            if (present != nullptr) {
                *present = added;
            } else {
                model.children.emplace_back(key, added);
            }
        }
    }

    // What a path leads to, and what is said where it leads nowhere.
    template <class Node>
    void find(Tree<Node>& tree) {
        PropertyPath path;
        ModelNode* model = &tree.model;
        std::string failure;
        for (std::uint64_t steps = input_.below(8); steps != 0; --steps) {
            const std::size_t number = model == nullptr ? 0 : model->children.size();
            const bool exists = number != 0 && !input_.oneIn(8);
            const std::size_t position = input_.below(exists ? number : number + 2);
            const bool isKey = exists ? model->form == Form::map : input_.below(2) == 0;
            const std::string key = isKey && exists ? model->children[position].first : input_.pick(keys);
            path = isKey ? path / key : path / position;
            if (model == nullptr) {
                continue;
            } else if (model->form != (isKey ? Form::map : Form::list)) {
                failure = isKey ? "PropertyNode is not a map" : "PropertyNode is not a list";
                model = nullptr;
            } else if (isKey) {
                model = model->child(key);
                failure = "Key not found: " + key;
            } else {
                model = position < number ? &model->children[position].second : nullptr;
                failure = "Index not found: " + std::to_string(position);
            }
        }
        const Node& root = tree.node;
        const Node* const found = root.find(path);
        require((found != nullptr) == (model != nullptr));
        try {
            require(&root.at(path) == found);
            requireTree(*found, *model);
            require(path.empty() || root.find(path.parent()) != nullptr);
        } catch (const std::out_of_range& error) {
            require(found == nullptr && error.what() == failure);
        }
    }

    // To plain data and back.
    template <class T, class Pick>
    void encodeAll(const char* name, Pick pick) {
        std::vector<T> elements;
        for (std::uint64_t count = 1 + input_.below(4); count != 0; --count) {
            elements.push_back(pick());
        }
        const bool isScalar = input_.below(2) == 0;
        const ZVariant value = isScalar ? ZVariant::fromCustom(elements[0])
                                        : ZVariant::fromData(elements.data(), elements.size(), {1, elements.size()});
        const EncodedCustomTypeValues encoded = encodeCustomType(value);
        require(encoded.typeName == name && encoded.values.isMap() == isScalar);
        const ZVariant decoded = decodeCustomType(encoded);
        const std::size_t count = isScalar ? 1 : elements.size();
        require(decoded.isScalarStorage() == isScalar && decoded.dimensions() == ArrayDimensionsView({count}));
        for (std::size_t i = 0; i < count; ++i) {
            require(decoded.elementAt<T>(i) == elements[i]);
        }
    }

    void encode() {
        if (input_.below(2) == 0) {
            encodeAll<Leaf>("Leaf", [&] { return Leaf{input_.word<long long>(), input_.text(20)}; });
        } else {
            encodeAll<PropertyPath>("PropertyPath", [&] { return pickPath(); });
        }
    }

    // Any part of a tree, as if it were an encoded path.
    void decode(Tree<PropertyNode>& tree) {
        const auto [node, model] = walk(tree);
        std::vector<PropertyPath> paths;
        const bool isList = model->form == Form::list;
        const char* const kind = failureOf([&, wanted = model] {
            if (!isList) {
                return paths.push_back(decodedPath(*wanted));
            }
            for (auto& child : wanted->children) {
                paths.push_back(decodedPath(child.second));
            }
        });
        ZVariant decoded;
        const EncodedCustomTypeValues encoded{"PropertyPath", *node};
        require(isSameKind(kind, failureOf([&] { decoded = decodeCustomType(encoded); })));
        if (kind == nullptr) {
            require(decoded.isScalarStorage() == !isList && decoded.elementCount() == paths.size());
            for (std::size_t i = 0; i < paths.size(); ++i) {
                require(decoded.elementAt<PropertyPath>(i) == paths[i]);
            }
        }
        const EncodedCustomTypeValues unknown{"a name without a codec", encoded.values};
        require(isSameKind(failureOf([&] { decodeCustomType(unknown); }), "runtime_error"));
    }

    static PropertyPath decodedPath(ModelNode& model) {
        ModelNode* const segments = model.form == Form::map ? model.child("path") : nullptr;
        if (segments == nullptr || segments->form != Form::list) {
            throw "out_of_range";
        }
        PropertyPath path;
        for (const auto& child : segments->children) {
            const ModelValue& value = child.second.value;
            if (child.second.form != Form::value) {
                throw "out_of_range";
            } else if (const auto* const text = std::get_if<std::string>(&value)) {
                path.append(*text);
            } else if (const auto* const number = std::get_if<long long>(&value)) {
                path.append(static_cast<std::uint64_t>(*number));
            } else if (const auto* const array = std::get_if<Numbers>(&value); array != nullptr && array->size() == 1) {
                const long double cast = castPart(array->front(), WellKnownType::unsignedInt64);
                path.append(static_cast<std::uint64_t>(cast));
            } else {
                throw "runtime_error";
            }
        }
        return path;
    }

    PropertyPath pickPath() {
        PropertyPath path;
        for (std::uint64_t count = input_.below(5); count != 0; --count) {
            path.append(input_.below(2) == 0 ? PropertyPathSegment(input_.pick(keys))
                                             : PropertyPathSegment(input_.word<std::uint64_t>()));
        }
        return path;
    }

    // An encoded path among others.
    ModelNode pickNode() {
        switch (input_.below(8)) {
            case 0:
                return {};
            case 1:
                return {Form::list, {}, {{"", pickValue()}, {"", pickValue()}}};
            case 2:
                return {Form::map, {}, {{"path", {Form::list, {}, {{"", pickValue()}}}}}};
            case 3:
                return {Form::map, {}, {{input_.pick(keys), pickValue()}}};
            case 4:
                return {input_.below(2) == 0 ? Form::list : Form::map};
            default:
                return pickValue();
        }
    }

    ModelNode pickValue() {
        switch (input_.below(8)) {
            case 0:
                return {Form::value, std::monostate()};
            case 1:
                return {Form::value, pickPath()};
            case 2:
            case 3:
                return pickNumbers();
            case 4:
            case 5:
                return {Form::value, std::string(input_.pick(keys))};
            default:
                return {Form::value, input_.word<long long>()};
        }
    }

    ModelNode pickNumbers() {
        const std::uint64_t count = input_.below(4);
        return {Form::value, Numbers(count, input_.word<std::int32_t>() * 0.25)};
    }

    Input input_;
    Tree<PropertyNode> trees_[3];
    Tree<FPropertyNode> frozen_[3];
};

}  // namespace
}  // namespace Quorvane::Pyx

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Quorvane::Pyx::TreeCalls(bytes, size).run();
    return 0;
}
