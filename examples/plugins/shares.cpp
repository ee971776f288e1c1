// A plugin of the library's own compiler and standard library: each row in shares of its sum. It has ZVariant and
// trees, and the setting {"shares", "whole"} tells what a sum counts as.
#include "plugin.h"

#include <pyx/pyx.h>

#include <cmath>
#include <numeric>
#include <stdexcept>
#include <string>

using namespace Quorvane::Pyx;

namespace {

PropertyNode settingsOf(const PluginTask& task) {
    const ZVariant paths = ZVariant::share(task.paths);
    FlatTree flat;
    for (std::uint64_t i = 0; i < task.settingCount; ++i) {
        flat.paths.push_back(paths.elementAt<std::string>(i));
        flat.values.push_back(ZVariant::share(task.values[i]));
    }
    return unflatten(flat);
}

}  // namespace

void runPlugin(AbiErrorRecord* record, const PluginTask* task, PluginResult* result) {
    guardAbiCall(record, [&] {
        const PropertyNode settings = settingsOf(*task);
        const double whole = settings.at({"shares", "whole"}).value().as<double>();
        // The first write makes a copy, since the host holds the data as well.
        ZVariant grid = ZVariant::share(task->grid).reordered(DataOrdering::RowMajor);
        const std::uint64_t rows = grid.dimensions()[0], columns = grid.dimensions()[1];
        double* element = grid.mutableData<double>();
        for (std::uint64_t row = 0; row < rows; ++row) {
            const double sum = std::accumulate(element, element + columns, 0.);
            if (sum == 0) {
                throw std::invalid_argument("Row " + std::to_string(row) + " sums to 0.");
            }
            for (const double* const end = element + columns; element != end; ++element) {
                *element *= whole / sum;
            }
        }
        ZVariant text = "each row in shares of its sum, which counts as " + std::to_string(std::lround(whole));
        result->array = std::move(grid).release();
        result->text = std::move(text).release();
    });
}
