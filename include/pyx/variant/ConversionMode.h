// How strictly one element type is converted to another.
#pragma once

#include <cstdint>

namespace Quorvane::Pyx {

// 32 bits wide, the form in which it crosses every interface. Any other value refuses every element.
enum class ConversionMode : std::uint32_t {
    Exact = 0,       // succeeds only if no element changes its value; between families only default values pass
    Cast = 1,        // numbers convert as a cast does it, with loss; nothing crosses to or from text
    CastOrText = 2,  // as Cast, and real numbers and booleans convert to and from text
};

}  // namespace Quorvane::Pyx
