// What both property trees say of a form, a key or a position that is not there, and how both are walked.
#pragma once

#include <pyx/properties/PropertyPath.h>
#include <pyx/types/InternedString.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Quorvane::PYXCORE_PYX::Internal {

// The frozen tree deliberately has the texts of the mutable one.
[[noreturn]] inline void throwNotAValue() {
    throw std::out_of_range("PropertyNode is not a value");
}
[[noreturn]] inline void throwNotAList() {
    throw std::out_of_range("PropertyNode is not a list");
}
[[noreturn]] inline void throwNotAMap() {
    throw std::out_of_range("PropertyNode is not a map");
}
[[noreturn]] inline void throwKeyNotFound(InternedString key) {
    throw std::out_of_range("Key not found: " + key.toString());
}
[[noreturn]] inline void throwIndexNotFound(std::size_t position) {
    throw std::out_of_range("Index not found: " + std::to_string(position));
}

// The entry of a key, from the front and by its character pointer; the end when there is none.
template <class Iterator>
Iterator findKey(Iterator begin, Iterator end, InternedString key) {
    return std::find_if(begin, end, [key](const auto& entry) { return entry.key == key; });
}

// The node at a path below `root`, or null when there is none.
template <class Node>
Node* findAtPath(Node& root, const PropertyPath& path) {
    Node* node = &root;
    for (const PropertyPathSegment& segment : path) {
        if (segment.isName()) {
            node = node->isMap() ? node->map().find(segment.name()) : nullptr;
        } else {
            node = node->isList() && segment.index() < node->list().size() ? &node->list()[segment.index()] : nullptr;
        }
        if (node == nullptr) {
            return nullptr;
        }
    }
    return node;
}

// The node at a path below `root`. Raises std::out_of_range, naming what is missing.
template <class Node>
Node& getAtPath(Node& root, const PropertyPath& path) {
    Node* node = &root;
    for (const PropertyPathSegment& segment : path) {
        node = segment.isName() ? &node->map().at(segment.name()) : &node->list().at(segment.index());
    }
    return *node;
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
