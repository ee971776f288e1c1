/* A plugin in C99: how many elements fall into each of as many bins as the setting /histogram/bins says, and the range
 * of each bin. It has the flat functions and PyxString. */
#include "plugin.h"

#include <inttypes.h>
#include <math.h>

enum { most_bins = 20, label_size = 40 };

/* The setting, or 0 with a filled record. */
static int32_t number_of_bins(AbiErrorRecord* record, const PluginTask* task) {
    const PyxVariantData* setting = findSetting(record, task, "/histogram/bins");
    if (setting == NULL) {
        return 0;
    }
    if (ZVariantData_C_API_wellKnownDataType(record, setting) != PyxType_int32) {
        failPlugin(record, "invalid_argument", "The number of bins is no int32.");
        return 0;
    }
    const int32_t bins = *(const int32_t*)ZVariantData_C_API_constStoredData(record, setting);
    if (bins < 1 || bins > most_bins) {
        failPlugin(record, "out_of_range", "The number of bins is not from 1 to 20.");
        return 0;
    }
    return bins;
}

void runPlugin(AbiErrorRecord* record, const PluginTask* task, PluginResult* result) {
    const int32_t bins = number_of_bins(record, task);
    if (record->kind != NULL) {
        return;
    }
    /* Reading type, shape and elements of a plain array does not fail. */
    const PyxDimensions shape = ZVariantData_C_API_dimensions(record, task->grid);
    const uint64_t count = shape.lengths[0] * shape.lengths[1];
    const double* elements = ZVariantData_C_API_constStoredData(record, task->grid);
    double low = INFINITY, high = -INFINITY;
    for (uint64_t i = 0; i < count; ++i) {
        if (!isfinite(elements[i])) {
            failPlugin(record, "runtime_error", "An element is no finite number.");
            return;
        }
        low = fmin(low, elements[i]);
        high = fmax(high, elements[i]);
    }
    const double width = (high - low) / bins;
    if (!isfinite(width)) {
        failPlugin(record, "invalid_argument", "The elements have no range.");
        return;
    }

    int32_t counts[most_bins] = {0};
    for (uint64_t i = 0; i < count; ++i) {
        const int32_t bin = width > 0 ? (int32_t)((elements[i] - low) / width) : 0;
        ++counts[bin < bins ? bin : bins - 1];
    }
    char texts[most_bins][label_size];
    PyxString labels[most_bins];
    for (int32_t bin = 0; bin < bins; ++bin) {
        const int length = snprintf(texts[bin], label_size, "%.4g to %.4g", low + bin * width, low + (bin + 1) * width);
        labels[bin] = PyxString_borrow(texts[bin], (uint64_t)length);
    }

    /* The library copies elements and strings. A record that it has filled is the plugin's failure as well. */
    const PyxDimensions line = {NULL, 0};
    PyxVariantData* array =
        ZVariantData_C_API_constructArray(record, counts, PyxType_int32, (uint64_t)bins, line, PyxOrdering_rowMajor);
    if (record->kind != NULL) {
        return;
    }
    PyxVariantData* text =
        ZVariantData_C_API_constructArray(record, labels, PyxType_string, (uint64_t)bins, line, PyxOrdering_rowMajor);
    if (record->kind != NULL) {
        AbiErrorRecord ignored;
        ZVariantData_C_API_destruct(&ignored, array);
        return;
    }
    result->array = array;
    result->text = text;
}
