// The exported functions that make data objects. They raise exceptions; the flat C interface has guarded forms.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/types/element_types.h>
#include <pyx/types/export.h>

#include <cstdint>
#include <vector>

namespace Quorvane::PYXCORE_PYX {
class ExternalVariantStorageInterface;
}

namespace Quorvane::PYXCORE_PYX::Internal {

class IVariantData;
class ZVariantDirectStorage;

// The static null object of the native side. Never compare with it: null-ness is the type code 0. Cannot fail.
PYXCORE_API IVariantData* constructVariantNull();

// T is any of the twenty-five element types. Builds a non-counted scalar in `storage` when `room`, in bytes, is enough
// for it, and a counted one on the heap otherwise. The result is what to hold: the storage, which the caller ends by
// the destructor, or a new reference. When it fails, nothing has been built.
template <class T>
PYXCORE_API IVariantData* constructVariantScalar(void* storage, std::uint64_t room, T value);

// Builds the non-counted scalar in `storage` and returns it. Deliberately does not look at the room.
template <class T>
PYXCORE_API IVariantData* moveVariantScalar(void* storage, std::uint64_t room, T&& value);

// As constructVariantScalar with a copy of the element of `source`, which holds a scalar inline. Raises
// std::runtime_error "unknown type" or "not a numeric type" when its type is no element type.
PYXCORE_API IVariantData* copyConstructVariantScalar(void* storage, std::uint64_t room,
                                                     const ZVariantDirectStorage& source);

// As moveVariantScalar with the element of `source`, which is left valid: a text is empty afterwards. Raises as
// copyConstructVariantScalar does. Deliberately does not look at the room.
PYXCORE_API IVariantData* moveConstructVariantScalar(void* storage, std::uint64_t room, ZVariantDirectStorage& source);

// A new array of the shape; without dimensions an empty one. Real numbers and booleans are uninitialised, all other
// elements default. A new reference.
template <class T>
PYXCORE_API IVariantData* constructVariantVectorWithoutDataWithDimsUnresolved(ArrayDimensionsView dimensions,
                                                                              DataOrdering ordering);

// A new scalar, and a new array of the shape, of default elements: 0, false or empty. A new reference. Raise as
// dispatchElementType does when the code has no element type.
PYXCORE_API IVariantData* constructDefaultScalar(WellKnownType type);
PYXCORE_API IVariantData* constructDefaultArray(WellKnownType type, ArrayDimensionsView dimensions,
                                                DataOrdering ordering);

// A new array with copies of the `length` elements of T at `data`, in storage order; without dimensions it has one, as
// long as the data. A new reference. Raises std::length_error "dimensions do not match data length".
template <class T>
PYXCORE_API IVariantData* constructVariantVectorWithDataWithDimsUnresolved(const void* data, std::uint64_t length,
                                                                           ArrayDimensionsView dimensions,
                                                                           DataOrdering ordering);

// A new array that adopts the vector; not for bool. Where the dimensions are empty or hold a 0, an array with elements
// gets one dimension of their number. A new reference. Raises std::length_error "dimensions do not match data length".
template <class T>
PYXCORE_API IVariantData* constructVariantDataFromMovedVector(std::vector<T> elements, ArrayDimensionsView dimensions,
                                                              DataOrdering ordering);

// A new array that shows the elements in a client's storage, which is borrowed: see ExternalVariantStorageInterface for
// who tells whom when one of them ends. A new reference. When it fails, the storage still serves whom it served.
PYXCORE_API IVariantData* constructVariantExternal(ExternalVariantStorageInterface* storage);

// A new array that shows the storage of `data`, which must be counted, as the other kind of numbers: the length of the
// fastest dimension is halved, rounded down, or doubled. The data must be real or complex as the name says, which is
// not tested: the elements of the result must not be read otherwise. A new reference, in place of that on `data`, which
// is taken over also when it fails: with std::invalid_argument "Cannot create a view of data without dimensions.",
// std::bad_array_new_length where memory runs out, or what a client's storage raises. Only a failure with
// std::bad_alloc itself, when there is no memory for the view, leaves it with the caller.
PYXCORE_API IVariantData* constructTransmuteRealToComplexVariant(IVariantData* data);
PYXCORE_API IVariantData* constructTransmuteComplexToRealVariant(IVariantData* data);

}  // namespace Quorvane::PYXCORE_PYX::Internal
