// A span of time as the clients define it: two words that the library does not interpret.
#pragma once

#include <pyx/types/OpaqueWords.h>
#include <pyx/types/export.h>

#include <type_traits>

namespace Quorvane::PYXCORE_PYX {

struct PYXCORE_API Duration : Internal::OpaqueWords<Duration> {
    using OpaqueWords::OpaqueWords;
};

static_assert(sizeof(Duration) == 16 && std::is_trivially_copyable_v<Duration> && std::is_standard_layout_v<Duration>);

}  // namespace Quorvane::PYXCORE_PYX
