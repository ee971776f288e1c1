// A table as a tree: makes an array of each column of a CSV file, whose cells hold no quotes, of the type that fits
// them, and lets another thread work on the frozen tree.
#include <pyx/pyx.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

// Booleans or integers where they are written as the library writes them. All other numbers are doubles, NaN where a
// cell is empty, as an array has no gaps.
ZVariant arrayOf(std::vector<std::string> cells) {
    const ZVariant texts = ZVariant::fromData(cells);
    for (const WellKnownType type : {WellKnownType::bool_, WellKnownType::int32}) {
        ZVariant array = texts.convertTo(type, ConversionMode::CastOrText);
        if (array.convertTo(WellKnownType::string, ConversionMode::CastOrText) == texts) {
            return array;
        }
    }
    std::replace(cells.begin(), cells.end(), std::string(), std::string("nan"));
    // A conversion ignores what follows a number, and would make numbers of dates.
    const bool areNumbers = std::all_of(cells.begin(), cells.end(), [](const std::string& cell) {
        char* rest = nullptr;
        (void)std::strtod(cell.c_str(), &rest);
        return *rest == '\0';
    });
    return areNumbers ? ZVariant::fromData(cells).convertTo(WellKnownType::double_, ConversionMode::CastOrText) : texts;
}

// The columns by the names in the first row. What a later row lacks is empty.
PropertyMap readColumns(std::istream& file) {
    std::vector<std::vector<std::string>> columns;
    for (std::string line; std::getline(file, line);) {
        if (columns.empty()) {
            columns.resize(static_cast<std::size_t>(std::count(line.begin(), line.end(), ',')) + 1);
        }
        std::istringstream row(line);
        for (std::vector<std::string>& column : columns) {
            std::getline(row, column.emplace_back(), ',');
        }
    }
    PropertyMap arrays;
    for (const std::vector<std::string>& column : columns) {
        arrays.insertOrAssign(column.front(), arrayOf({column.begin() + 1, column.end()}));
    }
    return arrays;
}

void printMean(const std::string& name, const ZVariant& numbers) {
    double sum = 0, count = 0;
    for (const double number : numbers.convertTo(WellKnownType::double_).valueRange<double>()) {
        if (!std::isnan(number)) {
            sum += number;
            ++count;
        }
    }
    std::cout << name << " (" << numbers.wellKnownDataType() << "): mean " << sum / count << " of " << count << '\n';
}

}  // namespace

int main(int argumentCount, char** arguments) {
    std::ifstream file(argumentCount == 2 ? arguments[1] : "");
    if (!file) {
        std::cerr << "usage: csv_columns FILE, a readable file\n";
        return 2;
    }
    const PropertyNode table(PropertyMap{{"source", arguments[1]}, {"columns", readColumns(file)}});
    ConsoleFormatter::serialize(table, std::cout);

    const FPropertyNode frozen(table);  // constant, and copied by one atomic increment
    std::thread([frozen] {
        for (const auto& [name, column] : frozen.at({"columns"}).map()) {
            if (column.value().wellKnownDataType().isNumeric()) {
                printMean(name.toString(), column.value());
            }
        }
    }).join();
}
