// The flat functions over all element types: results, ownership on success and on failure, and their failures.
#include "element_sequence.h"

#include <gtest/gtest.h>
#include <pyx/abi/c_api.h>
#include <pyx/types/element_types.h>
#include <pyx/variant/IVariantDataRefCounted.h>
#include <pyx/variant/ZVariant.h>

#include <string>
#include <vector>

namespace Quorvane::Pyx {
namespace {

// The outcome of the last call, as "kind: message".
std::string outcome(const AbiErrorRecord& record) {
    return record.kind == nullptr ? "" : std::string(record.kind) + ": " + record.message;
}

bool isUnique(const PyxVariantData* data) {
    return dynamic_cast<const Internal::IVariantDataRefCounted&>(*data).isUnique();
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
const PyxDimensions none{nullptr, 0};

template <class T>
struct EachFlatType : FlatFunctions {};
TYPED_TEST_SUITE(EachFlatType, AllElementTypes, );

TYPED_TEST(EachFlatType, MakesScalarsAndArraysByCode) {
    using T = TypeParam;
    AbiErrorRecord* const error = &this->record;
    const std::uint16_t code = WellKnownType(Internal::ElementTraits<T>::code).code();
    const T value = nthElement<T>(1);
    PyxVariantData* const scalar = ZVariantData_C_API_constructScalar(error, &value, code);
    EXPECT_EQ(ZVariantData_C_API_wellKnownDataType(error, scalar), code);
    EXPECT_TRUE(ZVariantData_C_API_isScalarStorage(error, scalar));
    EXPECT_EQ(*static_cast<const T*>(ZVariantData_C_API_constStoredData(error, scalar)), value);
    EXPECT_TRUE(isUnique(scalar));
    this->destruct(scalar);

    PyxVariantData* array = ZVariantData_C_API_constructArray(error, sequence<T>(6).get(), code, 6, none, 1);
    const PyxDimensions shape = ZVariantData_C_API_dimensions(error, array);
    EXPECT_TRUE(shape.count == 1 && shape.lengths[0] == 6);
    EXPECT_EQ(ZVariantData_C_API_dataOrdering(error, array), 1u);
    array = ZVariantData_C_API_reshapeToZVariant(error, array, array, grid, 0);
    array = ZVariantData_C_API_reorderData(error, array, 1);
    EXPECT_EQ(static_cast<const T*>(ZVariantData_C_API_constStoredData(error, array))[1], nthElement<T>(3));
    EXPECT_EQ(outcome(*error), "");

    PyxVariantData* const second = ZVariantData_C_API_copy(error, array);
    EXPECT_EQ(second, array);
    void* stored = nullptr;
    PyxVariantData* const written = ZVariantData_C_API_mutableStoredData(error, second, &stored);
    EXPECT_NE(written, array);
    EXPECT_TRUE(isUnique(written) && isUnique(array));
    static_cast<T*>(stored)[0] = T{};
    EXPECT_EQ(static_cast<const T*>(ZVariantData_C_API_constStoredData(error, array))[0], nthElement<T>(0));
    this->destruct(written);
    this->destruct(array);

    PyxVariantData* const blank = ZVariantData_C_API_createWithAllocatedArray(error, code, grid, 1);
    EXPECT_EQ(ZVariantData_C_API_numberAllocatedElements(error, blank), 6u);
    this->destruct(blank);
    EXPECT_EQ(outcome(*error), "");
}

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
    for (const auto& [code, text] : {std::pair<std::uint16_t, std::string>{0x0000, "runtime_error: unknown type"},
                                     {0x0020, "runtime_error: unknown type"},
                                     {0x8000, "runtime_error: unknown type"},
                                     {0x0003, "runtime_error: not a numeric type"},
                                     {0x4008, "runtime_error: not a numeric type"}}) {
        EXPECT_EQ(ZVariantData_C_API_constructScalar(&record, &value, code), nullptr);
        EXPECT_EQ(outcome(record), text);
        EXPECT_EQ(ZVariantData_C_API_constructArray(&record, &value, code, 5, line, 0), nullptr);
        EXPECT_EQ(outcome(record), text);
        EXPECT_EQ(ZVariantData_C_API_createWithAllocatedArray(&record, code, line, 0), nullptr);
        EXPECT_EQ(outcome(record), text);
    }
    EXPECT_EQ(numbers(5, grid), nullptr);
    EXPECT_EQ(outcome(record), "length_error: dimensions do not match data length");
    destruct(nullptr);
    EXPECT_EQ(outcome(record), "");
}

TEST_F(FlatFunctions, NullIsAStaticObject) {
    PyxVariantData* const null = ZVariantData_C_API_constructNull();
    EXPECT_NE(null, Internal::constructVariantNull());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ZVariantData_C_API_copy(&record, null), null);
        destruct(null);
        destruct(null);
    }
    EXPECT_EQ(ZVariantData_C_API_reorderData(&record, null, 1), null);
    EXPECT_EQ(ZVariantData_C_API_reshapeToZVariant(&record, null, null, line, 0), nullptr);
    const PyxDimensions shape = ZVariantData_C_API_dimensions(&record, null);
    EXPECT_TRUE(shape.lengths == nullptr && shape.count == 0);
    EXPECT_EQ(outcome(record), "");
    ZVariantData_C_API_reshapeNoRealloc(&record, null, line);
    EXPECT_EQ(outcome(record).substr(0, 17), "invalid_argument:");
}

}  // namespace
}  // namespace Quorvane::Pyx
