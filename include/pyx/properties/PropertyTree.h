// The working form of a property tree: plain values that own their children. PropertyNode, PropertyList, PropertyMap.
#pragma once

#include <pyx/properties/tree_access.h>
#include <pyx/types/InternedString.h>
#include <pyx/variant/ZVariant.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

class PropertyNode;
struct PropertyMapEntry;

// All three are ordinary values: reading on several threads is safe, a change needs the tree alone. References and
// pointers into a list or map are good until something is inserted into it or erased from it.

// Nodes in order; a null node is an element like any other. Positions must be below size() but where std::out_of_range
// is told.
class PropertyList {
public:
    using value_type = PropertyNode;
    using iterator = std::vector<PropertyNode>::iterator;
    using const_iterator = std::vector<PropertyNode>::const_iterator;

    PropertyList() noexcept;
    PropertyList(const PropertyList& other);
    PropertyList(PropertyList&& other) noexcept;
    // By value: what is assigned may be a part of what it replaces.
    PropertyList& operator=(PropertyList other) noexcept;
    ~PropertyList();
    // `{1, "two", PropertyList{3}}`. Compilers disagree on whether a list alone in braces is copied or becomes an
    // element: write `PropertyList{PropertyNode(list)}` for a list in a list.
    PropertyList(std::initializer_list<PropertyNode> nodes);
    // From a range of nodes, or of what makes one.
    template <class Iterator, std::enable_if_t<Internal::isRangeIterator<Iterator>, int> = 0>
    PropertyList(Iterator begin, Iterator end);

    std::size_t size() const noexcept;
    bool empty() const noexcept { return nodes_.empty(); }
    iterator begin() noexcept { return nodes_.begin(); }
    iterator end() noexcept { return nodes_.end(); }
    const_iterator begin() const noexcept { return nodes_.begin(); }
    const_iterator end() const noexcept { return nodes_.end(); }
    PropertyNode& operator[](std::size_t position);
    const PropertyNode& operator[](std::size_t position) const;
    // Raise std::out_of_range "Index not found: " and the position.
    PropertyNode& at(std::size_t position);
    const PropertyNode& at(std::size_t position) const;

    void reserve(std::size_t count);
    // Returns the new element.
    PropertyNode& append(PropertyNode node);
    // Puts the node in front of `position`, which may be the end. Raises std::out_of_range as at does.
    void insert(std::size_t position, PropertyNode node);
    // Raises std::out_of_range as at does.
    void erase(std::size_t position);
    void clear() noexcept;

private:
    std::vector<PropertyNode> nodes_;
};

// Keys and nodes in the order of insertion. Looking up is a scan from the front that compares pointers.
class PropertyMap {
public:
    using value_type = PropertyMapEntry;
    using iterator = std::vector<PropertyMapEntry>::iterator;
    using const_iterator = std::vector<PropertyMapEntry>::const_iterator;

    PropertyMap() noexcept;
    PropertyMap(const PropertyMap& other);
    PropertyMap(PropertyMap&& other) noexcept;
    // By value: what is assigned may be a part of what it replaces.
    PropertyMap& operator=(PropertyMap other) noexcept;
    ~PropertyMap();
    // `{{"name", "lattice"}, {"seed", 7}}`. Of entries with the same key the first one is kept.
    PropertyMap(std::initializer_list<PropertyMapEntry> entries);
    // From a range of entries.
    template <class Iterator, std::enable_if_t<Internal::isRangeIterator<Iterator>, int> = 0>
    PropertyMap(Iterator begin, Iterator end);

    std::size_t size() const noexcept;
    bool empty() const noexcept { return entries_.empty(); }
    // Entries, for `for (auto& [key, node] : map)`. Do not change a key to one that the map already has.
    iterator begin() noexcept { return entries_.begin(); }
    iterator end() noexcept { return entries_.end(); }
    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }

    bool contains(InternedString key) const;
    // Null when there is no such key.
    PropertyNode* find(InternedString key);
    const PropertyNode* find(InternedString key) const;
    // Raise std::out_of_range "Key not found: " and the key.
    PropertyNode& at(InternedString key);
    const PropertyNode& at(InternedString key) const;

    void reserve(std::size_t count);
    // Returns the node of the key, and whether the key is new.
    std::pair<PropertyNode*, bool> insertOrAssign(InternedString key, PropertyNode node);
    // Keeps the order of the others. Returns whether there was such a key.
    bool erase(InternedString key);
    void clear() noexcept;

