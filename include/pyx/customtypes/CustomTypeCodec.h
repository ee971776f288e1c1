// What the registry holds for a custom class, and how it is made of two functions over one object.
#pragma once

#include <pyx/properties/PropertyTree.h>
#include <pyx/variant/ZVariant.h>

#include <functional>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX::Internal {

struct CustomTypeCodec {
    std::string typeName;                      // the key for decoding
    const std::type_info* typeInfo = nullptr;  // the key for encoding; not owned, not null when it is registered
    std::function<PropertyNode(const ZVariant&)> encoder;
    std::function<ZVariant(const PropertyNode&)> decoder;
};

// Encodes a scalar as the map that `toMap` gives, and an array as the list of the maps of its elements in storage
// order. The result raises what elementAt and valueRange raise for a value of another class.
template <class T>
std::function<PropertyNode(const ZVariant&)> buildCustomTypeZVariantEncoderFunction(
    std::function<PropertyMap(const T&)> toMap) {
    return [toMap = std::move(toMap)](const ZVariant& value) -> PropertyNode {
        if (value.isScalarStorage()) {
            return toMap(value.elementAt<T>(0));
        }
        PropertyList list;
        list.reserve(value.elementCount());
        for (const T& element : value.valueRange<T>()) {
            list.append(toMap(element));
        }
        return list;
    };
}

// Decodes a map to a scalar, and a list of maps to an array of one dimension. The result raises std::out_of_range
// "PropertyNode is not a map" for anything else.
template <class T>
std::function<ZVariant(const PropertyNode&)> buildCustomTypeZVariantDecoderFunction(
    std::function<T(const PropertyMap&)> fromMap) {
    return [fromMap = std::move(fromMap)](const PropertyNode& node) {
        if (!node.isList()) {
            return ZVariant::fromCustom<T>(fromMap(node.map()));
        }
        std::vector<T> elements;
        elements.reserve(node.list().size());
        for (const PropertyNode& element : node.list()) {
            elements.push_back(fromMap(element.map()));
        }
        return ZVariant::fromVector(std::move(elements));
    };
}

}  // namespace Quorvane::PYXCORE_PYX::Internal

namespace Quorvane::PYXCORE_PYX {

template <class T>
Internal::CustomTypeCodec buildCustomTypeCodec(const std::string& typeName, std::function<PropertyMap(const T&)> toMap,
                                               std::function<T(const PropertyMap&)> fromMap) {
    return {typeName, &typeid(T), Internal::buildCustomTypeZVariantEncoderFunction<T>(std::move(toMap)),
            Internal::buildCustomTypeZVariantDecoderFunction<T>(std::move(fromMap))};
}

}  // namespace Quorvane::PYXCORE_PYX
