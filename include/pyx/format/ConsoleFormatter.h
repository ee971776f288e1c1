// Text for a person at a console.
#pragma once

#include <pyx/types/export.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/ZVariant.h>

#include <ostream>

#if PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/properties/FrozenPropertyTree.h>
#include <pyx/properties/PropertyTree.h>

namespace Quorvane::PYXCORE_PYX {

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

    // Writes a tree as an indented listing, one line for each value, and returns the stream: a map's entries with
    // their keys, a list's elements one after the other at the left margin, and nothing at all for null. Raises as
    // PrintTo; what was written before stays in the stream.
    static std::ostream& serialize(PropertyNode node, std::ostream& out);
    static std::ostream& serialize(FPropertyNode node, std::ostream& out);
};

}  // namespace Quorvane::PYXCORE_PYX
#endif
