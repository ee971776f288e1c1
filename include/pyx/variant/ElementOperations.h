// What the data classes need to know about their element type.
#pragma once

#include <pyx/types/element_types.h>
#include <pyx/variant/IVariantData.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Quorvane::PYXCORE_PYX::Internal {

// For the twenty-five element types: compiled once, inside the library.
template <class T>
struct WellKnownElementOperations {
    static constexpr WellKnownType type = ElementTraits<T>::code;

    static CustomTypeOperations* customTypeOperations() { return nullptr; }

    // The bodies of IVariantData::convertDataTo, for one value and for an array that stores T.
    static IVariantData* convertScalar(const T& value, WellKnownType target, ConversionMode mode);
    static IVariantData* convertArray(const IVariantData& source, WellKnownType target, ConversionMode mode);

    // The body of IVariantData::reorderData for an array that stores T in another ordering than the wanted one.
    static IVariantData* reorder(const IVariantData& source, DataOrdering wanted);

    // The body of IVariantData::reshapeToZVariant.
    static IVariantData* rebuild(const IVariantData* source, ArrayDimensionsView wanted, DataOrdering ordering);
};

// The same for a custom class, instantiated where the class is used: in CustomElementOperations.h.
template <class T>
struct CustomElementOperations;

// The one place in which element types differ for the data classes.
template <class T>
using ElementOperations =
    std::conditional_t<isWellKnownElement<T>, WellKnownElementOperations<T>, CustomElementOperations<T>>;

// The body of IVariantData::reorderData for an array that stores T.
template <class T>
IVariantData* reorderArray(IVariantData& array, DataOrdering wanted) {
    if (wanted == array.dataOrdering()) {
        array.copy();
        return &array;
    }
    return ElementOperations<T>::reorder(array, wanted);
}

// An element by value: any byte but 0 is true.
template <class T>
T readElement(const T& element) {
    if constexpr (std::is_same_v<T, bool>) {
        return reinterpret_cast<const unsigned char&>(element) != 0;
    } else {
        return element;
    }
}

// The bytes of a bool may hold more than 0 and 1 when they come from outside, so plain elements are copied as bytes.
template <class T>
void copyElements(T* target, const T* source, std::uint64_t count) {
    if constexpr (!std::is_trivially_copyable_v<T>) {
        std::copy_n(source, count, target);
    } else if (count != 0) {
        std::memcpy(static_cast<void*>(target), source, count * sizeof(T));
    }
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
