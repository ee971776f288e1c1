/* The contract between the host and its plugins, in C99 and C++17.
 *
 * A plugin is one function of the type PluginFunction. A module exports it under the name runPlugin; a script hands it
 * to useFunction. The host calls it from one thread at a time.
 *
 * Ownership. What a task leads to belongs to the host and is borrowed for the call: a plugin that keeps a value takes a
 * reference of its own (ZVariantData_C_API_copy, ZVariantAbi::share), and none writes to a handle of the task. The
 * references in a result go to the host, which gives them up. Values may outlive the module that made them.
 *
 * Failures. The function leaves `kind` of the record null, or fills the record as a flat function of the library does
 * and leaves the result alone. No exception leaves it. `kind` is one of the six texts in pyx/abi/c_api.h; it may be a
 * literal of the module, since the host rethrows before it unloads anything. */
#ifndef PLUGIN_H
#define PLUGIN_H

#include <pyx/abi/c_api.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct PluginTask {
    /* An array of double with two dimensions, in either ordering. */
    PyxVariantData* grid;
    /* The settings, a flat tree: an array of strings as flatten gives them, "/stations" or "/shares/whole", and as
     * many values. */
    PyxVariantData* paths;
    PyxVariantData* const* values;
    uint64_t settingCount;
} PluginTask;

/* Both are null when the host calls. */
typedef struct PluginResult {
    /* An array of numbers. */
    PyxVariantData* array;
    /* A string or an array of strings: what a reader should know about the array. */
    PyxVariantData* text;
} PluginResult;

typedef void PluginFunction(AbiErrorRecord* record, const PluginTask* task, PluginResult* result);

/* What a module exports. */
PYXCORE_API PluginFunction runPlugin;

/* What the host exports to a program that loads it as a library: they use a plugin and print what it gives. */
PYXCORE_API void useModule(AbiErrorRecord* record, const char* path);
PYXCORE_API void useFunction(AbiErrorRecord* record, const char* name, PluginFunction* plugin);

/* Fills the record for a module without exceptions. */
static inline void failPlugin(AbiErrorRecord* record, const char* kind, const char* message) {
    record->kind = kind;
    snprintf(record->message, sizeof record->message, "%s", message);
}

/* The value of a setting, borrowed. "out_of_range" where there is none. */
static inline PyxVariantData* findSetting(AbiErrorRecord* record, const PluginTask* task, const char* path) {
    const PyxString* const paths = (const PyxString*)ZVariantData_C_API_constStoredData(record, task->paths);
    for (uint64_t i = 0; record->kind == NULL && i < task->settingCount; ++i) {
        if (paths[i].length == strlen(path) && memcmp(paths[i].data, path, strlen(path)) == 0) {
            return task->values[i];
        }
    }
    if (record->kind == NULL) {
        record->kind = "out_of_range";
        snprintf(record->message, sizeof record->message, "There is no setting %s.", path);
    }
    return NULL;
}

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif
