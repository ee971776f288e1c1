#include "drawing.h"

#include "Numbers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <string>
#include <utility>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

using Count = std::uint64_t;

const char* const indent = "  ";
const char* const shades[] = {" ", "░", "▒", "▓", "█"};
const char* const bars[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
const char* const arrows[] = {"→", "↗", "↑", "↖", "←", "↙", "↓", "↘"};

std::string repeated(const std::string& text, Count times) {
    std::string result;
    for (Count i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

// What is known of a set of numbers. Infinities and NaN do not count.
struct Summary {
    Count count = 0;
    Real lowest = std::nanl("");
    Real highest = std::nanl("");
    Real sum = 0;

    void add(Real number) {
        if (!std::isfinite(number)) {
            return;
        }
        lowest = count == 0 ? number : std::min(lowest, number);
        highest = count == 0 ? number : std::max(highest, number);
        sum += number;
        ++count;
    }

    Real mean() const { return sum / static_cast<Real>(count); }

    // Where a number of the set stands between the lowest, 0, and the highest, 1.
    Real place(Real number) const {
        if (lowest == highest) {
            return number == 0 ? 0 : 1;
        }
        return (number - lowest) / (highest - lowest);
    }
};

// The step of 0 to `last` that is nearest to a place between 0 and 1.
std::size_t nearestStep(Real place, Count last) {
    return static_cast<std::size_t>(std::lround(place * static_cast<Real>(last)));
}

// A length cut into parts that differ by one at most, to show what is longer than there is room.
struct Parts {
    Parts(Count wholeLength, Count most) : length(wholeLength), count(std::min(wholeLength, most)) {}

    Count begin(Count part) const { return part * (length / count) + std::min(part, length % count); }
    Count end(Count part) const { return begin(part + 1); }

    Count length;
    Count count;
};

// A bar chart of one row of numbers; of complex ones, the magnitudes.
void drawChart(const Numbers& numbers, bool isComplex, std::ostream& out) {
    constexpr Count chartWidth = 64;
    constexpr int chartHeight = 6;
    const Parts parts(numbers.size(), chartWidth);
    std::vector<Real> heights;
    Summary summary;
    // Bars stand on the zero line, unless some go below it.
    summary.add(0);
    for (Count part = 0; part < parts.count; ++part) {
        Real sum = 0;
        for (Count i = parts.begin(part); i < parts.end(part); ++i) {
            sum += isComplex ? std::abs(numbers[i]) : numbers[i].real();
        }
        heights.push_back(sum / static_cast<Real>(parts.end(part) - parts.begin(part)));
        summary.add(heights.back());
    }

    const Count barWidth = std::min<Count>(chartWidth / parts.count, 4);
    for (int row = chartHeight - 1; row >= 0; --row) {
        const bool isTop = row == chartHeight - 1;
        const std::string label = isTop ? toText(summary.highest) : row == 0 ? toText(summary.lowest) : "";
        out << indent << std::setw(10) << label << " │";
        for (const Real height : heights) {
            const int eighths =
                std::isfinite(height) ? static_cast<int>(nearestStep(summary.place(height), chartHeight * 8)) : 0;
            out << repeated(bars[std::clamp(eighths - row * 8, 0, 8)], barWidth);
        }
        out << '\n';
    }
    out << indent << std::setw(10) << (isComplex ? "|z|" : "") << " └" << repeated("─", barWidth * parts.count) << '\n';
    if (parts.length > parts.count) {
        out << indent << "each bar is the mean of about " << parts.length / parts.count << " numbers\n";
    }
}

// The decimals that show the number as it is, at most four.
int decimalsOf(Real number) {
    int decimals = 0;
    for (Real scaled = number; decimals < 4 && std::abs(scaled - std::round(scaled)) > 1e-6L * std::abs(scaled);
         scaled *= 10) {
        ++decimals;
    }
    return decimals;
}

std::string fixedText(Real number, int decimals) {
    const Real magnitude = std::abs(number);
    const bool isTooLong = !(magnitude < (decimals == 0 ? 0x1p64L : 1e6L));
    const bool isTooSmall = decimals != 0 && number != 0 && magnitude < 1e-3L;
    if (isTooLong || isTooSmall) {
        return toText(number);
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.*Lf", decimals, number);
    return text;
}

struct Column {
    static constexpr Count histogramWidth = 8;

    Summary summary;
    int decimals = 0;
    std::vector<Count> histogram = std::vector<Count>(histogramWidth);
    Count width = histogramWidth + 2;
};

// As many narrow columns as the terminal has room for.
constexpr Count mostTableColumns = 6;

// The first and the last rows of a matrix, with a summary of each column.
void drawTable(const Numbers& numbers, Count rows, Count columns, std::ostream& out) {
    constexpr Count rowsAtEachEnd = 4;
    std::vector<Column> table(columns);
    for (Count i = 0; i < numbers.size(); ++i) {
        table[i % columns].summary.add(numbers[i].real());
    }
    for (Count i = 0; i < numbers.size(); ++i) {
        const Real number = numbers[i].real();
        if (std::isfinite(number)) {
            Column& column = table[i % columns];
            ++column.histogram[nearestStep(column.summary.place(number), Column::histogramWidth - 1)];
        }
    }

    std::vector<Count> shownRows;
    for (Count row = 0; row < rows; ++row) {
        if (row == rowsAtEachEnd && rows > 2 * rowsAtEachEnd) {
            row = rows - rowsAtEachEnd;
        }
        shownRows.push_back(row);
    }
    Count width = 12;
    for (Count c = 0; c < columns; ++c) {
        Column& column = table[c];
        for (const Count row : shownRows) {
            column.decimals = std::max(column.decimals, decimalsOf(numbers[row * columns + c].real()));
        }
        for (const Count row : shownRows) {
            const std::string text = fixedText(numbers[row * columns + c].real(), column.decimals);
            column.width = std::max<Count>(column.width, text.size() + 2);
        }
        width += column.width;
    }
    for (; width > terminalWidth; table.pop_back()) {
        width -= table.back().width;
    }

    const auto writeRow = [&](const std::string& name, const auto& textOfColumn) {
        out << indent << std::setw(8) << name << " │";
        for (Count c = 0; c < table.size(); ++c) {
            out << std::setw(static_cast<int>(table[c].width)) << textOfColumn(c);
        }
        out << '\n';
    };
    const auto drawRule = [&] { out << indent << repeated("─", 9) << "┼" << repeated("─", width - 12) << '\n'; };
    writeRow("", [](Count c) { return '[' + std::to_string(c) + ']'; });
    drawRule();
    Count next = 0;
    for (const Count row : shownRows) {
        if (row != next) {
            writeRow("...", [](Count) { return "..."; });
        }
        writeRow('[' + std::to_string(row) + ']',
                 [&](Count c) { return fixedText(numbers[row * columns + c].real(), table[c].decimals); });
        next = row + 1;
    }
    drawRule();
    writeRow("highest", [&](Count c) { return fixedText(table[c].summary.highest, table[c].decimals); });
    writeRow("mean", [&](Count c) { return fixedText(table[c].summary.mean(), table[c].decimals + 2); });
    writeRow("lowest", [&](Count c) { return fixedText(table[c].summary.lowest, table[c].decimals); });
    out << indent << std::setw(8) << "spread"
        << " │";
    for (const Column& column : table) {
        const Count most = std::max<Count>(*std::max_element(column.histogram.begin(), column.histogram.end()), 1);
        out << std::string(column.width - Column::histogramWidth, ' ');
        for (const Count frequency : column.histogram) {
            // Rounded up, so that no number goes unseen.
            out << bars[(frequency * 8 + most - 1) / most];
        }
    }
    out << '\n';
    if (table.size() < columns) {
        out << indent << columns - table.size() << " more columns have no room here\n";
    }
}

// A matrix, shrunk to what the terminal has room for.
using Picture = std::vector<std::vector<Number>>;

Picture shrink(const Numbers& numbers, Count first, const Parts& rows, const Parts& columns) {
    Picture picture(rows.count, std::vector<Number>(columns.count));
    for (Count row = 0; row < rows.count; ++row) {
        for (Count column = 0; column < columns.count; ++column) {
            Number sum = 0;
            for (Count i = rows.begin(row); i < rows.end(row); ++i) {
                for (Count j = columns.begin(column); j < columns.end(column); ++j) {
                    sum += numbers[first + i * columns.length + j];
                }
            }
            const Count size = (rows.end(row) - rows.begin(row)) * (columns.end(column) - columns.begin(column));
            picture[row][column] = sum / static_cast<Real>(size);
        }
    }
    return picture;
}

// Lines of characters with a caption below, all as many columns wide.
struct Panel {
    std::string caption;
    std::vector<std::string> lines;
};

// Two characters for each cell, which makes it about a square, and blanks up to the width.
template <class CharacterOf>
Panel makePanel(const std::string& caption, const Picture& picture, Count width, CharacterOf characterOf) {
    const Count room = width - caption.size();
    Panel panel{std::string(room / 2, ' ') + caption + std::string(room - room / 2, ' '), {}};
    for (const std::vector<Number>& row : picture) {
        std::string line;
        for (const Number& cell : row) {
            line += repeated(characterOf(cell), 2);
        }
        panel.lines.push_back(line + std::string(width - row.size() * 2, ' '));
    }
    return panel;
}

void drawSideBySide(const std::vector<Panel>& panels, Count panelsInALine, std::ostream& out) {
    for (Count first = 0; first < panels.size(); first += panelsInALine) {
        const Count last = std::min<Count>(first + panelsInALine, panels.size());
        for (Count line = 0; line < panels[first].lines.size(); ++line) {
            for (Count i = first; i < last; ++i) {
                out << indent << panels[i].lines[line];
            }
            out << '\n';
        }
        for (Count i = first; i < last; ++i) {
            out << indent << panels[i].caption;
        }
        out << '\n';
    }
}

// Pictures of the first matrices of a stack, in shades from the lowest number to the highest. A complex matrix becomes
// two pictures: the magnitudes on a logarithmic scale, and the directions.
void drawPictures(const Numbers& numbers, Count rows, Count columns, bool isComplex, std::ostream& out) {
    const Count panelsInAPicture = isComplex ? 2 : 1;
    const Parts rowParts(rows, 28);
    const Parts columnParts(columns, isComplex ? 18 : 38);
    const Count longestCaption = isComplex ? 13 : 4;
    const Count panelWidth = std::max(columnParts.count * 2, longestCaption);
    const Count picturesInALine = terminalWidth / ((panelWidth + 2) * panelsInAPicture);
    const Count lines = std::clamp<Count>(30 / (rowParts.count + 1), 1, 3);
    const Count available = numbers.size() / (rows * columns);
    const Count shown = std::min(available, picturesInALine * lines);

    std::vector<Picture> pictures;
    Summary summary;
    for (Count i = 0; i < shown; ++i) {
        pictures.push_back(shrink(numbers, i * rows * columns, rowParts, columnParts));
        for (const std::vector<Number>& row : pictures.back()) {
            for (const Number& cell : row) {
                summary.add(isComplex ? std::abs(cell) : cell.real());
            }
        }
    }
    constexpr Real decades = 3;
    const auto placeOf = [&](const Number& cell) -> Real {
        if (!isComplex) {
            return summary.place(cell.real());
        }
        return cell == Number(0) ? 0 : std::max<Real>(1 + std::log10(std::abs(cell) / summary.highest) / decades, 0);
    };
    const auto isFinite = [](const Number& cell) { return std::isfinite(cell.real()) && std::isfinite(cell.imag()); };
    const auto shadeOf = [&](const Number& cell) {
        return isFinite(cell) ? shades[nearestStep(placeOf(cell), 4)] : "×";
    };
    const auto arrowOf = [&](const Number& cell) {
        if (!isFinite(cell) || nearestStep(placeOf(cell), 4) == 0) {
            return " ";
        }
        const Real eighths = std::round(std::arg(cell) * 4 / std::acos(Real(-1)));
        return arrows[(static_cast<int>(eighths) + 8) % 8];
    };
    std::vector<Panel> panels;
    for (Count i = 0; i < shown; ++i) {
        const std::string name = available == 1 ? "" : '[' + std::to_string(i) + ']';
        panels.push_back(makePanel(isComplex ? "magnitude" + name : name, pictures[i], panelWidth, shadeOf));
        if (isComplex) {
            panels.push_back(makePanel("direction" + name, pictures[i], panelWidth, arrowOf));
        }
    }
    drawSideBySide(panels, picturesInALine * panelsInAPicture, out);

    const Real darkest = isComplex ? summary.highest / std::pow(Real(10), decades) : summary.lowest;
    out << indent << "shades: " << toText(darkest) << " [";
    for (const char* const shade : shades) {
        out << shade;
    }
    out << "] " << toText(summary.highest) << (isComplex ? ", logarithmic" : "");
    if (shown < available) {
        out << "; " << shown << " of " << available << " pictures";
    }
    if (rowParts.count < rows || columnParts.count < columns) {
        out << "; each " << columns << " by " << rows << ", shrunk";
    }
    out << '\n';
}

}  // namespace

void draw(const ZVariantAbi& value, std::ostream& out) {
    const ArrayDimensionsView shape = value.dimensions();
    const bool isComplex = value.wellKnownDataType().isComplex();
    if (value.elementCount() == 0) {
        out << indent << "no elements to draw\n";
        return;
    }
    const Numbers numbers(value.reordered(DataOrdering::RowMajor));
    const Count columns = shape[shape.size() - 1];
    const Count rows = shape.size() < 2 ? 1 : shape[shape.size() - 2];
    if (numbers.size() == 1) {
        out << indent << "the value " << value << '\n';
    } else if (rows == 1 && columns == numbers.size()) {
        drawChart(numbers, isComplex, out);
    } else if (shape.size() == 2 && columns <= mostTableColumns && !isComplex) {
        drawTable(numbers, rows, columns, out);
    } else {
        drawPictures(numbers, rows, columns, isComplex, out);
    }
}
