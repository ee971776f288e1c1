// The data classes of the element types, compiled once.

#include "variant/InlineScalar.h"

#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/StdVectorVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/ZVariantDirectStorage.h>
#include <pyx/variant/inline_scalars.h>

#include <string>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

// Whether an inline scalar of T fits the buffer and is the memory that ZVariantDirectStorage copies.
template <class T>
constexpr bool isInlineMemory() {
    constexpr std::size_t size = sizeof(InlineScalar<T>);
    constexpr bool isPlain = std::is_trivially_copyable_v<T> && size <= plainScalarSize;
    constexpr bool isString = std::is_same_v<T, std::string> && size == sizeof(void*) + sizeof(T);
    return size <= sizeof(ZVariantDirectStorage::inlineBuffer) && size == sizeof(ScalarVariantDataNonCounted<T>) &&
           alignof(InlineScalar<T>) <= alignof(ZVariantDirectStorage) && (isPlain || isString);
}

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    template class ScalarVariantDataRefCounted<type>;                            \
    template class ScalarVariantDataNonCounted<type>;                            \
    template class VectorVariantData<type>;                                      \
    static_assert(isInlineMemory<type>());
#include <pyx/types/element_types.def>

#define PYXCORE_ADOPTABLE_TYPE(type) template class StdVectorVariantData<type>;
#include <pyx/types/adoptable_types.def>

// The largest element fills the inline buffer exactly.
static_assert(sizeof(ScalarVariantDataNonCounted<std::string>) == sizeof(ZVariantDirectStorage::inlineBuffer));
static_assert(sharesStandardLibrary, "Build PyxCore with libstdc++ and its C++11 strings: its clients rely on it.");

}  // namespace Quorvane::Pyx::Internal
