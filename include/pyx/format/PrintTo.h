// One-line text of values. PrintTo is also the function that GoogleTest looks for to show a value in a failed test.
#pragma once

#include <pyx/format/value_text.h>
#include <pyx/types/export.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/ZVariant.h>

#include <ostream>

namespace Quorvane::Pyx {

// Writes the text of the value, without a line break. Raises std::runtime_error "Cannot convert ..." for durations and
// time points and "unknown type" for custom elements; what was written before stays in the stream.
#if PYXCORE_SAME_STANDARD_LIBRARY
PYXCORE_API void PrintTo(const ZVariant& value, std::ostream* out);
PYXCORE_API void PrintTo(const ZVariantAbi& value, std::ostream* out);
#else
// The library cannot write to this module's streams, so the text is made here, from the same template. Raises
// std::runtime_error for values that hold texts.
inline void PrintTo(const ZVariantAbi& value, std::ostream* out) {
    Internal::writeValueText(value, *out);
}
#endif

// The same as PrintTo.
template <class Storage>
std::ostream& operator<<(std::ostream& out, const ZVariantGeneric<Storage>& value) {
    PrintTo(value, &out);
    return out;
}

}  // namespace Quorvane::Pyx
