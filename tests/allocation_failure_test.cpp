// What allocates gives everything back when memory runs out at any point, and works when it is tried again.
#include "element_sequence.h"

#include <gtest/gtest.h>
#include <pyx/abi/c_api.h>
#include <pyx/pyx.h>
#include <pyx/variant/factories.h>

#include <complex>
#include <cstdlib>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define PYXCORE_FINDS_LEAKS 1
#elif defined(__has_feature)
#define PYXCORE_FINDS_LEAKS __has_feature(address_sanitizer)
#endif
#if PYXCORE_FINDS_LEAKS
#include <sanitizer/lsan_interface.h>
#endif

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
    sweep("view", [&] { (void)numbers.asComplex(); });
    sweep("view of a scalar", [] { (void)ZVariant(std::complex<double>(1, 2)).asReal(); });
    sweep("sharable view", [] { (void)ZVariantAbi::fromData({1, 2}).asComplex(); });
    sweep("converted view", [&] { (void)numbers.asComplex().convertTo(WellKnownType::complexFloat); });
    sweep("written view", [&] {
        ZVariant view = numbers.reshaped({2}).asComplex();
        view.mutableElementAt<std::complex<double>>(0) = 1;
    });
    sweep("detached buffer", [&] {
        ExternalBuffer<std::string> buffer(texts);
        const ZVariant kept = buffer.value();
        buffer.detach();
    });
    sweep("equivalence of two copies", [] {
        const auto left = ZVariant::fromData({1, 2, 3, 4}, {2, 2});
        const auto right = ZVariant::fromData({1U, 3U, 2U, 4U}, {2, 2}, DataOrdering::ColumnMajor);
        if (!left.isEquivalentTo(right)) {
            throw std::bad_alloc();
        }
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

// The only failure that leaves the reference with the caller is that of the view's own allocation, and can be told.
TEST(ExhaustedMemory, ShowsWhoHoldsTheReferenceOfAView) {
    using namespace Internal;
    const double elements[] = {1, 2};
    for (const long failing : {0, 1}) {
        const long before = liveAllocations;
        AbiErrorRecord record;
        IVariantData* const data =
            constructVariantVectorWithDataWithDimsUnresolved<double>(elements, 2, {}, DataOrdering::RowMajor);
        data->copy();
        allocationsUntilFailure = failing;
        EXPECT_EQ(ZVariantData_C_API_constructTransmuteRealToComplexVariant(&record, data), nullptr);
        allocationsUntilFailure = -1;
        EXPECT_STREQ(record.kind, "bad_alloc");
        EXPECT_STREQ(record.message, failing == 0 ? "std::bad_alloc" : "std::bad_array_new_length");
        if (failing == 0) {
            data->destruct();
        }
        EXPECT_TRUE(dynamic_cast<IVariantDataRefCounted&>(*data).isUnique());
        data->destruct();
        EXPECT_EQ(liveAllocations, before);
    }
}

TEST(RefusedConversion, KeepsItsArrayOnlyForExternalStorage) {
    ExternalBuffer<double> buffer(std::vector<double>{1.5});
    const ZVariant value = buffer.value();
    (void)value.elementCount();
    const auto allocationsKept = [&] {
        const long before = liveAllocations;
#if PYXCORE_FINDS_LEAKS
        // What this keeps is lost for ever.
        const __lsan::ScopedDisabler disabler;
#endif
        EXPECT_TRUE(value.convertTo(WellKnownType::int32, ConversionMode::Exact).isNull());
        return liveAllocations - before;
    };
    EXPECT_GT(allocationsKept(), 0);
    buffer.detach();
    EXPECT_EQ(allocationsKept(), 0);
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
