// The keys that the library interns when it is loaded.
#pragma once

#include <pyx/types/InternedString.h>

namespace Quorvane::Pyx::Internal {

extern const InternedString elementsKey;
extern const InternedString typeKey;
extern const InternedString pathKey;

}  // namespace Quorvane::Pyx::Internal
