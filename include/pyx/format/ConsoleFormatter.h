// Text for a person at a console.
#pragma once

#include <pyx/types/export.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/ZVariant.h>

#include <ostream>

namespace Quorvane::Pyx {

#if PYXCORE_SAME_STANDARD_LIBRARY
// Static functions only.
class PYXCORE_API ConsoleFormatter {
public:
    ConsoleFormatter() = default;
    ConsoleFormatter(const ConsoleFormatter&) = default;
    ConsoleFormatter(ConsoleFormatter&&) = default;
    // Nothing to assign; exported, since modules built elsewhere may refer to them.
    ConsoleFormatter& operator=(const ConsoleFormatter&) noexcept;
    ConsoleFormatter& operator=(ConsoleFormatter&&) noexcept;

    // Writes what PrintTo writes for the same value, without a line break, and returns the stream. Raises as PrintTo.
    static std::ostream& serialize(ZVariant value, std::ostream& out);
    static std::ostream& serialize(ZVariantAbi value, std::ostream& out);
};
#endif

}  // namespace Quorvane::Pyx
