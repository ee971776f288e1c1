// The plain form of a value of a custom class.
#pragma once

#include <pyx/properties/PropertyTree.h>

#include <string>

namespace Quorvane::PYXCORE_PYX {

struct EncodedCustomTypeValues {
    // The name under which the codec of the class is registered.
    std::string typeName;
    // A map for a scalar; for an array a list of maps, flat and in storage order: its shape is not kept.
    PropertyNode values;
};

}  // namespace Quorvane::PYXCORE_PYX
