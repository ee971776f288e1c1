/* Marks what the shared library exports, everything else in it being hidden, and what every module keeps to itself. */
#ifndef PYX_TYPES_EXPORT_H
#define PYX_TYPES_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define PYXCORE_API __attribute__((visibility("default")))
#define PYXCORE_LOCAL __attribute__((visibility("hidden")))
#else
#define PYXCORE_API
#define PYXCORE_LOCAL
#endif
#endif
