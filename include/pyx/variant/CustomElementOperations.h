// What a class of a client answers as an element.
#pragma once

#include <pyx/types/dispatch.h>
#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/array_operations.h>
#include <pyx/variant/factories.h>
#include <pyx/variant/slice_elements.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace Quorvane::PYXCORE_PYX::Internal {

template <class T, class = void>
inline constexpr bool isComparable = false;
template <class T>
inline constexpr bool isComparable<T, std::void_t<decltype(std::declval<const T&>() == std::declval<const T&>())>> =
    true;

// What stands behind the CustomTypeOperations of every data object of this library that holds custom elements.
struct CustomElements : CustomTypeOperations {
    SliceOperations sliceOperations;
    // A new scalar with a copy of the element.
    IVariantData* (*makeScalar)(const void* element);
};

// A custom element has the code customType and is told apart by its type identity, compares by its own ==, and converts
// to no other type, but for elements that equal a default-constructed one: these give defaults in the mode Exact.
template <class T>
struct CustomElementOperations {
    static_assert(
        std::is_class_v<T> && std::is_copy_constructible_v<T> && std::is_copy_assignable_v<T> &&
            std::is_default_constructible_v<T> && isComparable<T>,
        "An element is one of PyxCore's element types, or a class that can be copied, default-constructed and compared "
        "with ==.");

    static constexpr WellKnownType type = WellKnownType::customType;

    static CustomTypeOperations* customTypeOperations() {
        static CustomElements elements{{&compareElements}, sliceOperationsOf<T>(), &makeScalar};
        return &elements;
    }

    static IVariantData* convertScalar(const T& value, WellKnownType target, ConversionMode mode) {
        requireElementType(target);
        return areDefault(std::addressof(value), 1, mode) ? constructDefaultScalar(target) : nullptr;
    }

    static IVariantData* convertArray(const IVariantData& source, WellKnownType target, ConversionMode mode) {
        requireElementType(target);
        const ArrayDimensionsView dimensions = source.dimensions();
        const std::uint64_t shown = dimensions.elementCount();
        const std::uint64_t stored = std::min(shown, source.numberAllocatedElements());
        // Elements that the shape promises and the storage does not have are defaults.
        return shown != 0 && areDefault(static_cast<const T*>(source.constStoredData()), stored, mode)
                   ? constructDefaultArray(target, dimensions, source.dataOrdering())
                   : nullptr;
    }

    static IVariantData* reorder(const IVariantData& source, DataOrdering wanted) {
        auto result = VectorVariantData<T>::make(source.dimensions(), wanted);
        const DataOrdering ordering = source.dataOrdering();
        if (canReorder(ordering, result->numberAllocatedElements())) {
            reorderByElement(static_cast<const T*>(source.constStoredData()), source.numberAllocatedElements(),
                             ordering, source.dimensions(), result->elements());
        }
        return result.release();
    }

    static IVariantData* rebuild(const IVariantData* source, ArrayDimensionsView wanted, DataOrdering ordering) {
        return rebuildArray<T>(source, wanted, ordering);
    }

private:
    static IVariantData* makeScalar(const void* element) {
        return new ScalarVariantDataRefCounted<T>(*static_cast<const T*>(element));
    }

    // Whether the elements may become defaults of another type.
    static bool areDefault(const T* elements, std::uint64_t count, ConversionMode mode) {
        return mode == ConversionMode::Exact &&
               std::all_of(elements, elements + count, [](const T& element) { return element == T{}; });
    }

    // Identity and equivalence are the same for a custom class.
    static bool compareElements(const void* left, const void* right, std::uint64_t count, std::uint8_t) {
        const T* const elements = static_cast<const T*>(left);
        return std::equal(elements, elements + count, static_cast<const T*>(right));
    }
};

}  // namespace Quorvane::PYXCORE_PYX::Internal
