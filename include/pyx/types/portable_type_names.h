// Names of types for messages, the same whichever compiler built the library or its client. std::type_info::name
// differs from platform to platform, so a name is either a literal or the compiler's own spelling of a template
// argument, normalised.
#pragma once

#include <pyx/types/dispatch.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Quorvane::PYXCORE_PYX {

template <class Storage>
class ZVariantGeneric;

namespace Internal {

class ZVariantDirectStorage;
class ZVariantDataSharable;

// Where a name begins, and how many characters at the end of the text are not part of it. Borrows static storage.
struct CtTypeName {
    const char* text;
    std::size_t suffixLength;
};

// The name of any type as its compiler spells it; literals stand where compilers differ too much.
template <class T>
struct CtTypeExtractor {
    static constexpr CtTypeName n() noexcept {
#if defined(__clang__) || defined(__GNUC__)
        // "... n() [T = double]" (Clang) or "... n() [with T = double]" (GCC)
        const char* const text = __PRETTY_FUNCTION__;
        return {text + std::string_view(text).find("T = ") + 4, 1};
#else
        // "... CtTypeExtractor<double>::n(void) noexcept"
        const char* const text = __FUNCSIG__;
        const std::string_view whole(text);
        return {text + whole.find("CtTypeExtractor<") + 16, whole.size() - whole.rfind(">::n")};
#endif
    }
};

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    template <>                                                                  \
    struct CtTypeExtractor<type> {                                               \
        static constexpr CtTypeName n() noexcept { return {portableName, 0}; }   \
    };
#include <pyx/types/element_types.def>

// The two value types, as the source of a conversion.
template <>
struct CtTypeExtractor<ZVariantGeneric<ZVariantDirectStorage>> {
    static constexpr CtTypeName n() noexcept { return {"Quorvane::Pyx::ZVariant", 0}; }
};
template <>
struct CtTypeExtractor<ZVariantGeneric<ZVariantDataSharable>> {
    static constexpr CtTypeName n() noexcept { return {"Quorvane::Pyx::ZVariantAbi", 0}; }
};

// Removes every occurrence of `pattern`. Text that a removal brings together to the left of it is not looked at again.
inline void removeAll(std::string& text, std::string_view pattern) {
    for (auto at = text.find(pattern); at != std::string::npos; at = text.find(pattern, at)) {
        text.erase(at, pattern.size());
    }
}

// The name without what differs between compilers: "class " and "struct " keywords, the inline namespace of one
// standard library, and the space in front of a cut-off closing bracket.
inline std::string normalizeTypeName(CtTypeName name) {
    std::string_view text(name.text);
    text.remove_suffix(name.suffixLength);
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    std::string result(text);
    removeAll(result, "class ");
    removeAll(result, "struct ");
    // Deliberate: the test asks for both pairs of colons, the removal then also takes a "::__1" at the very end.
    if (result.find("::__1::") != std::string::npos) {
        removeAll(result, "::__1");
    }
    return result;
}

// The name of the element type of a code. Raises std::runtime_error "not a numeric type" or "unknown type" for a code
// without element type: a custom type has no portable name.
inline CtTypeName typeNameOfWellKnownType(WellKnownType type) {
    return dispatchElementType(
        type, [](auto tag) -> CtTypeName { return CtTypeExtractor<typename decltype(tag)::type>::n(); });
}

}  // namespace Internal
}  // namespace Quorvane::PYXCORE_PYX
