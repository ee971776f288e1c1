/* Values from C: makes an array, converts it, shares it, writes one of the copies, and sees a failure.
 *
 *   cc -std=c99 values.c $(pkg-config --cflags --libs pyxcore) */
#include <inttypes.h>
#include <pyx/abi/c_api.h>
#include <stdio.h>
#include <stdlib.h>

/* Ends the program when the last call has failed. */
static void require_success(const AbiErrorRecord* record) {
    if (record->kind != NULL) {
        fprintf(stderr, "%s: %s\n", record->kind, record->message);
        exit(1);
    }
}

/* Prints a value that holds 32-bit integers, in storage order. */
static void print_integers(const char* name, const PyxVariantData* data) {
    AbiErrorRecord record;
    const PyxDimensions shape = ZVariantData_C_API_dimensions(&record, data);
    require_success(&record);
    const int32_t* elements = ZVariantData_C_API_constStoredData(&record, data);
    require_success(&record);
    uint64_t count = shape.count == 0 ? 0 : 1;
    printf("%-10s shape", name);
    for (uint64_t k = 0; k < shape.count; ++k) {
        printf(" %" PRIu64, shape.lengths[k]);
        count *= shape.lengths[k];
    }
    printf(", elements");
    for (uint64_t i = 0; i < count; ++i) {
        printf(" %" PRId32, elements[i]);
    }
    printf("\n");
}

int main(void) {
    AbiErrorRecord record;
    const double samples[6] = {0.5, 1.5, 2.5, 3.5, 4.5, 5.5};
    const uint64_t lengths[2] = {2, 3};
    const PyxDimensions shape = {lengths, 2};

    PyxVariantData* grid =
        ZVariantData_C_API_constructArray(&record, samples, PyxType_double, 6, shape, PyxOrdering_rowMajor);
    require_success(&record);

    /* A new value; the reference on `grid` stays ours. */
    PyxVariantData* whole = ZVariantData_C_API_convertDataTo(&record, grid, PyxType_int32, PyxConversion_cast);
    require_success(&record);
    print_integers("converted", whole);

    /* A second reference on the same data. The writer gets data of its own, and the call consumes its reference. */
    PyxVariantData* written = ZVariantData_C_API_copy(&record, whole);
    require_success(&record);
    void* stored = NULL;
    written = ZVariantData_C_API_mutableStoredData(&record, written, &stored);
    require_success(&record);
    ((int32_t*)stored)[0] = 100;
    print_integers("written", written);
    print_integers("unchanged", whole);

    /* The call consumes its reference here as well, and gives another one. */
    written = ZVariantData_C_API_reorderData(&record, written, PyxOrdering_columnMajor);
    require_success(&record);
    print_integers("by columns", written);

    /* Not an error, and yet no value: an exact conversion that would lose something is refused. */
    const PyxVariantData* refused = ZVariantData_C_API_convertDataTo(&record, grid, PyxType_int32, PyxConversion_exact);
    require_success(&record);
    printf("exactly    %s\n", refused == NULL ? "refused" : "converted");

    /* An error: the record says what and why. */
    ZVariantData_C_API_constructArray(&record, samples, PyxType_double, 5, shape, PyxOrdering_rowMajor);
    printf("wrong      %s: %s\n", record.kind, record.message);

    ZVariantData_C_API_destruct(&record, written);
    ZVariantData_C_API_destruct(&record, whole);
    ZVariantData_C_API_destruct(&record, grid);
    return 0;
}
