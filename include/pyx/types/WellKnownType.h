// The 16-bit code of an element type: what data objects report, what dispatch reads and what crosses the flat C
// interface. The code is a small bit layout, so the family tests are computed on its bits and never looked up.
#pragma once

#include <cstdint>
#include <type_traits>

namespace Quorvane::Pyx {

namespace Internal {

enum class WellKnownTypeValue : std::uint16_t {
    unknown = 0x0000,     // null data, and pairs without a common type
    customType = 0x0020,  // a class of a client, or PropertyPath
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) enumerator = code,
#include <pyx/types/element_types.def>
};

inline constexpr std::uint16_t numericKindMask = 0x000F;
inline constexpr std::uint16_t unsignedFlag = 0x4000;
inline constexpr std::uint16_t complexFlag = 0x8000;

}  // namespace Internal

// A value class around one code. Codes outside the catalogue are representable, since any 16 bits can arrive from
// another module; whoever dispatches over them refuses them.
class WellKnownType {
public:
    static const WellKnownType unknown;
    static const WellKnownType customType;
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) static const WellKnownType enumerator;
#include <pyx/types/element_types.def>

    constexpr WellKnownType() noexcept = default;
    // Implicit: the enumeration and this class say the same.
    constexpr WellKnownType(Internal::WellKnownTypeValue value) noexcept : value_(value) {}

    // Takes any 16 bits, as they arrive from the flat C interface.
    static constexpr WellKnownType fromCode(std::uint16_t code) noexcept {
        return WellKnownType(static_cast<Internal::WellKnownTypeValue>(code));
    }

    constexpr Internal::WellKnownTypeValue value() const noexcept {
        return value_;
    }
    constexpr std::uint16_t code() const noexcept {
        return static_cast<std::uint16_t>(value_);
    }

    // bool, complexBool and all complex types are numeric.
    constexpr bool isNumeric() const noexcept {
        return numericKind() != 0;
    }
    constexpr bool isComplex() const noexcept {
        return (code() & Internal::complexFlag) != 0;
    }
    // bool and complexBool are unsigned by decision of the numbering.
    constexpr bool isUnsigned() const noexcept {
        return (code() & Internal::unsignedFlag) != 0;
    }
    constexpr bool isFloating() const noexcept {
        return numericKind() == 1 || numericKind() == 2;
    }
    constexpr bool isSigned() const noexcept {
        return isNumeric() && !isUnsigned();
    }

    // Real for complex: complexBool gives bool. A real type gives itself.
    constexpr WellKnownType componentType() const noexcept {
        return fromCode(static_cast<std::uint16_t>(code() & ~Internal::complexFlag));
    }
    // Meaningful for numeric types; a complex type gives itself.
    constexpr WellKnownType complexType() const noexcept {
        return fromCode(static_cast<std::uint16_t>(code() | Internal::complexFlag));
    }

    friend constexpr bool operator==(WellKnownType left, WellKnownType right) noexcept {
        return left.value_ == right.value_;
    }
    friend constexpr bool operator!=(WellKnownType left, WellKnownType right) noexcept {
        return !(left == right);
    }

private:
    constexpr int numericKind() const noexcept {
        return code() & Internal::numericKindMask;
    }

    Internal::WellKnownTypeValue value_ = Internal::WellKnownTypeValue::unknown;
};

inline constexpr WellKnownType WellKnownType::unknown{Internal::WellKnownTypeValue::unknown};
inline constexpr WellKnownType WellKnownType::customType{Internal::WellKnownTypeValue::customType};
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    inline constexpr WellKnownType WellKnownType::enumerator{Internal::WellKnownTypeValue::enumerator};
#include <pyx/types/element_types.def>

// Foreign callers pass the code as one plain word.
static_assert(sizeof(WellKnownType) == 2 && std::is_trivially_copyable_v<WellKnownType>);

}  // namespace Quorvane::Pyx
