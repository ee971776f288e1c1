// The data classes of the element types, compiled once.

#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/StdVectorVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/ZVariantDirectStorage.h>

namespace Quorvane::Pyx::Internal {

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName)                              \
    template class ScalarVariantDataRefCounted<type>;                                                         \
    template class ScalarVariantDataNonCounted<type>;                                                         \
    template class VectorVariantData<type>;                                                                   \
    static_assert(sizeof(ScalarVariantDataNonCounted<type>) <= sizeof(ZVariantDirectStorage::inlineBuffer) && \
                  alignof(ScalarVariantDataNonCounted<type>) <= alignof(ZVariantDirectStorage));
#include <pyx/types/element_types.def>

#define PYXCORE_ADOPTABLE_TYPE(type) template class StdVectorVariantData<type>;
#include <pyx/types/adoptable_types.def>

// The largest element fills the inline buffer exactly.
static_assert(sizeof(ScalarVariantDataNonCounted<std::string>) == sizeof(ZVariantDirectStorage::inlineBuffer));
static_assert(sharesStandardLibrary, "Build PyxCore with libstdc++ and its C++11 strings: its clients rely on it.");

}  // namespace Quorvane::Pyx::Internal
