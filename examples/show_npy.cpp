// Shows the arrays in .npy files, and what PyxCore does with them: a client that holds values as ZVariantAbi and may be
// built with another compiler and another standard library than the PyxCore that it loads.
#include "NpyFile.h"
#include "Numbers.h"
#include "drawing.h"

#include <cmath>
#include <cstdint>
#include <exception>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

using namespace Quorvane::Pyx;

namespace {

const char* nameOf(DataOrdering ordering) {
    return ordering == DataOrdering::RowMajor ? "row-major" : "column-major";
}

// The columns of a line: a blank margin of two, what the line is about, and the text; in front of the text of a
// conversion stands its type.
constexpr int nameWidth = 9;
constexpr int textColumn = 2 + nameWidth;
constexpr int typeWidth = 14;
constexpr int orderingWidth = 16;

void writeTitle(const std::string& title) {
    std::cout << "━━ " << title << ' ';
    for (std::size_t column = title.size() + 4; column < terminalWidth; ++column) {
        std::cout << "━";
    }
    std::cout << "\n\n";
}

// A line with a name in front of it; the lines below have none.
std::ostream& writeLine(const char* name = "") {
    return std::cout << "  " << std::left << std::setw(nameWidth) << name << std::right;
}

void describe(const ZVariantAbi& value) {
    std::ostringstream shape;
    for (const std::uint64_t length : value.dimensions()) {
        shape << (shape.tellp() == 0 ? "" : " x ") << length;
    }
    writeLine("type") << value.wellKnownDataType() << '\n';
    writeLine("shape") << (value.isScalarStorage() ? "a scalar" : shape.str()) << ", " << value.elementCount()
                       << (value.elementCount() == 1 ? " element\n" : " elements\n");
    writeLine("ordering") << nameOf(value.dataOrdering()) << "\n\n";
}

// Whether a cast kept the number. NaN that stays NaN counts as kept, although it equals nothing.
bool isKept(const Number& before, const Number& after) {
    const auto isPartKept = [](Real left, Real right) {
        return left == right || (std::isnan(left) && std::isnan(right));
    };
    return isPartKept(before.real(), after.real()) && isPartKept(before.imag(), after.imag());
}

// How many numbers differ after a cast, and how the first of them came out.
std::string describeCast(const ZVariantAbi& value, const ZVariantAbi& cast) {
    const Numbers before(value);
    const Numbers after(cast);
    std::uint64_t changes = 0;
    std::uint64_t first = 0;
    for (std::uint64_t i = before.size(); i-- > 0;) {
        if (!isKept(before[i], after[i])) {
            ++changes;
            first = i;
        }
    }
    if (changes == 0) {
        return "Cast keeps all";
    }
    // As many digits as it takes to tell the two apart.
    std::string from = toText(before[first]);
    std::string to = toText(after[first]);
    for (int digits = 4; from == to && digits <= 20; ++digits) {
        from = toText(before[first], digits);
        to = toText(after[first], digits);
    }
    return "Cast alters " + std::to_string(changes) + ", " + from + " to " + to;
}

// Writes a text that begins at a column and goes on there in the lines below where it is too long for one.
void writeWrapped(const std::string& text, std::size_t column) {
    std::istringstream words(text);
    std::size_t end = column;
    for (std::string word; words >> word;) {
        if (end != column && end + 1 + word.size() > terminalWidth) {
            std::cout << '\n' << std::string(column, ' ') << word;
            end = column + word.size();
        } else {
            std::cout << (end == column ? "" : " ") << word;
            end += word.size() + (end == column ? 0 : 1);
        }
    }
    std::cout << '\n';
}

void convert(const ZVariantAbi& value) {
    const char* name = "convert";
    for (const WellKnownType target :
         {WellKnownType::float_, WellKnownType::int16, WellKnownType::bool_, WellKnownType::complexFloat}) {
        if (target == value.wellKnownDataType()) {
            continue;
        }
        const ZVariantAbi exact = value.convertTo(target, ConversionMode::Exact);
        const ZVariantAbi cast = value.convertOrThrow(target);
        writeLine(name) << std::left << std::setw(typeWidth) << target << std::right;
        writeWrapped((exact.isNull() ? "Exact refuses, " : "Exact accepts, ") + describeCast(value, cast),
                     textColumn + typeWidth);
        name = "";
    }
    // No cast makes a span of time of a number, unless there is nothing to convert.
    writeLine() << std::left << std::setw(typeWidth) << WellKnownType::duration << std::right;
    try {
        const ZVariantAbi converted = value.convertOrThrow(WellKnownType::duration);
        std::cout << "accepted, " << converted.elementCount() << " elements\n";
    } catch (const std::runtime_error& error) {
        std::cout << "raises std::runtime_error\n";
        writeLine() << "  ";
        writeWrapped(error.what(), textColumn + 2);
    }
    std::cout << '\n';
}

void writeFirstElements(const ZVariantAbi& value) {
    const Numbers numbers(value);
    const std::string more = " ...";
    const std::size_t room = terminalWidth - textColumn - orderingWidth - more.size();
    std::string line;
    for (std::uint64_t i = 0; i < numbers.size(); ++i) {
        const std::string text = ' ' + toText(numbers[i]);
        if (line.size() + text.size() > room) {
            line += more;
            break;
        }
        line += text;
    }
    std::cout << std::left << std::setw(orderingWidth) << nameOf(value.dataOrdering()) << std::right << line << '\n';
}

void reorder(const ZVariantAbi& value) {
    if (value.isScalarStorage()) {
        writeLine("reorder") << "a scalar has one ordering\n\n";
        return;
    }
    const DataOrdering other =
        value.dataOrdering() == DataOrdering::RowMajor ? DataOrdering::ColumnMajor : DataOrdering::RowMajor;
    const ZVariantAbi reordered = value.reordered(other);
    writeLine("reorder");
    writeFirstElements(value);
    writeLine();
    writeFirstElements(reordered);
    std::cout << '\n';
}

void show(const std::string& path) {
    const ZVariantAbi value = readNpyFile(path);
    writeTitle(path);
    describe(value);
    draw(value, std::cout);
    std::cout << '\n';
    convert(value);
    reorder(value);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 2) {
        std::cerr << "usage: show_npy FILE...\n";
        return 2;
    }
    int exitCode = 0;
    for (int i = 1; i < argumentCount; ++i) {
        try {
            show(arguments[i]);
        } catch (const std::exception& error) {
            std::cerr << "show_npy: " << arguments[i] << ": " << error.what() << '\n';
            exitCode = 1;
        }
    }
    if (!std::cout.flush()) {
        std::cerr << "show_npy: the output cannot be written\n";
        exitCode = 1;
    }
    return exitCode;
}
