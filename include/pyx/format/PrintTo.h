// One-line text of values, paths and property trees. PrintTo is also the function that GoogleTest looks for to show a
// value in a failed test.
#pragma once

#include <pyx/format/value_text.h>
#include <pyx/types/export.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/ZVariant.h>

#include <ostream>
#include <type_traits>

#if PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/properties/FrozenPropertyTree.h>
#include <pyx/properties/PropertyPath.h>
#include <pyx/properties/PropertyTree.h>
#endif

namespace Quorvane::PYXCORE_PYX {

// Writes the text of the value, without a line break: "null" for a null, "[]" for no elements, one element as itself,
// and more in one pair of brackets, in storage order. Sets std::boolalpha on the stream, to stay, when it writes a
// bool. Raises std::runtime_error "Cannot convert ..." for durations and time points and "unknown type" for custom
// elements; what was written before stays in the stream.
#if PYXCORE_SAME_STANDARD_LIBRARY
PYXCORE_API void PrintTo(const ZVariant& value, std::ostream* out);
PYXCORE_API void PrintTo(const ZVariantAbi& value, std::ostream* out);

// A null as "<NULL>", a value as its text, a list as "{1, 2}", a map as "{{'key', 1}, {'other', 2}}", where of entries
// with the same key only the first one appears.
PYXCORE_API void PrintTo(const PropertyNode& node, std::ostream* out);
PYXCORE_API void PrintTo(const PropertyList& list, std::ostream* out);
PYXCORE_API void PrintTo(const PropertyMap& map, std::ostream* out);
PYXCORE_API void PrintTo(const FPropertyNode& node, std::ostream* out);
PYXCORE_API void PrintTo(const FPropertyList& list, std::ostream* out);
PYXCORE_API void PrintTo(const FPropertyMap& map, std::ostream* out);

// The segments, as "{a, 3, b}". Raises std::bad_variant_access for a valueless segment.
PYXCORE_API void PrintTo(const PropertyPath& path, std::ostream* out);
#else
// The library cannot write to this module's streams, so the text is made here, from the same template. Raises
// std::runtime_error as above.
inline void PrintTo(const ZVariantAbi& value, std::ostream* out) {
    Internal::writeValueText(value, *out);
}
#endif

// The same as PrintTo.
template <class Storage>
std::ostream& operator<<(std::ostream& out, const ZVariantGeneric<Storage>& value) {
    PrintTo(value, &out);
    return out;
}

#if PYXCORE_SAME_STANDARD_LIBRARY
namespace Internal {

template <class T, class... Ts>
inline constexpr bool isOneOf = (std::is_same_v<T, Ts> || ...);

// Restricts operator<< to the classes themselves: what converts to a PropertyNode has inserters of its own.
template <class T>
inline constexpr bool isPropertyTree =
    isOneOf<T, PropertyNode, PropertyList, PropertyMap, FPropertyNode, FPropertyList, FPropertyMap, PropertyPath>;

}  // namespace Internal

template <class Tree, std::enable_if_t<Internal::isPropertyTree<Tree>, int> = 0>
std::ostream& operator<<(std::ostream& out, const Tree& tree) {
    PrintTo(tree, &out);
    return out;
}
#endif

}  // namespace Quorvane::PYXCORE_PYX
