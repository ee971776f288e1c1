#include <pyx/properties/FrozenPropertyTree.h>

namespace Quorvane::Pyx {

// Constant-initialised, so that a static handle of a client can be read at any time.
constinit const Internal::FPropertyListData FPropertyList::s_nullListData{};
constinit const Internal::FPropertyMapData FPropertyMap::s_nullMapData{};

}  // namespace Quorvane::Pyx
