#include <pyx/format/ConsoleFormatter.h>

#include <pyx/format/value_text.h>

#include <string>

namespace Quorvane::Pyx {

namespace {

// Where the keys of a map stand. A nested map starts on a line of its own only by the line break in its lead, which
// therefore sets off all its entries but the first one by an empty line: deliberate, as is that a list starts again at
// the left margin and that a null leaves its line open.
struct Position {
    const char* lead = "|--->";
    std::string indent;
    const char* marker = "";
};

// Node is either form of a node.
template <class Node>
void serializeNode(const Node& node, const Position& position, std::ostream& out) {
    if (node.isValue()) {
        Internal::writeValueText(node.value(), out);
        out << '\n';
    } else if (node.isList()) {
        for (const Node& element : node.list()) {
            serializeNode(element, Position(), out);
        }
    } else if (node.isMap()) {
        for (const auto& [key, value] : node.map()) {
            out << position.lead << position.indent << position.marker << " '" << key << "': ";
            serializeNode(value, Position{"\n|", position.indent + "    ", "`-->"}, out);
        }
    }
}

}  // namespace

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

std::ostream& ConsoleFormatter::serialize(PropertyNode node, std::ostream& out) {
    serializeNode(node, Position(), out);
    return out;
}

std::ostream& ConsoleFormatter::serialize(FPropertyNode node, std::ostream& out) {
    serializeNode(node, Position(), out);
    return out;
}

}  // namespace Quorvane::Pyx
