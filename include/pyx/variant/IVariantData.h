// The abstract data object behind every value: null, scalar, array, a client's storage or a view of another object.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/types/WellKnownType.h>
#include <pyx/variant/ConversionMode.h>

#include <cstdint>
#include <typeinfo>

namespace Quorvane::PYXCORE_PYX::Internal {

// What elements of a custom class can do beyond their code, which says nothing about them.
struct CustomTypeOperations {
    // Compares two runs of `count` elements; `identity` is 1 to ask for identity and 0 for equivalence.
    bool (*compareElements)(const void* left, const void* right, std::uint64_t count, std::uint8_t identity);
};

// The order and the arguments of the operations are fixed: clients compiled elsewhere call them by their place. A
// pointer that an operation returns is a reference of its own unless the operation says otherwise; none of them
// consumes the caller's reference but makeUnique and destruct. Several threads may read one object and may count its
// references; a writer must hold it alone, which makeUnique establishes. Every operation that allocates may raise
// std::bad_alloc and then has changed nothing.
class IVariantData {
public:
    virtual ~IVariantData() = default;

    // Takes one more reference.
    virtual void copy() = 0;

    // Gives up one reference; the last one deletes the object.
    virtual void destruct() = 0;

    // Gives an object that this holder alone owns, ready to be written: `this` when it is already so, otherwise a deep
    // copy. Consumes the caller's reference; the result carries one. Strong guarantee: when the copy fails, nothing
    // has changed.
    virtual IVariantData* makeUnique() = 0;

    // The number of elements in the storage. The value consists of as many as the product of `dimensions`, which is
    // less after a shrinking reshape, and more where the shape of an adopted vector has grown into its spare capacity.
    virtual std::uint64_t numberAllocatedElements() const = 0;

    // The shape; valid until the object is reshaped or freed. {1} for a scalar, no dimensions for a null.
    virtual ArrayDimensionsView dimensions() const = 0;

    virtual bool isScalarStorage() const = 0;

    virtual DataOrdering dataOrdering() const = 0;

    // The element type; 0 for a null. Never changes during the life of an object, as far as a client's storage keeps to
    // that.
    virtual WellKnownType wellKnownDataType() const = 0;

    // Tells apart the classes behind the code customType. May be null, as it is for a null value.
    virtual const std::type_info* storedTypeInfo() const = 0;

    // Null but for custom elements, where it is the base of a CustomElements. Borrowed, static.
    virtual CustomTypeOperations* customTypeOperations() const = 0;

    // The same values stored in the given ordering: `this` with one more reference where nothing is to be done. Raises
    // std::runtime_error "Not implemented!" for a client's storage.
    virtual IVariantData* reorderData(DataOrdering wanted) = 0;

    // Changes the shape in place, without moving an element or touching the ordering; views from dimensions are dead
    // afterwards. The present shape always passes, shared or not. Raises std::invalid_argument for any other shape of
    // a scalar, and for any length at all of a null, std::runtime_error when the object is shared and
    // std::length_error when the shape does not fit the storage; then nothing has changed.
    virtual void reshapeNoRealloc(ArrayDimensionsView wanted) = 0;

    // A new array of this object's element type (of which nothing else is used), filled with the first elements of
    // `source` in its storage order; elements without a source are default. The source is borrowed, is not changed, may
    // be null or this object, and must hold elements of the same type, or std::invalid_argument "Wrong data type." is
    // raised. A source that does not tell its class passes by its code. A null value gives a null pointer. A view
    // raises std::runtime_error, and a client's storage deliberately ends the process when the source has more elements
    // than the shape.
    virtual IVariantData* reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted,
                                            DataOrdering ordering) = 0;

    // The first element; null for a null value, null or not for other data without elements. Borrowed.
    virtual const void* constStoredData() const = 0;

    // The same for writing. Does not copy: call makeUnique first.
    virtual void* mutableStoredData() = 0;

    // A new object of the target element type with the same shape and ordering, or a null pointer when the conversion
    // is refused. Raises std::runtime_error "unknown type" or "not a numeric type" for a target that is no element
    // type. A null value gives itself for the target 0, and otherwise an empty array without dimensions. A view gives a
    // view of its own kind of numbers.
    virtual IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) = 0;
};

}  // namespace Quorvane::PYXCORE_PYX::Internal
