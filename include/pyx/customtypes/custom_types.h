// Turning values of custom classes into plain data and back.
#pragma once

#include <pyx/customtypes/CustomTypeCodec.h>
#include <pyx/customtypes/EncodedCustomTypeValues.h>
#include <pyx/types/export.h>
#include <pyx/variant/ZVariant.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Quorvane::PYXCORE_PYX {

// The registry of codecs has one lock, which is held while a function of a client encodes or decodes: such a function
// must not call anything of this header, and neither must what its destruction calls. All of it may be called from any
// thread. Values of a custom class, frozen trees and registered functions must be gone before the module that made them
// is unloaded: they lead to its code.

namespace Internal {

// Takes the codec by move. Raises std::runtime_error "The proposed addition conflicts with a previously registered
// codec." when the class or the name is taken, and then leaves the codec with the caller.
PYXCORE_API void registerCustomTypeCodec(CustomTypeCodec&& codec);

// Whether there was a codec of the class.
PYXCORE_API bool unregisterCustomTypeCodec(const std::type_info& type);

// As registerCustomTypeCodec. Returns the number of the registration, which no other one ever has.
PYXCORE_API std::uint64_t addCustomTypeCodec(CustomTypeCodec&& codec);

// Removes what that registration added, unless it has been removed already.
PYXCORE_API void removeCustomTypeCodec(std::uint64_t registration);

}  // namespace Internal

// `value` holds elements of a custom class. Raises std::runtime_error "No codec found to encode type " and the class's
// type_info name, and whatever the encoder raises.
PYXCORE_API EncodedCustomTypeValues encodeCustomType(const ZVariant& value);

// Raises std::runtime_error "No codec found to decode type " and the name, and whatever the decoder raises.
PYXCORE_API ZVariant decodeCustomType(const EncodedCustomTypeValues& encoded);

namespace Internal {

template <class T, class ToMap, class FromMap>
CustomTypeCodec makeCustomTypeCodec(const std::string& typeName, ToMap toMap, FromMap fromMap) {
    constexpr bool areCodec =
        std::is_invocable_r_v<PropertyMap, ToMap&, const T&> && std::is_invocable_r_v<T, FromMap&, const PropertyMap&>;
    static_assert(areCodec, "A codec is a function from a `const T&` to a PropertyMap, and one from that to a T.");
    if constexpr (areCodec) {
        return buildCustomTypeCodec<T>(typeName, std::move(toMap), std::move(fromMap));
    } else {
        return {};
    }
}

}  // namespace Internal

// Makes values of T known under a name, by a function from T to a PropertyMap and one back. Raises as
// registerCustomTypeCodec does. Functions of a module must not stay registered when it is unloaded: prefer
// CustomTypeRegistration.
template <class T, class ToMap, class FromMap>
void registerCustomType(const std::string& typeName, ToMap toMap, FromMap fromMap) {
    Internal::registerCustomTypeCodec(Internal::makeCustomTypeCodec<T>(typeName, std::move(toMap), std::move(fromMap)));
}

// The same, until this object ends. It removes what it has registered, and nothing that has taken its place.
template <class T>
class CustomTypeRegistration {
public:
    template <class ToMap, class FromMap>
    [[nodiscard]] CustomTypeRegistration(const std::string& typeName, ToMap toMap, FromMap fromMap)
        : registration_(Internal::addCustomTypeCodec(
              Internal::makeCustomTypeCodec<T>(typeName, std::move(toMap), std::move(fromMap)))) {}
    ~CustomTypeRegistration() { Internal::removeCustomTypeCodec(registration_); }
    CustomTypeRegistration(const CustomTypeRegistration&) = delete;
    CustomTypeRegistration& operator=(const CustomTypeRegistration&) = delete;

private:
    const std::uint64_t registration_;
};

}  // namespace Quorvane::PYXCORE_PYX
