// What large arrays ask of the system.
#pragma once

#include <pyx/types/export.h>

#include <cstddef>

namespace Quorvane::PYXCORE_PYX::Internal {

// Asks for huge pages under the inner part of a fresh allocation of `size` bytes when it is large enough to gain by
// them: the first touch of ordinary pages costs several times what is computed on them. A hint, without effect where
// the system has none to give. Compiled once, so that clients need no header of the system.
PYXCORE_API void adviseHugePages(void* memory, std::size_t size) noexcept;

}  // namespace Quorvane::PYXCORE_PYX::Internal
