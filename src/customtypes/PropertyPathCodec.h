// The codec of paths, which the registry brings along: a map with the one key "path" and a list of the segments.
#pragma once

#include <pyx/customtypes/CustomTypeCodec.h>
#include <pyx/properties/PropertyPath.h>

namespace Quorvane::Pyx::Internal {

// Names become texts and indices unsignedInt64.
PropertyMap encodePropertyPath(const PropertyPath& path);

// Raises std::out_of_range "Key not found: path", "PropertyNode is not a list" and "PropertyNode is not a value", and
// std::runtime_error "Cannot convert ..." for a value that is neither one text nor one number.
PropertyPath decodePropertyPath(const PropertyMap& map);

}  // namespace Quorvane::Pyx::Internal