private:
    std::vector<PropertyMapEntry> entries_;
};

// A null, a value, a list or a map. Copies are deep, but for the data of values, which are shared until written. A
// moved-from node may only be assigned to or destroyed. Name the class of a map or list in braces, `PropertyMap{...}`:
// bare braces make a list where they compile.
class PropertyNode {
public:
    PropertyNode() = default;
    PropertyNode(const PropertyNode&) = default;
    // A null is not moved: g++ 12 warns, wrongly, that the content of a temporary null is uninitialised.
    PropertyNode(PropertyNode&& other) noexcept {
        if (!other.isNull()) {
            content_ = std::move(other.content_);
        }
    }
    // By value: what is assigned may be a part of what it replaces.
    PropertyNode& operator=(PropertyNode other) noexcept {
        content_ = std::move(other.content_);
        return *this;
    }
    ~PropertyNode() = default;
    PropertyNode(std::nullptr_t) {}
    PropertyNode(PropertyList list) : content_(std::move(list)) {}
    PropertyNode(PropertyMap map) : content_(std::move(map)) {}
    // A value with the text.
    PropertyNode(InternedString text) : PropertyNode(text.view()) {}
    // Whatever a ZVariant can be made of.
    template <class T, std::enable_if_t<std::is_convertible_v<T, ZVariant>, int> = 0>
    PropertyNode(T&& value) : content_(std::in_place_type<ZVariant>, std::forward<T>(value)) {}

    bool isNull() const noexcept { return std::holds_alternative<std::monostate>(content_); }
    bool isValue() const noexcept { return std::holds_alternative<ZVariant>(content_); }
    bool isList() const noexcept { return std::holds_alternative<PropertyList>(content_); }
    bool isMap() const noexcept { return std::holds_alternative<PropertyMap>(content_); }

    // Raise std::out_of_range "PropertyNode is not a value", "... a list" and "... a map".
    ZVariant& value() & { return const_cast<ZVariant&>(std::as_const(*this).value()); }
    PropertyList& list() & { return const_cast<PropertyList&>(std::as_const(*this).list()); }
    PropertyMap& map() & { return const_cast<PropertyMap&>(std::as_const(*this).map()); }
    ZVariant value() && { return std::move(value()); }
    PropertyList list() && { return std::move(list()); }
    PropertyMap map() && { return std::move(map()); }
    const ZVariant& value() const& {
        if (!isValue()) {
            Internal::throwNotAValue();
        }
        return *std::get_if<ZVariant>(&content_);
    }
    const PropertyList& list() const& {
        if (!isList()) {
            Internal::throwNotAList();
        }
        return *std::get_if<PropertyList>(&content_);
    }
    const PropertyMap& map() const& {
        if (!isMap()) {
            Internal::throwNotAMap();
        }
        return *std::get_if<PropertyMap>(&content_);
    }

    // The node at a path below this one; null when there is none.
    PropertyNode* find(const PropertyPath& path) { return Internal::findAtPath(*this, path); }
    const PropertyNode* find(const PropertyPath& path) const { return Internal::findAtPath(*this, path); }
    // The same; raises std::out_of_range as value(), list(), map() and at() of a list or map do.
    PropertyNode& at(const PropertyPath& path) { return Internal::getAtPath(*this, path); }
    const PropertyNode& at(const PropertyPath& path) const { return Internal::getAtPath(*this, path); }

private:
    std::variant<std::monostate, ZVariant, PropertyList, PropertyMap> content_;
};

struct PropertyMapEntry {
    InternedString key;
    PropertyNode value;
};

inline PropertyList::PropertyList() noexcept = default;
inline PropertyList::PropertyList(const PropertyList&) = default;
inline PropertyList::PropertyList(PropertyList&&) noexcept = default;
inline PropertyList::~PropertyList() = default;

inline PropertyList::PropertyList(std::initializer_list<PropertyNode> nodes) : nodes_(nodes) {}

