// What the flat functions do with references and records, on success and on failure.
#include "values.h"

#include <pyx/abi/c_api.h>

#include <string>
#include <utility>

namespace Quorvane::Pyx {
namespace {

// The outcome of the last call, as "kind: message".
std::string outcome(const AbiErrorRecord& record) {
    return record.kind == nullptr ? "" : std::string(record.kind) + ": " + record.message;
}

struct FlatFunctions : testing::Test {
    AbiErrorRecord record{};

    PyxVariantData* numbers(std::uint64_t count, PyxDimensions shape) {
        return ZVariantData_C_API_constructArray(&record, sequence<int>(count).get(), WellKnownType::int32.code(),
                                                 count, shape, 0);
    }
    void destruct(PyxVariantData* data) { ZVariantData_C_API_destruct(&record, data); }
};

const std::uint64_t lengths[] = {2, 3, 6};
const PyxDimensions grid{lengths, 2};
const PyxDimensions line{lengths + 2, 1};

TEST_F(FlatFunctions, KeepAndConsumeReferences) {
    PyxVariantData* array = numbers(6, grid);
    // The own type: the same handle with one more reference, whatever the mode.
    PyxVariantData* const same = ZVariantData_C_API_convertDataTo(&record, array, WellKnownType::int32.code(), 77);
    EXPECT_EQ(same, array);
    EXPECT_FALSE(isUnique(array));

    // The present ordering: what was held before is held afterwards. Another one: a new object for a reference.
    EXPECT_EQ(ZVariantData_C_API_reorderData(&record, array, 0), array);
    EXPECT_FALSE(isUnique(array));
    PyxVariantData* const reordered = ZVariantData_C_API_reorderData(&record, array, 1);
    EXPECT_NE(reordered, same);
    EXPECT_TRUE(isUnique(same) && isUnique(reordered));

    // The source is consumed, the data are not; a source may be absent.
    PyxVariantData* const rebuilt = ZVariantData_C_API_reshapeToZVariant(&record, same, reordered, line, 0);
    PyxVariantData* const empty = ZVariantData_C_API_reshapeToZVariant(&record, same, nullptr, line, 0);
    EXPECT_TRUE(isUnique(same) && isUnique(rebuilt));
    EXPECT_EQ(static_cast<const int*>(ZVariantData_C_API_constStoredData(&record, empty))[5], 0);

    // A refused conversion is a null handle and no failure.
    EXPECT_EQ(ZVariantData_C_API_convertDataTo(&record, same, WellKnownType::int8.code(), 3), nullptr);
    EXPECT_EQ(outcome(record), "");
    for (PyxVariantData* const data : {same, rebuilt, empty}) {
        destruct(data);
    }
}

TEST_F(FlatFunctions, FailuresLeaveReferencesWithTheCaller) {
    const std::uint64_t huge[] = {~std::uint64_t{0} / sizeof(int)};
    const PyxDimensions tooMany{huge, 1};
    PyxVariantData* const array = numbers(6, grid);
    PyxVariantData* const shared = ZVariantData_C_API_copy(&record, array);

    EXPECT_EQ(ZVariantData_C_API_reshapeToZVariant(&record, array, shared, tooMany, 0), nullptr);
    EXPECT_EQ(outcome(record).substr(0, 10), "bad_alloc:");
    ZVariantData_C_API_reshapeNoRealloc(&record, array, line);
    EXPECT_EQ(outcome(record),
              "runtime_error: Reference count is greater than 1 - cannot reshape without reallocating.");
    EXPECT_EQ(ZVariantData_C_API_convertDataTo(&record, array, 0x4008, 1), nullptr);
    EXPECT_EQ(outcome(record), "runtime_error: not a numeric type");
    destruct(shared);
    EXPECT_TRUE(isUnique(array));
    ZVariantData_C_API_reshapeNoRealloc(&record, array, line);
    EXPECT_EQ(outcome(record), "");
    ZVariantData_C_API_reshapeNoRealloc(&record, array, grid);
    EXPECT_EQ(outcome(record), "length_error: Cannot reshape array to given dimensions without reallocating.");
    destruct(array);
}

TEST_F(FlatFunctions, RefuseUnknownCodesAndLengths) {
    const int value = 1;
    const std::uint16_t codes[] = {0x0000, 0x0020, 0x8000, 0x0003, 0x4008};
    for (const std::uint16_t code : codes) {
        const char* const text =
            (code & 0xF) != 0 ? "runtime_error: not a numeric type" : "runtime_error: unknown type";
        EXPECT_EQ(ZVariantData_C_API_constructScalar(&record, &value, code), nullptr);
        EXPECT_EQ(outcome(record), text);
        EXPECT_EQ(ZVariantData_C_API_constructArray(&record, &value, code, 5, line, 0), nullptr);
        EXPECT_EQ(outcome(record), text);
        EXPECT_EQ(ZVariantData_C_API_createWithAllocatedArray(&record, code, line, 0), nullptr);
        EXPECT_EQ(outcome(record), text);
    }
    EXPECT_EQ(numbers(5, grid), nullptr);
    EXPECT_EQ(outcome(record), "length_error: dimensions do not match data length");
}

TEST_F(FlatFunctions, HaveANullOfTheirOwn) {
    EXPECT_NE(ZVariantData_C_API_constructNull(), Internal::constructVariantNull());
    destruct(nullptr);
    EXPECT_EQ(outcome(record), "");
}

}  // namespace
}  // namespace Quorvane::Pyx
