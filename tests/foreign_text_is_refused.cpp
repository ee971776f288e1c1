// Does not compile with another standard library than the library's own.
#include <pyx/pyx.h>

Quorvane::Pyx::ZVariantAbi text() {
    return "text";
}
