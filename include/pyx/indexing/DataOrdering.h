// The two ways in which the elements of an array follow each other in storage.
#pragma once

#include <pyx/types/export.h>

#include <cstdint>

namespace Quorvane::PYXCORE_PYX {

// 32 bits wide, the form in which it crosses every interface.
enum class DataOrdering : std::uint32_t {
    RowMajor = 0,     // the last dimension varies fastest
    ColumnMajor = 1,  // the first dimension varies fastest
};

}  // namespace Quorvane::PYXCORE_PYX
