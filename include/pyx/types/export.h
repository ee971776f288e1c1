/* What the shared library exports, everything else in it being hidden, and how modules of one process keep the code
 * apart that they compile from these headers. */
#ifndef PYX_TYPES_EXPORT_H
#define PYX_TYPES_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define PYXCORE_API __attribute__((visibility("default")))
#define PYXCORE_LOCAL __attribute__((visibility("hidden")))
#else
#define PYXCORE_API
#define PYXCORE_LOCAL
#endif

/* For functions that call flat functions through pointers. The type of such a pointer names the opaque classes, whose
 * namespace differs between the kinds of modules below: clang++'s sanitizer takes it for another function type. */
#if defined(__clang__)
#define PYXCORE_CALLS_OTHER_MODULES __attribute__((no_sanitize("function")))
#else
#define PYXCORE_CALLS_OTHER_MODULES
#endif

#ifdef __cplusplus
#include <cstddef> /* tells the standard library */

/* PYXCORE_PYX is the namespace inside Quorvane. Its name is Pyx where the standard library is that of PyxCore:
 * libstdc++ with its C++11 strings and plain containers. A module with another one compiles other code from the same
 * headers, and a process has one function of a name: so its code has names of its own. Clients write Quorvane::Pyx in
 * any case. */
#if defined(__GLIBCXX__) && _GLIBCXX_USE_CXX11_ABI && !defined(_GLIBCXX_DEBUG)
#define PYXCORE_SAME_STANDARD_LIBRARY 1
#define PYXCORE_PYX Pyx
#define PYXCORE_SYMBOL(name)
#else
#define PYXCORE_SAME_STANDARD_LIBRARY 0
/* Behind the declaration of an exported function that such modules call: the name that the library exports. */
#define PYXCORE_SYMBOL(name) __asm__(name)
#if defined(_LIBCPP_VERSION)
#define PYXCORE_JOIN_EXPANDED(left, right) left##right
#define PYXCORE_JOIN(left, right) PYXCORE_JOIN_EXPANDED(left, right)
#define PYXCORE_PYX PYXCORE_JOIN(PyxLibcxx, _LIBCPP_ABI_VERSION)
#elif !defined(__GLIBCXX__)
#define PYXCORE_PYX PyxOther
#elif _GLIBCXX_USE_CXX11_ABI
#define PYXCORE_PYX PyxCheckedContainers
#elif !defined(_GLIBCXX_DEBUG)
#define PYXCORE_PYX PyxOldStrings
#else
#define PYXCORE_PYX PyxCheckedContainersOldStrings
#endif

namespace Quorvane {
namespace PYXCORE_PYX {}
namespace Pyx {
using namespace PYXCORE_PYX;
}
} /* namespace Quorvane */
#endif
#endif
#endif
