// How a value reads and writes slices: between the arithmetic of indices and the copying of elements.
#pragma once

#include <pyx/abi/c_api.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceWalk.h>
#include <pyx/types/dispatch.h>
#include <pyx/variant/slice_elements.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

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
        if constexpr (copiesStrings) {
            if (value.wellKnownDataType() == WellKnownType::string) {
                return readStrings(value, slice, orderingOfSlice(value, walk));
            }
        }
        Variant result = allocate<T>(value, slice.sliceDimensions(), orderingOfSlice(value, walk));
        operations.gather(value.storage_.constStoredData(), slice, result.storage_.mutableStoredData());
        return result;
    }

    // Values that share the data of `value` keep theirs as they are.
    template <class T, class Selection>
    static void write(Variant& value, const Selection& selection, Variant values, UseDataOrdering walk) {
        const SliceWalk slice = select(value, selection, walk);
        if (value.isNull()) {
            if (!values.isNull()) {
                requireSliceShape(values, slice.sliceDimensions());
            }
            return;
        }
        const SliceOperations operations = operationsOf<T>(value);
        requireStored(value, slice);
        requireAllStored(values);
        values = convert<T>(std::move(values), value);
        requireSliceShape(values, slice.sliceDimensions());
        if (slice.elementCount() == 0) {
            // A write makes the value the only holder of its data, whether or not there is an element to write.
            (void)value.storage_.mutableStoredData();
            return;
        }
        if constexpr (copiesStrings) {
            if (value.wellKnownDataType() == WellKnownType::string) {
                writeStrings(value, slice, values);
                return;
            }
        }
        if (operations.arePlain && values.isScalarStorage()) {
            void* const target = value.storage_.mutableStoredData();
            operations.spread(values.storage_.constStoredData(), slice, target);
            return;
        }
        // A copy of elements that can fail is made before the first of them is replaced. And where both look at the
        // same memory, a copy of the values leaves it to this value, which may be the only holder of a client's memory
        // then.
        if (!operations.arePlain || overlap(value, values, operations.elementSize)) {
            values = copyElements<T>(values, slice.sliceDimensions(), operations);
        }
        // Held where a move may fail half-way: the value is written in a copy of its data then, and gets these back.
        Variant former = operations.scatterCannotFail ? Variant() : value;
        void* const target = value.storage_.mutableStoredData();
        try {
            // Only the elements of the copy are moved, all others are read.
            operations.scatter(const_cast<void*>(values.storage_.constStoredData()), slice, target);
        } catch (...) {
            value = std::move(former);
            throw;
        }
    }

    // The place in storage of the element at the indices; 0 where a value without dimensions has none.
    static std::uint64_t positionOf(const Variant& value, const std::vector<std::uint64_t>& indices) {
        const ArrayDimensionsView shape = value.dimensions();
        const bool areInside = std::equal(indices.begin(), indices.end(), shape.begin(), shape.end(), std::less<>());
        if (!areInside) {
            // Raises what is wrong with them.
            [[maybe_unused]] const SliceWalk failing =
                select(value, ArraySliceFromIndices(indices), UseDataOrdering::WalkDataOrdering);
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
        return dispatchElementType(value.wellKnownDataType(), [&](auto tag) {
            return Variant(value.template readAt<typename decltype(tag)::type>(position));
        });
    }

private:
    // Whether strings are no objects of this module's class. They are copied in and out then, and an array of them that
    // is written is made anew.
    static constexpr bool copiesStrings = !Storage::template readsInPlace<std::string>;

    static Variant readStrings(const Variant& value, const SliceWalk& slice, DataOrdering ordering) {
        std::vector<PyxString> strings(slice.elementCount());
        gatherElements<PyxString>(value.storage_.constStoredData(), slice, strings.data());
        return Variant(Storage::fromStrings(strings, slice.sliceDimensions(), ordering));
    }

    // The values are strings of the shape of the slice, or one.
    static void writeStrings(Variant& value, const SliceWalk& slice, const Variant& values) {
        std::vector<PyxString> strings = allStringsOf(value);
        std::vector<PyxString> written = allStringsOf(values);
        if (values.isScalarStorage()) {
            spreadElement<PyxString>(written.data(), slice, strings.data());
        } else {
            scatterElements<PyxString>(written.data(), slice, strings.data());
        }
        if (value.isScalarStorage()) {
            value = Variant(Storage::fromString(strings.front()));
            return;
        }
        // Elements that the shape hides stay.
        std::vector<std::uint64_t> lengths(value.dimensions().size(), 1);
        lengths.front() = strings.size();
        Variant changed(Storage::fromStrings(strings, lengths, value.dataOrdering()));
        changed.reshapeNoRealloc(value.dimensions());
        value = std::move(changed);
    }

    // Also those that the shape hides; what it promises beyond them is empty.
    static std::vector<PyxString> allStringsOf(const Variant& value) {
        const auto* const stored = static_cast<const PyxString*>(value.storage_.constStoredData());
        std::vector<PyxString> strings(stored, stored + value.numberAllocatedElements());
        strings.resize(std::max<std::size_t>(strings.size(), value.elementCount()), PyxString_borrow("", 0));
        return strings;
    }

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
            return dispatchElementType(value.wellKnownDataType(),
                                       [](auto tag) { return sliceOperationsOf<typename decltype(tag)::type>(); });
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
            return dispatchElementType(value.wellKnownDataType(), [&](auto tag) {
                return Variant::template allocate<typename decltype(tag)::type>(dimensions, ordering);
            });
        }
    }

    static void requireStored(const Variant& value, const SliceWalk& slice) {
        const std::uint64_t allocated = value.numberAllocatedElements();
        if (holdsShape(allocated, value.dimensions())) {
            return;
        }
        // One by one, since offsets of a shape whose product wraps go up and down. A copy of a view has as many
        // elements as that product.
        const std::uint64_t stored = std::min(allocated, value.elementCount());
        slice.forEachRun([=](const PositionRun& run) {
            for (std::uint64_t i = 0; i < run.count; ++i) {
                if (run.first + i * run.step >= stored) {
                    throw std::out_of_range("Indices out of bounds.");
                }
            }
        });
    }

    // The same for all elements of the shape.
    static void requireAllStored(const Variant& values) {
        if (values.elementCount() != 0 && !holdsShape(values.numberAllocatedElements(), values.dimensions())) {
            throw std::out_of_range("Indices out of bounds.");
        }
    }

    // The values in the element type of `value`.
    template <class T>
    static Variant convert(Variant values, const Variant& value) {
        const WellKnownType type = value.wellKnownDataType();
        Variant converted = values.convertOrThrow(type);
        if (converted.wellKnownDataType() != type) {
            // A view converts to a view, which reports another type.
            converted =
                copyElements<void>(values, values.dimensions(), operationsOf<void>(values)).convertOrThrow(type);
        }
        if constexpr (Storage::holdsCustomClasses) {
            if (type == WellKnownType::customType && converted.storedTypeInfo() != value.storedTypeInfo()) {
                throw std::invalid_argument("Wrong data type.");
            }
        }
        return converted;
    }

    // A new array of the shape with the elements of the values, or with the one value everywhere.
    template <class T>
    static Variant copyElements(const Variant& values, ArrayDimensionsView shape, const SliceOperations& operations) {
        const std::uint64_t count = shape.elementCount();
        const SliceWalk whole(count == 0 ? IndexSet() : IndexSet(IndexRange::all), ArrayDimensionsView(&count, 1),
                              DataOrdering::RowMajor, UseDataOrdering::WalkRowMajor);
        Variant copy = allocate<T>(values, shape, values.dataOrdering());
        const auto put = values.isScalarStorage() ? operations.spread : operations.gather;
        put(values.storage_.constStoredData(), whole, copy.storage_.mutableStoredData());
        return copy;
    }

    // Refuses values that cannot be written to a slice of the shape.
    static void requireSliceShape(const Variant& values, ArrayDimensionsView shape) {
        if (!values.isScalarStorage() && values.dimensions() != shape) {
            throw std::invalid_argument("Cannot write data of shape " + shapeText(values.dimensions()) +
                                        " to a slice of shape " + shapeText(shape) + ".");
        }
    }

    static std::string shapeText(ArrayDimensionsView shape) {
        std::string text = "[";
        for (const std::uint64_t length : shape) {
            text += (text.size() == 1 ? "" : ", ") + std::to_string(length);
        }
        return text + "]";
    }

    // Whether the elements of the two have memory in common. Sizes are in bytes.
    static bool overlap(const Variant& left, const Variant& right, std::uint64_t elementSize) {
        const auto leftStart = reinterpret_cast<std::uintptr_t>(left.storage_.constStoredData());
        const auto rightStart = reinterpret_cast<std::uintptr_t>(right.storage_.constStoredData());
        return leftStart <= rightStart ? (rightStart - leftStart) / elementSize < left.numberAllocatedElements()
                                       : (leftStart - rightStart) / elementSize < right.numberAllocatedElements();
    }
};

}  // namespace Internal
}  // namespace Quorvane::PYXCORE_PYX
