#include <pyx/format/PrintTo.h>

namespace Quorvane::Pyx {

namespace {

// Writes the elements in braces with ", " between them.
template <class Range, class WriteElement>
void writeInBraces(const Range& range, std::ostream& out, WriteElement writeElement) {
    out << '{';
    const char* separator = "";
    for (const auto& element : range) {
        out << separator;
        writeElement(element);
        separator = ", ";
    }
    out << '}';
}

}  // namespace

void PrintTo(const ZVariant& value, std::ostream* out) {
    Internal::writeValueText(value, *out);
}

void PrintTo(const ZVariantAbi& value, std::ostream* out) {
    Internal::writeValueText(value, *out);
}

void PrintTo(const FPropertyNode& node, std::ostream* out) {
    if (node.isValue()) {
        PrintTo(node.value(), out);
    } else if (node.isList()) {
        PrintTo(node.list(), out);
    } else if (node.isMap()) {
        PrintTo(node.map(), out);
    } else {
        *out << "<NULL>";
    }
}

void PrintTo(const FPropertyList& list, std::ostream* out) {
    writeInBraces(list, *out, [out](const FPropertyNode& node) { PrintTo(node, out); });
}

void PrintTo(const FPropertyMap& map, std::ostream* out) {
    writeInBraces(map, *out, [out](const FPropertyMapEntry& entry) {
        *out << "{'" << entry.key << "', ";
        PrintTo(entry.value, out);
        *out << '}';
    });
}

// The working forms are frozen first: that drops entries with a key that was there before.
void PrintTo(const PropertyNode& node, std::ostream* out) {
    PrintTo(FPropertyNode(node), out);
}

void PrintTo(const PropertyList& list, std::ostream* out) {
    PrintTo(FPropertyList(list), out);
}

void PrintTo(const PropertyMap& map, std::ostream* out) {
    PrintTo(FPropertyMap(map), out);
}

void PrintTo(const PropertyPath& path, std::ostream* out) {
    writeInBraces(path, *out, [out](const PropertyPathSegment& segment) {
        if (segment.isName()) {
            *out << segment.name();
        } else {
            *out << static_cast<unsigned long long>(segment.index());
        }
    });
}

}  // namespace Quorvane::Pyx
