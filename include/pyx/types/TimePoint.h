// A point in time as the clients define it: two words that the library does not interpret.
#pragma once

#include <pyx/types/OpaqueWords.h>
#include <pyx/types/export.h>

#include <type_traits>

namespace Quorvane::PYXCORE_PYX {

struct PYXCORE_API TimePoint : Internal::OpaqueWords<TimePoint> {
    using OpaqueWords::OpaqueWords;
};

static_assert(sizeof(TimePoint) == 16 && std::is_trivially_copyable_v<TimePoint> &&
              std::is_standard_layout_v<TimePoint>);

}  // namespace Quorvane::PYXCORE_PYX
