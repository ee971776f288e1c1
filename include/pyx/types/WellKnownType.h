// The 16-bit code of an element type: what data objects report, what dispatch reads and what crosses the flat C
// interface. The code is a small bit layout, so the family tests are computed on its bits and never looked up.
#pragma once

#include <pyx/types/export.h>
#include <pyx/types/standard_library.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string_view>
#include <type_traits>

namespace Quorvane::PYXCORE_PYX {

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

struct CatalogueRow {
    WellKnownTypeValue value;
    const char* name;
};

struct TypeCatalogue {
    CatalogueRow rows[26];
};

// The name of each code but unknown. A function, since modules that use a variable of a header may not be unloadable.
constexpr TypeCatalogue typeCatalogue() noexcept {
    return {{
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    {WellKnownTypeValue::enumerator, #name},
#include <pyx/types/element_types.def>
        {WellKnownTypeValue::customType, "customType"},
    }};
}

// "unknown" for a code without a name.
constexpr const char* nameOfType(WellKnownTypeValue value) noexcept {
    for (const CatalogueRow& row : typeCatalogue().rows) {
        if (row.value == value) {
            return row.name;
        }
    }
    return "unknown";
}

// Without regard to the case of the letters A to Z, and to no other character or locale.
constexpr bool equalsInLowerCase(std::string_view left, std::string_view right) noexcept {
    constexpr auto lowered = [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    bool equal = left.size() == right.size();
    for (std::size_t i = 0; equal && i < left.size(); ++i) {
        equal = lowered(left[i]) == lowered(right[i]);
    }
    return equal;
}

// unknown for a text that names no type, "unknown" among them.
constexpr WellKnownTypeValue typeOfName(std::string_view name) noexcept {
    for (const CatalogueRow& row : typeCatalogue().rows) {
        if (equalsInLowerCase(name, row.name)) {
            return row.value;
        }
    }
    return equalsInLowerCase(name, "string8") ? WellKnownTypeValue::string : WellKnownTypeValue::unknown;
}

}  // namespace Internal

// A value class around one code. Codes outside the catalogue are representable, since any 16 bits can arrive from
// another module; whoever dispatches over them refuses them. Nothing here raises, and any thread may call it.
class WellKnownType {
public:
    static const WellKnownType unknown;
    static const WellKnownType customType;
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) static const WellKnownType enumerator;
#include <pyx/types/element_types.def>

    constexpr WellKnownType() noexcept = default;
    // Implicit: the enumeration and this class say the same.
    constexpr WellKnownType(Internal::WellKnownTypeValue value) noexcept : value_(value) {}
    // The type of that name, as toString gives it, whatever the case of A to Z; "string8" is another name of string.
    // unknown for any other text, blanks around a name included.
    explicit WellKnownType(std::string_view name) : value_(parseValueString(name)) {}
    WellKnownType(std::nullptr_t) = delete;

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

    // The type in which values of both types can be compared: the one that ranks higher among bool, int8, unsignedInt8,
    // int16 ... unsignedInt64, float, double, but for an unsigned type with a signed one the next wider signed type,
    // and double where there is none; complex when either is. A 64-bit integer yields to float, deliberately. A type
    // has itself in common with itself and with unknown; all other pairs with a type that is not numeric give unknown.
    // For numeric codes outside the catalogue the result depends on the order of the arguments.
    PYXCORE_API static WellKnownType getCommonWellKnownType(WellKnownType a, WellKnownType b)
        PYXCORE_SYMBOL("_ZN8Quorvane3Pyx13WellKnownType22getCommonWellKnownTypeES1_S1_");

    // The name in the catalogue, "complexInt32"; "unknown" for a code that has none. Static storage.
#if PYXCORE_SAME_STANDARD_LIBRARY
    [[nodiscard]] PYXCORE_API std::string_view toString() const;
#else
    // A template, so that no symbol of this module has the name of the library's, which returns another string_view.
    template <class Text = std::string_view>
    [[nodiscard]] Text toString() const {
        return Internal::nameOfType(value_);
    }
#endif

    // Writes the name.
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out, WellKnownType type) {
        return out << Internal::nameOfType(type.value_);
    }

    friend constexpr bool operator==(WellKnownType left, WellKnownType right) noexcept {
        return left.value_ == right.value_;
    }
    friend constexpr bool operator!=(WellKnownType left, WellKnownType right) noexcept {
        return !(left == right);
    }
    // By code, for sorted containers.
    friend constexpr bool operator<(WellKnownType left, WellKnownType right) noexcept {
        return left.value_ < right.value_;
    }

private:
    // 0 for a text that names no type.
#if PYXCORE_SAME_STANDARD_LIBRARY
    PYXCORE_API static Internal::WellKnownTypeValue parseValueString(std::string_view text);
#else
    static Internal::WellKnownTypeValue parseValueString(std::string_view text) {
        return Internal::typeOfName(text);
    }
#endif

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

}  // namespace Quorvane::PYXCORE_PYX

template <>
struct std::hash<Quorvane::Pyx::WellKnownType> {
    std::size_t operator()(Quorvane::Pyx::WellKnownType type) const noexcept {
        return std::hash<std::uint16_t>()(type.code());
    }
};
