// The names of this library that a module with another standard library cannot use, each with a sentence that says so.
#pragma once

#include <pyx/types/export.h>

namespace Quorvane::PYXCORE_PYX {

#if defined(__has_attribute)
#if __has_attribute(unavailable)
#define PYXCORE_UNAVAILABLE(sentence) __attribute__((unavailable(sentence)))
#endif
#endif
#ifndef PYXCORE_UNAVAILABLE
#define PYXCORE_UNAVAILABLE(sentence) [[deprecated(sentence)]]
#endif
#define PYXCORE_TREES_ARE_FOREIGN                                                                                     \
    "Keys, paths, trees and codecs hold objects of PyxCore's standard library (libstdc++), and this module is built " \
    "with another one: pass a tree by flatten and unflatten."
#define PYXCORE_BUFFERS_ARE_FOREIGN                                                                                  \
    "A value shows a client's memory through objects of PyxCore's standard library (libstdc++), and this module is " \
    "built with another one: copy the elements with fromData."

class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) InternedString {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) PropertyPath {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) PropertyPathSegment {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) PropertyNode {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) PropertyList {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) PropertyMap {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) FPropertyNode {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) FPropertyList {};
class PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) FPropertyMap {};
struct PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) PropertyMapEntry {};
struct PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) FPropertyMapEntry {};
struct PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) FlatTree {};
struct PYXCORE_UNAVAILABLE(PYXCORE_TREES_ARE_FOREIGN) EncodedCustomTypeValues {};
// Declared before, so that the constructor has the sentence.
class ExternalVariantStorageInterface {
public:
    PYXCORE_UNAVAILABLE(PYXCORE_BUFFERS_ARE_FOREIGN) ExternalVariantStorageInterface();
};
template <class T>
class CustomTypeRegistration {
    static_assert(sizeof(T) == 0, PYXCORE_TREES_ARE_FOREIGN);
};
template <class T, class... Value>
class ExternalBuffer {
    static_assert(sizeof(T) == 0, PYXCORE_BUFFERS_ARE_FOREIGN);
};

#undef PYXCORE_UNAVAILABLE
#undef PYXCORE_TREES_ARE_FOREIGN
#undef PYXCORE_BUFFERS_ARE_FOREIGN

}  // namespace Quorvane::PYXCORE_PYX
