// How strictly one element type is converted to another.
#pragma once

#include <pyx/types/export.h>

#include <cstdint>

namespace Quorvane::PYXCORE_PYX {

// 32 bits wide, the form in which it crosses every interface. Any other value refuses every element.
enum class ConversionMode : std::uint32_t {
    // Succeeds only where a comparison of source and result shows no change: integers compare as C compares them, from
    // integer to floating always passes, and a bool looks at the real part alone. Between families only defaults pass.
    Exact = 0,
    // Numbers convert as a cast does it, with loss, defined for every input; nothing crosses to or from text.
    Cast = 1,
    // As Cast, and real numbers and booleans convert to and from text.
    CastOrText = 2,
};

}  // namespace Quorvane::PYXCORE_PYX
