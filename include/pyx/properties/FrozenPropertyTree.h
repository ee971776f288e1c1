// The frozen form of a property tree: made once from the working form and constant from then on, so that a copy is one
// atomic increment, whatever the size, and any number of threads may read it. FPropertyNode, FPropertyList,
// FPropertyMap.
#pragma once

#include <pyx/properties/PropertyTree.h>
#include <pyx/properties/tree_access.h>
#include <pyx/types/InternedString.h>
#include <pyx/variant/ZVariant.h>

#include <cstddef>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

class FPropertyNode;
struct FPropertyMapEntry;

namespace Internal {
class FPropertyNodeImpl;
struct FPropertyListData;
struct FPropertyMapData;
}  // namespace Internal

// One handle object may not be assigned to while another thread reads it; everything else is free of races. What a
// handle leads to lives as long as any handle on it.

// A handle on frozen nodes in order. A handle without data is an empty list. Positions must be below size() but where
// std::out_of_range is told.
class FPropertyList {
public:
    using value_type = FPropertyNode;
    using const_iterator = const FPropertyNode*;

    FPropertyList() = default;
    // Freezes every element. Raises std::bad_alloc, and has then changed nothing.
    explicit FPropertyList(const PropertyList& list);

    std::size_t size() const noexcept;
    bool empty() const noexcept { return size() == 0; }
    const FPropertyNode* begin() const noexcept;
    const FPropertyNode* end() const noexcept;
    const FPropertyNode& operator[](std::size_t position) const;
    // Raises std::out_of_range "Index not found: " and the position.
    const FPropertyNode& at(std::size_t position) const;

    // What a handle without data reads.
    PYXCORE_API static const Internal::FPropertyListData s_nullListData;

private:
    const Internal::FPropertyListData& data() const noexcept { return data_ ? *data_ : s_nullListData; }

    std::shared_ptr<const Internal::FPropertyListData> data_;
};

// A handle on keys and frozen nodes, in the order of insertion and without duplicate keys. A handle without data is an
// empty map.
class FPropertyMap {
public:
    using value_type = FPropertyMapEntry;
    using const_iterator = const FPropertyMapEntry*;

    FPropertyMap() = default;
    // Freezes every entry; of entries with the same key the first one is kept. Raises std::bad_alloc, and has then
    // changed nothing.
    explicit FPropertyMap(const PropertyMap& map);

    std::size_t size() const noexcept;
    bool empty() const noexcept { return size() == 0; }
    // Entries, for `for (const auto& [key, node] : map)`.
    const FPropertyMapEntry* begin() const noexcept;
    const FPropertyMapEntry* end() const noexcept;
    bool contains(InternedString key) const;
    // Null when there is no such key.
    const FPropertyNode* find(InternedString key) const;
    // Raises std::out_of_range "Key not found: " and the key.
    const FPropertyNode& at(InternedString key) const;

    // What a handle without data reads.
    PYXCORE_API static const Internal::FPropertyMapData s_nullMapData;

private:
    const Internal::FPropertyMapData& data() const noexcept { return data_ ? *data_ : s_nullMapData; }

    std::shared_ptr<const Internal::FPropertyMapData> data_;
};

// A handle on a frozen null, value, list or map. A handle without content is null.
class FPropertyNode {
public:
    FPropertyNode() = default;
    // Freezes the node and all below it; data of values are shared. Raises std::bad_alloc, and has then changed
    // nothing.
    explicit FPropertyNode(const PropertyNode& node);
    // A node around a list or map that is frozen already.
    explicit FPropertyNode(FPropertyList list);
    explicit FPropertyNode(FPropertyMap map);

    bool isNull() const noexcept;
    bool isValue() const noexcept;
    bool isList() const noexcept;
    bool isMap() const noexcept;

    // Raise std::out_of_range "PropertyNode is not a value", "... a list" and "... a map".
    const ZVariant& value() const&;
    const FPropertyList& list() const&;
    const FPropertyMap& map() const&;
    ZVariant value() const&& { return value(); }
    FPropertyList list() const&& { return list(); }
    FPropertyMap map() const&& { return map(); }

    // The node at a path below this one; null when there is none.
    const FPropertyNode* find(const PropertyPath& path) const { return Internal::findAtPath(*this, path); }
    // The same; raises std::out_of_range as value(), list(), map() and at() of a list or map do.
    const FPropertyNode& at(const PropertyPath& path) const { return Internal::getAtPath(*this, path); }

    // Whether both are handles on one object, or both null without content.
    bool sharesContentWith(const FPropertyNode& other) const noexcept { return content_ == other.content_; }

private:
    std::shared_ptr<const Internal::FPropertyNodeImpl> content_;
};

struct FPropertyMapEntry {
    InternedString key;
    FPropertyNode value;
};

