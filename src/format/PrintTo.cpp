#include <pyx/format/PrintTo.h>

namespace Quorvane::Pyx {

void PrintTo(const ZVariant& value, std::ostream* out) {
    Internal::writeValueText(value, *out);
}

void PrintTo(const ZVariantAbi& value, std::ostream* out) {
    Internal::writeValueText(value, *out);
}

}  // namespace Quorvane::Pyx
