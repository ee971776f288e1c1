// The two questions whether two data objects are equal.
#pragma once

#include <pyx/types/export.h>
#include <pyx/variant/ConversionMode.h>
#include <pyx/variant/IVariantData.h>

namespace Quorvane::PYXCORE_PYX::Internal {

// Both only read, so any thread may ask while nobody writes; neither takes references from its caller. Elements that a
// shape promises and the storage does not have count as default, but for those of custom classes, which differ from all
// others. The elements of two custom objects are taken to be of one class; where both objects tell that they are not,
// they differ.

// Whether type, shape, ordering and elements are the same; whether the storage is a scalar or an array does not matter.
// Two null values are identical. Raises what == of a custom class raises, and std::runtime_error "unknown type" or "not
// a numeric type" for a code that is no element type.
PYXCORE_API bool isIdenticalTo(const IVariantData& left, const IVariantData& right);

// Whether the shapes are the same and the elements equal at the same indices, in the common type of the two
// (WellKnownType::getCommonWellKnownType) and whatever the ordering. All values without elements are equivalent, and
// types without a common one never are. The mode is that of the conversions: for numbers any of the three. A
// std::exception that a conversion, a reordering or a comparison of elements raises, be it std::bad_alloc, gives false,
// as does a refused conversion; what the objects raise when asked for their type or shape passes, but from two custom
// scalars, which are compared by identity. Of two objects of one type the right one is reordered, as reorderData does
// it: deliberately also where a row-major one hides elements, which then count, and with an attached storage of a
// client on the right, where it fails.
PYXCORE_API bool isEquivalentTo(const IVariantData& left, const IVariantData& right, ConversionMode mode);

}  // namespace Quorvane::PYXCORE_PYX::Internal
