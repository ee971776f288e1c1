// How the scalar in a value's inline buffer is copied, moved and ended without a call of the library.
#pragma once

#include <pyx/types/export.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <typeinfo>
#include <utility>

namespace Quorvane::PYXCORE_PYX::Internal {

// An object with virtual operations may be copied as memory where it begins with the address of their table and the
// element stands right behind, as in the Itanium C++ ABI, which every platform of this library follows. Elsewhere the
// factories copy.
#if (defined(__GNUC__) || defined(__clang__)) && !defined(_WIN32)
inline constexpr bool scalarsAreMemory = true;

// Keeps a word apart from its neighbours: one wide load over words that were just stored one by one waits for them.
inline void keepApart(std::uintptr_t& word) noexcept {
    asm("" : "+r"(word));
}
#else
inline constexpr bool scalarsAreMemory = false;

inline void keepApart(std::uintptr_t&) noexcept {}
#endif

// The class of an inline string, the one scalar that is more than plain memory. The library builds all inline scalars,
// so each class has one std::type_info.
PYXCORE_API extern const std::type_info* const inlineStringClass;

// In bytes: the address of the table, and the largest plain element.
inline constexpr std::size_t plainScalarSize = sizeof(void*) + 16;

inline void copyPlainScalar(std::byte* target, const std::byte* source) noexcept {
    for (std::size_t offset = 0; offset < plainScalarSize; offset += sizeof(std::uintptr_t)) {
        std::uintptr_t word;
        std::memcpy(&word, source + offset, sizeof(word));
        keepApart(word);
        std::memcpy(target + offset, &word, sizeof(word));
    }
}

inline std::string& stringIn(std::byte* scalar) noexcept {
    return *std::launder(reinterpret_cast<std::string*>(scalar + sizeof(void*)));
}
inline const std::string& stringIn(const std::byte* scalar) noexcept {
    return *std::launder(reinterpret_cast<const std::string*>(scalar + sizeof(void*)));
}

inline void copyStringScalar(std::byte* target, const std::byte* source) {
    new (target + sizeof(void*)) std::string(stringIn(source));
    std::memcpy(target, source, sizeof(void*));
}

inline void endStringScalar(std::byte* scalar) noexcept {
    stringIn(scalar).~basic_string();
}

// Ends the scalar at `source`.
inline void relocateStringScalar(std::byte* target, std::byte* source) noexcept {
    new (target + sizeof(void*)) std::string(std::move(stringIn(source)));
    endStringScalar(source);
    std::memcpy(target, source, sizeof(void*));
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