template <class Iterator, std::enable_if_t<Internal::isRangeIterator<Iterator>, int>>
PropertyList::PropertyList(Iterator begin, Iterator end) : nodes_(begin, end) {}

inline PropertyList& PropertyList::operator=(PropertyList other) noexcept {
    nodes_.swap(other.nodes_);
    return *this;
}

inline std::size_t PropertyList::size() const noexcept {
    return nodes_.size();
}

inline PropertyNode& PropertyList::operator[](std::size_t position) {
    return nodes_[position];
}

inline const PropertyNode& PropertyList::operator[](std::size_t position) const {
    return nodes_[position];
}

inline PropertyNode& PropertyList::at(std::size_t position) {
    return const_cast<PropertyNode&>(std::as_const(*this).at(position));
}

inline const PropertyNode& PropertyList::at(std::size_t position) const {
    if (position >= size()) {
        Internal::throwIndexNotFound(position);
    }
    return nodes_[position];
}

inline void PropertyList::reserve(std::size_t count) {
    nodes_.reserve(count);
}

inline PropertyNode& PropertyList::append(PropertyNode node) {
    return nodes_.emplace_back(std::move(node));
}

inline void PropertyList::insert(std::size_t position, PropertyNode node) {
    if (position > size()) {
        Internal::throwIndexNotFound(position);
    }
    nodes_.insert(nodes_.begin() + static_cast<std::ptrdiff_t>(position), std::move(node));
}

inline void PropertyList::erase(std::size_t position) {
    if (position >= size()) {
        Internal::throwIndexNotFound(position);
    }
    nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(position));
}

inline void PropertyList::clear() noexcept {
    nodes_.clear();
}

inline PropertyMap::PropertyMap() noexcept = default;
inline PropertyMap::PropertyMap(const PropertyMap&) = default;
inline PropertyMap::PropertyMap(PropertyMap&&) noexcept = default;
inline PropertyMap::~PropertyMap() = default;

inline PropertyMap::PropertyMap(std::initializer_list<PropertyMapEntry> entries)
    : PropertyMap(entries.begin(), entries.end()) {}

template <class Iterator, std::enable_if_t<Internal::isRangeIterator<Iterator>, int>>
PropertyMap::PropertyMap(Iterator begin, Iterator end) {
    for (; begin != end; ++begin) {
        if (!contains(begin->key)) {
            entries_.push_back(*begin);
        }
    }
}

inline PropertyMap& PropertyMap::operator=(PropertyMap other) noexcept {
    entries_.swap(other.entries_);
    return *this;
}

inline std::size_t PropertyMap::size() const noexcept {
    return entries_.size();
}

inline bool PropertyMap::contains(InternedString key) const {
    return find(key) != nullptr;
}

inline PropertyNode* PropertyMap::find(InternedString key) {
    return const_cast<PropertyNode*>(std::as_const(*this).find(key));
}

inline const PropertyNode* PropertyMap::find(InternedString key) const {
    const auto entry = Internal::findKey(begin(), end(), key);
    return entry != end() ? &entry->value : nullptr;
}

inline PropertyNode& PropertyMap::at(InternedString key) {
    return const_cast<PropertyNode&>(std::as_const(*this).at(key));
}

inline const PropertyNode& PropertyMap::at(InternedString key) const {
    const PropertyNode* const node = find(key);
    if (node == nullptr) {
        Internal::throwKeyNotFound(key);
    }
    return *node;
}

inline void PropertyMap::reserve(std::size_t count) {
    entries_.reserve(count);
}

inline std::pair<PropertyNode*, bool> PropertyMap::insertOrAssign(InternedString key, PropertyNode node) {
    if (PropertyNode* const present = find(key)) {
        *present = std::move(node);
        return {present, false};
    }
    return {&entries_.emplace_back(PropertyMapEntry{key, std::move(node)}).value, true};
}

inline bool PropertyMap::erase(InternedString key) {
    const auto entry = Internal::findKey(begin(), end(), key);
    if (entry == end()) {
        return false;
    }
    entries_.erase(entry);
    return true;
}

inline void PropertyMap::clear() noexcept {
    entries_.clear();
}

}  // namespace Quorvane::PYXCORE_PYX
