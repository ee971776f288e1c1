// A property tree as a list of paths and a list of values, which reach modules that cannot hold a tree.
#pragma once

#include <pyx/properties/PropertyTree.h>
#include <pyx/types/InternedString.h>
#include <pyx/variant/ZVariant.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

// The nodes of a tree that have no children, in order: as many paths as values. A path has a step for each level,
// "/key" or "#position", as in "/sensors#2/gain"; the path of the root is empty. In a key, "~0" stands for '~', "~1"
// for '/' and "~2" for '#'. A node without a value has a null here, and its path ends in "~null", "~list" or "~map".
struct FlatTree {
    std::vector<std::string> paths;
    std::vector<ZVariant> values;
};

namespace Internal {

inline std::string flatStep(InternedString key) {
    std::string step = "/";
    for (const char c : key.view()) {
        switch (c) {
            case '~':
                step += "~0";
                break;
            case '/':
                step += "~1";
                break;
            case '#':
                step += "~2";
                break;
            default:
                step += c;
        }
    }
    return step;
}

inline void flattenInto(FlatTree& flat, const std::string& path, const PropertyNode& node) {
    const auto add = [&](const char* ending, ZVariant value) {
        flat.paths.push_back(path + ending);
        flat.values.push_back(std::move(value));
    };
    if (node.isValue()) {
        add("", node.value());
    } else if (node.isList()) {
        if (node.list().empty()) {
            add("~list", {});
        }
        for (std::size_t i = 0; i < node.list().size(); ++i) {
            flattenInto(flat, path + '#' + std::to_string(i), node.list()[i]);
        }
    } else if (node.isMap()) {
        if (node.map().empty()) {
            add("~map", {});
        }
        for (const PropertyMapEntry& entry : node.map()) {
            flattenInto(flat, path + flatStep(entry.key), entry.value);
        }
    } else {
        add("~null", {});
    }
}

// Reads a path from the front. A malformed path is read as another one, which unflatten notices.
class FlatPath {
public:
    explicit FlatPath(std::string_view path) : path_(path), rest_(path) {}

    // The node of the whole path below `root`, made where it is missing.
    PropertyNode& makeIn(PropertyNode& root) {
        PropertyNode* node = &root;
        while (!rest_.empty() && rest_.front() != '~') {
            node = rest_.front() == '#' ? &makeElement(*node) : &makeEntry(*node);
        }
        return *node;
    }

    // What is left behind the steps.
    std::string_view ending() const { return rest_; }

    [[noreturn]] void refuse() const {
        throw std::invalid_argument("This is no path of a flat tree, or not in its order: " + std::string(path_));
    }

private:
    PropertyNode& makeElement(PropertyNode& node) {
        if (node.isNull()) {
            node = PropertyList();
        }
        const std::string_view digits = takeStep();
        if (!node.isList()) {
            refuse();
        }
        PropertyList& list = node.list();
        const bool isPresent = !list.empty() && digits == std::to_string(list.size() - 1);
        return isPresent ? list[list.size() - 1] : list.append({});
    }

    PropertyNode& makeEntry(PropertyNode& node) {
        if (node.isNull()) {
            node = PropertyMap();
        }
        const InternedString key = takeKey();
        if (!node.isMap()) {
            refuse();
        }
        PropertyNode* const present = node.map().find(key);
        return present != nullptr ? *present : *node.map().insertOrAssign(key, {}).first;
    }

    // The characters of the first step, without the one that begins it.
    std::string_view takeStep() {
        std::size_t end = 1;
        const auto isEscape = [&] { return end + 1 < rest_.size() && rest_[end + 1] >= '0' && rest_[end + 1] <= '2'; };
        while (end < rest_.size() && rest_[end] != '/' && rest_[end] != '#' && (rest_[end] != '~' || isEscape())) {
            ++end;
        }
        const std::string_view step = rest_.substr(1, end - 1);
        rest_.remove_prefix(end);
        return step;
    }

    InternedString takeKey() {
        const std::string_view step = takeStep();
        std::string key;
        for (std::size_t i = 0; i < step.size(); ++i) {
            key += step[i] == '~' ? "~/#"[step[++i] - '0'] : step[i];
        }
        return key;
    }

    std::string_view path_;
    std::string_view rest_;
};

}  // namespace Internal

// The tree below a node. Raises std::bad_alloc. Recurses to the depth of the tree.
[[nodiscard]] inline FlatTree flatten(const PropertyNode& node) {
    FlatTree flat;
    Internal::flattenInto(flat, "", node);
    return flat;
}

// The tree that was flattened; the values share their data with those of the list. Raises std::invalid_argument when a
// path is none, paths contradict each other or are not in order, or there are not as many of them as values.
[[nodiscard]] inline PropertyNode unflatten(const FlatTree& flat) {
    if (flat.paths.size() != flat.values.size()) {
        throw std::invalid_argument("A flat tree has as many paths as values.");
    }
    PropertyNode root;
    for (std::size_t i = 0; i < flat.paths.size(); ++i) {
        Internal::FlatPath path(flat.paths[i]);
        PropertyNode& node = path.makeIn(root);
        if (path.ending().empty()) {
            node = flat.values[i];
        } else if (path.ending() == "~list") {
            node = PropertyList();
        } else if (path.ending() == "~map") {
            node = PropertyMap();
        }
    }
    // A path that is malformed, contradicts another one or is out of order has given a tree with other paths.
    const std::vector<std::string> paths = flatten(root).paths;
    const auto wrong = std::mismatch(flat.paths.begin(), flat.paths.end(), paths.begin(), paths.end()).first;
    if (wrong != flat.paths.end()) {
        Internal::FlatPath(*wrong).refuse();
    }
    return root;
}

}  // namespace Quorvane::PYXCORE_PYX
