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

static void useNumbers(void) {
    AbiErrorRecord record;
    const double samples[6] = {0.5, 1.5, 2.5, 3.5, 4.5, 5.5};
    const uint64_t lengths[2] = {2, 3};
    const uint64_t flat[1] = {6};
    const PyxDimensions shape = {lengths, 2};
    const PyxDimensions line = {flat, 1};
    void* stored = NULL;

    PyxVariantData* grid =
        ZVariantData_C_API_constructArray(&record, samples, PyxType_double, 6, shape, PyxOrdering_rowMajor);
    CHECK(record.kind == NULL && record.message[0] == '\0');
    CHECK(ZVariantData_C_API_wellKnownDataType(&record, grid) == PyxType_double);
    CHECK(ZVariantData_C_API_dimensions(&record, grid).count == 2);
    CHECK(ZVariantData_C_API_dimensions(&record, grid).lengths[1] == 3);

    /* Converted, reordered and rebuilt. */
    PyxVariantData* whole = ZVariantData_C_API_convertDataTo(&record, grid, PyxType_int32, PyxConversion_cast);
    whole = ZVariantData_C_API_reorderData(&record, whole, PyxOrdering_columnMajor);
    CHECK(ZVariantData_C_API_dataOrdering(&record, whole) == PyxOrdering_columnMajor);
    CHECK(((const int*)ZVariantData_C_API_constStoredData(&record, whole))[1] == 3);
    CHECK(ZVariantData_C_API_isEquivalentTo(&record, grid, grid, PyxConversion_exact));
    CHECK(!ZVariantData_C_API_isEquivalentTo(&record, grid, whole, PyxConversion_exact));
    whole = ZVariantData_C_API_reshapeToZVariant(&record, whole, whole, line, PyxOrdering_rowMajor);
    CHECK(record.kind == NULL && ZVariantData_C_API_dimensions(&record, whole).lengths[0] == 6);
    ZVariantData_C_API_destruct(&record, whole);

    /* A second holder does not see what the first one writes. */
    PyxVariantData* shared = ZVariantData_C_API_copy(&record, grid);
    CHECK(shared == grid);
    shared = ZVariantData_C_API_mutableStoredData(&record, shared, &stored);
    CHECK(shared != grid);
    ((double*)stored)[0] = 9;
    CHECK(((const double*)ZVariantData_C_API_constStoredData(&record, grid))[0] == 0.5);
    ZVariantData_C_API_destruct(&record, shared);

    /* A view takes the reference over. What it cannot show, it says. */
    PyxVariantData* pairs = ZVariantData_C_API_constructTransmuteRealToComplexVariant(
        &record, ZVariantData_C_API_reshapeToZVariant(&record, grid, ZVariantData_C_API_copy(&record, grid), line, 0));
    CHECK(ZVariantData_C_API_wellKnownDataType(&record, pairs) == PyxType_complexDouble);
    pairs = ZVariantData_C_API_constructTransmuteComplexToRealVariant(&record, pairs);
    CHECK(((const double*)ZVariantData_C_API_constStoredData(&record, pairs))[5] == 5.5);
    ZVariantData_C_API_destruct(&record, pairs);
    pairs = ZVariantData_C_API_constructTransmuteRealToComplexVariant(&record, ZVariantData_C_API_constructNull());
    CHECK(pairs == NULL);
    CHECK(failedWith(&record, "invalid_argument", "Cannot create a view of data without dimensions."));
    ZVariantData_C_API_reshapeNoRealloc(&record, grid, line);
    CHECK(record.kind == NULL && ZVariantData_C_API_dimensions(&record, grid).count == 1);
    CHECK(ZVariantData_C_API_constructArray(&record, samples, PyxType_double, 5, shape, PyxOrdering_rowMajor) == NULL);
    CHECK(failedWith(&record, "length_error", "dimensions do not match data length"));
    CHECK(ZVariantData_C_API_convertDataTo(&record, grid, PyxType_duration, PyxConversion_cast) == NULL);
    CHECK(record.kind == NULL);
    ZVariantData_C_API_destruct(&record, grid);
}

/* Strings are lent to be copied, and read where they stand. What was read in place can be lent again. */
static void useStrings(void) {
    AbiErrorRecord record;
    char text[5001];
    memset(text, 'x', sizeof text);
    text[5000] = '\0';
    const PyxString strings[4] = {PyxString_borrow(text + 5000, 0), PyxString_borrow(text + 4985, 15),
                                  PyxString_borrow(text, 5000), PyxString_borrow("d\0e", 3)};
    const PyxDimensions none = {NULL, 0};
    PyxVariantData* words =
        ZVariantData_C_API_constructArray(&record, strings, PyxType_string, 4, none, PyxOrdering_rowMajor);
    const PyxString* read = (const PyxString*)ZVariantData_C_API_constStoredData(&record, words);
    for (int i = 0; i < 4; ++i) {
        CHECK(read[i].length == strings[i].length && read[i].data != strings[i].data);
        CHECK(memcmp(read[i].data, strings[i].data, read[i].length + 1) == 0);
    }
    PyxVariantData* again =
        ZVariantData_C_API_constructArray(&record, read, PyxType_string, 4, none, PyxOrdering_rowMajor);
    CHECK(ZVariantData_C_API_isIdenticalTo(&record, again, words));
    ZVariantData_C_API_destruct(&record, again);
    ZVariantData_C_API_destruct(&record, words);
}

int main(void) {
    useNumbers();
    useStrings();
    return failures != 0;
}
