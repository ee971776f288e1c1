/* A client in C: the whole road of a value through the flat functions, with its failures. */
#include <pyx/abi/c_api.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

static void check(int holds, const char* what, int line) {
    if (!holds) {
        fprintf(stderr, "line %d: %s\n", line, what);
        ++failures;
    }
}
#define CHECK(condition) check((condition) != 0, #condition, __LINE__)

static int failedWith(const AbiErrorRecord* record, const char* kind, const char* message) {
    return record->kind != NULL && strcmp(record->kind, kind) == 0 && strcmp(record->message, message) == 0;
}

int main(void) {
    AbiErrorRecord record;
    const double samples[6] = {0.5, 1.5, 2.5, 3.5, 4.5, 5.5};
    const uint64_t lengths[2] = {2, 3};
    const uint64_t flat[1] = {6};
    const PyxDimensions shape = {lengths, 2};
    const PyxDimensions line = {flat, 1};
    const PyxDimensions none = {NULL, 0};
    void* stored = NULL;

    PyxVariantData* grid =
        ZVariantData_C_API_constructArray(&record, samples, PyxType_double, 6, shape, PyxOrdering_rowMajor);
    CHECK(record.kind == NULL);
    CHECK(ZVariantData_C_API_wellKnownDataType(&record, grid) == PyxType_double);
    CHECK(ZVariantData_C_API_dimensions(&record, grid).count == 2);
    CHECK(ZVariantData_C_API_dimensions(&record, grid).lengths[1] == 3);

    /* Converted, reordered and rebuilt. */
    PyxVariantData* whole = ZVariantData_C_API_convertDataTo(&record, grid, PyxType_int32, PyxConversion_cast);
    CHECK(((const int*)ZVariantData_C_API_constStoredData(&record, whole))[5] == 5);
    whole = ZVariantData_C_API_reorderData(&record, whole, PyxOrdering_columnMajor);
    CHECK(ZVariantData_C_API_dataOrdering(&record, whole) == PyxOrdering_columnMajor);
    CHECK(((const int*)ZVariantData_C_API_constStoredData(&record, whole))[1] == 3);
    whole = ZVariantData_C_API_reshapeToZVariant(&record, whole, whole, line, PyxOrdering_rowMajor);
    CHECK(record.kind == NULL && ZVariantData_C_API_dimensions(&record, whole).lengths[0] == 6);

    /* A second holder does not see what the first one writes. */
    PyxVariantData* shared = ZVariantData_C_API_copy(&record, grid);
    CHECK(shared == grid);
    shared = ZVariantData_C_API_mutableStoredData(&record, shared, &stored);
    CHECK(shared != grid);
    ((double*)stored)[0] = 9;
    CHECK(((const double*)ZVariantData_C_API_constStoredData(&record, grid))[0] == 0.5);

    /* The same storage as complex numbers; the view takes a reference over, here one of its own. */
    PyxVariantData* pairs = ZVariantData_C_API_constructTransmuteRealToComplexVariant(
        &record, ZVariantData_C_API_reshapeToZVariant(&record, grid, ZVariantData_C_API_copy(&record, grid), line, 0));
    CHECK(ZVariantData_C_API_wellKnownDataType(&record, pairs) == PyxType_complexDouble);
    CHECK(ZVariantData_C_API_dimensions(&record, pairs).lengths[0] == 3);
    pairs = ZVariantData_C_API_constructTransmuteComplexToRealVariant(&record, pairs);
    CHECK(((const double*)ZVariantData_C_API_constStoredData(&record, pairs))[5] == 5.5);
    ZVariantData_C_API_destruct(&record, pairs);

    /* Compared: the same numbers in another type and ordering. */
    PyxVariantData* other = ZVariantData_C_API_reorderData(
        &record, ZVariantData_C_API_convertDataTo(&record, grid, PyxType_complexFloat, PyxConversion_exact),
        PyxOrdering_columnMajor);
    CHECK(ZVariantData_C_API_isEquivalentTo(&record, grid, other, PyxConversion_exact));
    CHECK(!ZVariantData_C_API_isIdenticalTo(&record, grid, other));
    CHECK(ZVariantData_C_API_isIdenticalTo(&record, grid, grid));
    CHECK(!ZVariantData_C_API_isEquivalentTo(&record, grid, shared, PyxConversion_cast) && record.kind == NULL);

    /* Strings are read where they stand, and lent to be copied. */
    char text[5001];
    memset(text, 'x', sizeof text);
    text[5000] = '\0';
    const uint64_t sizes[6] = {0, 1, 15, 16, 41, 5000};
    PyxString strings[6];
    for (int i = 0; i < 6; ++i) {
        strings[i] = PyxString_borrow(text + 5000 - sizes[i], sizes[i]);
    }
    PyxVariantData* words =
        ZVariantData_C_API_constructArray(&record, strings, PyxType_string, 6, none, PyxOrdering_rowMajor);
    CHECK(record.kind == NULL);
    const PyxString embedded = PyxString_borrow("d\0e", 3);
    PyxVariantData* word = ZVariantData_C_API_constructScalar(&record, &embedded, PyxType_string);
    const PyxString* read = (const PyxString*)ZVariantData_C_API_constStoredData(&record, word);
    CHECK(read->length == 3 && memcmp(read->data, "d\0e", 4) == 0 && read->data != embedded.data);
    ZVariantData_C_API_destruct(&record, word);
    read = (const PyxString*)ZVariantData_C_API_constStoredData(&record, words);
    for (int i = 0; i < 6; ++i) {
        CHECK(read[i].length == sizes[i] && strcmp(read[i].data, strings[i].data) == 0);
        CHECK(read[i].data != strings[i].data);
    }
    /* What was read in place can be lent again. */
    word = ZVariantData_C_API_constructArray(&record, read, PyxType_string, 6, none, PyxOrdering_rowMajor);
    CHECK(ZVariantData_C_API_isIdenticalTo(&record, word, words));
    ZVariantData_C_API_destruct(&record, word);
    ZVariantData_C_API_destruct(&record, words);

    /* Failures. */
    CHECK(ZVariantData_C_API_constructTransmuteRealToComplexVariant(&record, ZVariantData_C_API_constructNull()) ==
          NULL);
    CHECK(failedWith(&record, "invalid_argument", "Cannot create a view of data without dimensions."));
    CHECK(ZVariantData_C_API_constructScalar(&record, samples, PyxType_customType) == NULL);
    CHECK(failedWith(&record, "runtime_error", "unknown type"));
    CHECK(ZVariantData_C_API_constructArray(&record, samples, PyxType_double, 5, shape, PyxOrdering_rowMajor) == NULL);
    CHECK(failedWith(&record, "length_error", "dimensions do not match data length"));
    CHECK(ZVariantData_C_API_convertDataTo(&record, grid, PyxType_duration, PyxConversion_cast) == NULL);
    CHECK(record.kind == NULL);
    ZVariantData_C_API_reshapeNoRealloc(&record, ZVariantData_C_API_constructNull(), line);
    CHECK(record.kind != NULL && strcmp(record.kind, "invalid_argument") == 0);
    ZVariantData_C_API_reshapeNoRealloc(&record, ZVariantData_C_API_constructNull(), none);
    CHECK(record.kind == NULL && record.message[0] == '\0');

    ZVariantData_C_API_destruct(&record, grid);
    ZVariantData_C_API_destruct(&record, other);
    ZVariantData_C_API_destruct(&record, whole);
    ZVariantData_C_API_destruct(&record, shared);
    ZVariantData_C_API_destruct(&record, NULL);
    CHECK(record.kind == NULL);
    return failures != 0;
}
