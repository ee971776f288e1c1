// How a value reads and writes slices: between the arithmetic of indices and the copying of elements.
#pragma once

#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceWalk.h>
#include <pyx/types/dispatch.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/slice_elements.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {

template <class Storage>
class ZVariantGeneric;

namespace Internal {

// The bodies of the slice operations of ZVariantGeneric, which has their contract. T is the element type that the
// caller named, or `void` where it is the value's own. Selections are made first, so that nothing is read, copied or
// written when one of them fails.
template <class Storage>
class VariantSlices {
public:
    using Variant = ZVariantGeneric<Storage>;

    // Selection is an IndexSet for a flat slice, and a list of them otherwise.
    template <class T, class Selection>
    static Variant read(const Variant& value, const Selection& selection, UseDataOrdering walk) {
        const SliceWalk slice = select(value, selection, walk);
        if (value.isNull()) {
            return {};
        }
        const SliceOperations operations = operationsOf<T>(value);
        requireStored(value, slice);
        Variant result = allocate<T>(value, slice.sliceDimensions(), orderingOfSlice(value, walk));
        operations.gather(value.storage_.constStoredData(), slice, result.storage_.mutableStoredData());
        return result;
    }

    // Values that share the data of `value` keep theirs as they are, because it is made unique.
    template <class T, class Selection>
    static void write(Variant& value, const Selection& selection, Variant values, UseDataOrdering walk) {
        const SliceWalk slice = select(value, selection, walk);
        if (value.isNull()) {
            requireSliceShape(values, slice.sliceDimensions());
            return;
        }
        const SliceOperations operations = operationsOf<T>(value);
        requireStored(value, slice);
        values = values.convertOrThrow(value.wellKnownDataType());
        if (!storeSameClass(value, values)) {
            throw std::invalid_argument("Wrong data type.");
        }
        requireSliceShape(values, slice.sliceDimensions());
        if (slice.elementCount() == 0) {
            return;
        }
        void* const target = value.storage_.mutableStoredData();
        if (overlap(target, value.numberAllocatedElements(), values.storage_.constStoredData(),
                    values.numberAllocatedElements(), operations.elementSize)) {
            // Both look at the same memory of a client.
            values = values.reshaped(values.dimensions(), values.dataOrdering());
        }
        const auto copyElements = values.isScalarStorage() ? operations.spread : operations.scatter;
        copyElements(values.storage_.constStoredData(), slice, target);
    }

    // The place in storage of the element at the indices; 0 where a value without dimensions has none.
    static std::uint64_t positionOf(const Variant& value, const std::vector<std::uint64_t>& indices) {
        const ArrayDimensionsView shape = value.dimensions();
        if (!std::equal(indices.begin(), indices.end(), shape.begin(), shape.end(), std::less<>())) {
            // Which fails, and tells what is wrong.
            (void)select(value, ArraySliceFromIndices(indices), UseDataOrdering::WalkDataOrdering);
        }
        return value.dataOrdering() == DataOrdering::RowMajor
                   ? ArrayIndexing::calculateOffsetRowMajor(indices, shape, false)
                   : ArrayIndexing::calculateOffsetColumnMajor(indices, shape, false);
    }

    static Variant scalarAt(const Variant& value, std::uint64_t position) {
        value.requireNotNull();
        if constexpr (Storage::holdsCustomClasses) {
            if (value.wellKnownDataType() == WellKnownType::customType) {
                value.requirePosition(position);
                return Variant(value.storage_.customScalarAt(position));
            }
        }
        return visitElementType(value, [&](auto tag) {
            return Variant(readElement(value.template elementAt<typename decltype(tag)::type>(position)));
        });
    }

private:
    // Calls visitor(ElementTag<T>{}) for the type of the elements.
    template <class Visitor>
    static auto visitElementType(const Variant& value, Visitor visitor) {
        return dispatchElementType(value.wellKnownDataType(),
                                   [&](auto tag) -> std::invoke_result_t<Visitor, ElementTag<int>> {
                                       if constexpr (canReadTexts<typename decltype(tag)::type>) {
                                           return visitor(tag);
                                       } else {
                                           throwTextsAreForeign();
                                       }
                                   });
    }

    template <class T>
    static constexpr bool canReadTexts = sharesStandardLibrary || !std::is_same_v<T, std::string>;

    static SliceWalk select(const Variant& value, const std::vector<IndexSet>& sets, UseDataOrdering walk) {
        return {sets, value.dimensions(), value.dataOrdering(), walk};
    }

    static SliceWalk select(const Variant& value, const IndexSet& set, UseDataOrdering walk) {
        // The walk resolves unchecked where there are no elements, which would not end for a whole axis.
        if (value.elementCount() == 0 && !set.items().empty()) {
            throw std::out_of_range("Index value out-of-range");
        }
        return {set, value.dimensions(), value.dataOrdering(), walk};
    }

    // The ordering in which elements follow each other that are taken in the order of the walk. In one dimension, where
    // it makes no difference, the walk may be anything.
    static DataOrdering orderingOfSlice(const Variant& value, UseDataOrdering walk) {
        switch (walk) {
            case UseDataOrdering::WalkRowMajor:
                return DataOrdering::RowMajor;
            case UseDataOrdering::WalkColumnMajor:
                return DataOrdering::ColumnMajor;
            default:
                return value.dataOrdering();
        }
    }

    template <class T>
    static SliceOperations operationsOf(const Variant& value) {
        if constexpr (!std::is_void_v<T>) {
            value.template requireElements<T>();
            return sliceOperationsOf<T>();
        } else {
            if constexpr (Storage::holdsCustomClasses) {
                if (value.wellKnownDataType() == WellKnownType::customType) {
                    return value.storage_.customElements().sliceOperations;
                }
            }
            return visitElementType(value, [](auto tag) { return sliceOperationsOf<typename decltype(tag)::type>(); });
        }
    }

    // An array of the shape for elements of the value's type, all of which are going to be written.
    template <class T>
    static Variant allocate(const Variant& value, ArrayDimensionsView dimensions, DataOrdering ordering) {
        if constexpr (!std::is_void_v<T>) {
            return Variant::template allocate<T>(dimensions, ordering);
        } else {
            if constexpr (Storage::holdsCustomClasses) {
                if (value.wellKnownDataType() == WellKnownType::customType) {
                    return Variant(value.storage_.allocateCustomElements(dimensions, ordering));
                }
            }
            return visitElementType(value, [&](auto tag) {
                return Variant::template allocate<typename decltype(tag)::type>(dimensions, ordering);
            });
        }
    }

    static void requireStored(const Variant& value, const SliceWalk& slice) {
        const std::uint64_t allocated = value.numberAllocatedElements();
        if (holdsShape(allocated, value.dimensions())) {
            return;
        }
        slice.forEachRun([=](const PositionRun& run) {
            if (std::max(run.first, run.last()) >= allocated) {
                throw std::out_of_range("Indices out of bounds.");
            }
        });
    }

    // Both have the same code.
    static bool storeSameClass(const Variant& left, const Variant& right) {
        if constexpr (Storage::holdsCustomClasses) {
            return left.wellKnownDataType() != WellKnownType::customType ||
                   left.storedTypeInfo() == right.storedTypeInfo();
        } else {
            return true;
        }
    }

    // Refuses values that cannot be written to a slice of the shape.
    static void requireSliceShape(const Variant& values, ArrayDimensionsView shape) {
        if (values.isScalarStorage()) {
            return;
        }
        if (values.dimensions() != shape) {
            throw std::invalid_argument("Cannot write data of shape " + shapeText(values.dimensions()) +
                                        " to a slice of shape " + shapeText(shape) + ".");
        }
        if (shape.elementCount() != 0 && !holdsShape(values.numberAllocatedElements(), shape)) {
            throw std::out_of_range("Indices out of bounds.");
        }
    }

    static std::string shapeText(ArrayDimensionsView shape) {
        std::string text = "[";
        for (const std::uint64_t length : shape) {
            text += (text.size() == 1 ? "" : ", ") + std::to_string(length);
        }
        return text + "]";
    }

    // Counts are of elements.
    static bool overlap(const void* left, std::uint64_t leftCount, const void* right, std::uint64_t rightCount,
                        std::uint64_t elementSize) {
        const auto leftStart = reinterpret_cast<std::uintptr_t>(left);
        const auto rightStart = reinterpret_cast<std::uintptr_t>(right);
        return leftStart < rightStart + rightCount * elementSize && rightStart < leftStart + leftCount * elementSize;
    }
};

}  // namespace Internal
}  // namespace Quorvane::Pyx
