#include <pyx/format/ConsoleFormatter.h>

#include <pyx/format/value_text.h>

namespace Quorvane::Pyx {

ConsoleFormatter& ConsoleFormatter::operator=(const ConsoleFormatter&) noexcept {
    return *this;
}

ConsoleFormatter& ConsoleFormatter::operator=(ConsoleFormatter&&) noexcept {
    return *this;
}

std::ostream& ConsoleFormatter::serialize(ZVariant value, std::ostream& out) {
    Internal::writeValueText(value, out);
    return out;
}

std::ostream& ConsoleFormatter::serialize(ZVariantAbi value, std::ostream& out) {
    Internal::writeValueText(value, out);
    return out;
}

}  // namespace Quorvane::Pyx
