// A plugin of another standard library: the rows that sum to the setting /choose/least or more, and the names that the
// setting /stations gives them. It has ZVariantAbi, strings included, and asks for its settings by their paths.
#include "plugin.h"

#include <pyx/pyx.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

using namespace Quorvane::Pyx;

namespace {

ZVariantAbi settingOf(const PluginTask* task, const char* path) {
    return ZVariantAbi::share(callFlat(findSetting, task, path));
}

}  // namespace

void runPlugin(AbiErrorRecord* record, const PluginTask* task, PluginResult* result) {
    guardAbiCall(record, [&] {
        const ZVariantAbi grid = ZVariantAbi::share(task->grid);
        const ZVariantAbi names = settingOf(task, "/stations");
        const double least = settingOf(task, "/choose/least").as<double>();
        const std::uint64_t rows = grid.dimensions()[0];
        if (names.elementCount() != rows) {
            throw std::length_error(std::to_string(rows) + " rows, and names for " +
                                    std::to_string(names.elementCount()) + ".");
        }
        IndexSet chosen;
        for (std::uint64_t row = 0; row < rows; ++row) {
            double sum = 0;
            for (const double element : grid.slice({row, all}).valueRange<double>()) {
                sum += element;
            }
            if (sum >= least) {
                chosen.add(row);
            }
        }
        ZVariantAbi array = grid.slice({chosen, all});
        ZVariantAbi text = names.slice({chosen});
        result->array = std::move(array).release();
        result->text = std::move(text).release();
    });
}