namespace Internal {

struct FPropertyListData {
    std::vector<FPropertyNode> nodes;
};

struct FPropertyMapData {
    std::vector<FPropertyMapEntry> entries;
};

class FPropertyNodeImpl {
public:
    // A node without a value, not even null, becomes null.
    explicit FPropertyNodeImpl(const PropertyNode& node) {
        if (node.isValue()) {
            content.emplace<ZVariant>(node.value());
        } else if (node.isList()) {
            content.emplace<FPropertyList>(node.list());
        } else if (node.isMap()) {
            content.emplace<FPropertyMap>(node.map());
        }
    }

    explicit FPropertyNodeImpl(FPropertyList&& list) : content(std::move(list)) {}
    explicit FPropertyNodeImpl(FPropertyMap&& map) : content(std::move(map)) {}

    std::variant<std::monostate, ZVariant, FPropertyList, FPropertyMap> content;
};

}  // namespace Internal

inline FPropertyNode::FPropertyNode(const PropertyNode& node)
    : content_(node.isNull() ? nullptr : std::make_shared<const Internal::FPropertyNodeImpl>(node)) {}

inline FPropertyNode::FPropertyNode(FPropertyList list)
    : content_(std::make_shared<const Internal::FPropertyNodeImpl>(std::move(list))) {}

inline FPropertyNode::FPropertyNode(FPropertyMap map)
    : content_(std::make_shared<const Internal::FPropertyNodeImpl>(std::move(map))) {}

inline bool FPropertyNode::isNull() const noexcept {
    return content_ == nullptr || std::holds_alternative<std::monostate>(content_->content);
}

inline bool FPropertyNode::isValue() const noexcept {
    return content_ != nullptr && std::holds_alternative<ZVariant>(content_->content);
}

inline bool FPropertyNode::isList() const noexcept {
    return content_ != nullptr && std::holds_alternative<FPropertyList>(content_->content);
}

inline bool FPropertyNode::isMap() const noexcept {
    return content_ != nullptr && std::holds_alternative<FPropertyMap>(content_->content);
}

inline const ZVariant& FPropertyNode::value() const& {
    if (!isValue()) {
        Internal::throwNotAValue();
    }
    return *std::get_if<ZVariant>(&content_->content);
}

inline const FPropertyList& FPropertyNode::list() const& {
    if (!isList()) {
        Internal::throwNotAList();
    }
    return *std::get_if<FPropertyList>(&content_->content);
}

inline const FPropertyMap& FPropertyNode::map() const& {
    if (!isMap()) {
        Internal::throwNotAMap();
    }
    return *std::get_if<FPropertyMap>(&content_->content);
}

inline FPropertyList::FPropertyList(const PropertyList& list) {
    Internal::FPropertyListData data;
    data.nodes.reserve(list.size());
    for (const PropertyNode& node : list) {
        data.nodes.emplace_back(node);
    }
    data_ = std::make_shared<const Internal::FPropertyListData>(std::move(data));
}

inline std::size_t FPropertyList::size() const noexcept {
    return data().nodes.size();
}

inline const FPropertyNode* FPropertyList::begin() const noexcept {
    return data().nodes.data();
}

inline const FPropertyNode* FPropertyList::end() const noexcept {
    return begin() + size();
}

inline const FPropertyNode& FPropertyList::operator[](std::size_t position) const {
    return data().nodes[position];
}

inline const FPropertyNode& FPropertyList::at(std::size_t position) const {
    if (position >= size()) {
        Internal::throwIndexNotFound(position);
    }
    return data().nodes[position];
}

inline FPropertyMap::FPropertyMap(const PropertyMap& map) {
    Internal::FPropertyMapData data;
    data.entries.reserve(map.size());
    for (const PropertyMapEntry& entry : map) {
        // Converted before it is known whether it is kept, so that a failure to convert it is always seen.
        FPropertyNode node(entry.value);
        if (Internal::findKey(data.entries.begin(), data.entries.end(), entry.key) == data.entries.end()) {
            data.entries.push_back({entry.key, std::move(node)});
        }
    }
    data_ = std::make_shared<const Internal::FPropertyMapData>(std::move(data));
}

inline std::size_t FPropertyMap::size() const noexcept {
    return data().entries.size();
}

inline const FPropertyMapEntry* FPropertyMap::begin() const noexcept {
    return data().entries.data();
}

inline const FPropertyMapEntry* FPropertyMap::end() const noexcept {
    return begin() + size();
}

inline bool FPropertyMap::contains(InternedString key) const {
    return find(key) != nullptr;
}

inline const FPropertyNode* FPropertyMap::find(InternedString key) const {
    const FPropertyMapEntry* const entry = Internal::findKey(begin(), end(), key);
    return entry != end() ? &entry->value : nullptr;
}

inline const FPropertyNode& FPropertyMap::at(InternedString key) const {
    const FPropertyNode* const node = find(key);
    if (node == nullptr) {
        Internal::throwKeyNotFound(key);
    }
    return *node;
}

}  // namespace Quorvane::PYXCORE_PYX
