/* Marks what the shared library exports; everything else in it is hidden. */
#ifndef PYX_TYPES_EXPORT_H
#define PYX_TYPES_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define PYXCORE_API __attribute__((visibility("default")))
#else
#define PYXCORE_API
#endif
#endif
