// What allocates gives everything back when memory runs out at any point, and works when it is tried again.
#include "element_sequence.h"

#include <gtest/gtest.h>
#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>
#include <pyx/variant/factories.h>

#include <cstdlib>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

long liveAllocations = 0;
long allocationsUntilFailure = -1;  // negative: none fails

}  // namespace

void* operator new(std::size_t size) {
    if (allocationsUntilFailure == 0) {
        throw std::bad_alloc();
    }
    if (allocationsUntilFailure > 0) {
        --allocationsUntilFailure;
    }
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    ++liveAllocations;
    return memory;
}
void operator delete(void* memory) noexcept {
    if (memory != nullptr) {
        --liveAllocations;
        std::free(memory);
    }
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace Quorvane::Pyx {
namespace {

// Runs the operation with the first, second, third ... allocation failing, until it passes.
template <class Operation>
void sweep(const char* what, Operation operation) {
    for (long failing = 0;; ++failing) {
        const long before = liveAllocations;
        allocationsUntilFailure = failing;
        bool passed = false;
        try {
            operation();
            passed = true;
        } catch (const std::bad_alloc&) {
        }
        allocationsUntilFailure = -1;
        ASSERT_EQ(liveAllocations, before) << what << ", failing allocation " << failing;
        if (passed) {
            ASSERT_GT(failing, 0) << what << " allocates nothing: nothing was tested";
            return;
        }
        ASSERT_LT(failing, 1000) << what;
    }
}

TEST(ExhaustedMemory, LosesNothing) {
    const std::string longText = "a text that needs a buffer of its own";
    const std::vector<std::string> texts{longText, "short", longText + "!"};
    const ZVariant array = ZVariant::fromData(texts.data(), texts.size());
    const ZVariant numbers = ZVariant::fromData({1.5, 1e300, 3.25}, {3, 1});
    const ZVariant text(longText);
    const ZVariantAbi abi = ZVariantAbi::fromData(texts.data(), texts.size());

    sweep("scalar", [&] { const ZVariant value(longText.c_str()); });
    sweep("copy of an inline text", [&] { const ZVariant copy(text); });
    sweep("array of texts", [&] { (void)ZVariant::fromData(texts.data(), texts.size()); });
    sweep("adopted vector", [&] { (void)ZVariant::fromVector(std::vector<std::string>(texts)); });
    sweep("allocated array", [] { (void)ZVariant::allocate<std::string>({2, 2}); });
    sweep("numbers to texts", [&] { (void)numbers.convertTo(WellKnownType::string, ConversionMode::CastOrText); });
    sweep("texts to bools", [&] { (void)array.convertTo(WellKnownType::bool_, ConversionMode::CastOrText); });
    sweep("refused conversion", [&] { (void)array.convertTo(WellKnownType::double_, ConversionMode::CastOrText); });
    sweep("null to array", [] { (void)ZVariant().convertTo(WellKnownType::double_); });
    sweep("reorder of texts", [&] { (void)array.reordered(DataOrdering::ColumnMajor); });
    sweep("reorder of numbers", [&] { (void)numbers.reshaped({2, 2}).reordered(DataOrdering::ColumnMajor); });
    sweep("rebuild", [&] { (void)array.reshaped({5}); });
    sweep("sharable scalar", [&] { const ZVariantAbi value(longText); });
    sweep("sharable conversion",
          [&] { (void)ZVariantAbi(2.5).convertTo(WellKnownType::string, ConversionMode::CastOrText); });
    sweep("write to a shared array", [&] {
        ZVariantAbi shared = abi;
        shared.mutableElementAt<std::string>(1) = longText;
    });
    sweep("write to a shared array, directly", [&] {
        ZVariant shared = array;
        shared.mutableElementAt<std::string>(1) = longText;
    });
    sweep("reshape in place", [&] {
        ZVariant adopted = ZVariant::fromVector(std::vector<double>{1, 2, 3});
        adopted.reshapeNoRealloc({1, 1, 3});
    });
    sweep("message of a failed conversion", [&] {
        try {
            (void)array.convertOrThrow(WellKnownType::double_);
        } catch (const std::runtime_error&) {
        }
    });
    EXPECT_EQ(array.elementAt<std::string>(2), longText + "!");
    EXPECT_EQ(abi.elementAt<std::string>(1), "short");
}

TEST(ExhaustedMemory, IsRecordedByTheFlatFunctions) {
    const double value = 1.5;
    AbiErrorRecord record;
    allocationsUntilFailure = 0;
    PyxVariantData* const scalar = ZVariantData_C_API_constructScalar(&record, &value, WellKnownType::double_.code());
    allocationsUntilFailure = -1;
    EXPECT_EQ(scalar, nullptr);
    EXPECT_STREQ(record.kind, "bad_alloc");
}

}  // namespace
}  // namespace Quorvane::Pyx
