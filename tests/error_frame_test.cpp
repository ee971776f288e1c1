// The guard around flat functions and the rethrow on the far side.
#include "value_model.h"

#include <pyx/abi/guardAbiCall.h>
#include <pyx/abi/rethrowAbiError.h>

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>

namespace Quorvane::Pyx {
namespace {

// Kind and text of the failure that comes back on the far side, or nothing.
std::string farSide(const AbiErrorRecord& record) {
    try {
        return rethrowAbiError(record), "";
    } catch (const std::exception& error) {
        return std::string(failureOf([] { throw; })) + ": " + error.what();
    }
}

TEST(ErrorFrame, FailuresCrossWithClassAndText) {
    const std::string text(199, 'm');
    const struct {
        std::function<void()> body;
        std::string kind, result;
    } cases[] = {
        {[] { throw std::bad_array_new_length(); }, "bad_alloc", "bad_alloc: std::bad_alloc"},
        {[&] { throw std::out_of_range(text); }, "out_of_range", "out_of_range: " + text},
        {[&] { throw std::invalid_argument(text + 'm'); }, "invalid_argument", "invalid_argument: " + text},
        {[] { throw std::length_error(""); }, "length_error", "length_error: "},
        {[] { throw std::overflow_error("x"); }, "runtime_error", "runtime_error: x"},
        {[] { throw std::domain_error("x"); }, "exception", "runtime_error: x"},
        {[] { throw 5; }, "exception", "runtime_error: unknown exception"},
    };
    for (const auto& failing : cases) {
        AbiErrorRecord record;
        std::memset(&record, 'z', sizeof(record));
        guardAbiCall(&record, failing.body);
        EXPECT_EQ(record.kind, failing.kind);
        EXPECT_EQ(farSide(record), failing.result);
    }
}

TEST(ErrorFrame, OnlyNineBytesAreResetAndResultsAreNeutral) {
    AbiErrorRecord record;
    std::memset(&record, 'z', sizeof(record));
    EXPECT_EQ(guardAbiCall(&record, [] { return 42; }), 42);
    EXPECT_EQ(farSide(record), "");
    EXPECT_EQ(std::string(record.message, 200), '\0' + std::string(199, 'z'));
    const auto fail = [](auto result) { return throw std::runtime_error("earlier failure"), result; };
    EXPECT_EQ(guardAbiCall(&record, [&] { return fail(&record); }), nullptr);
    EXPECT_EQ(guardAbiCall(&record, [&] { return fail(true); }), false);
    EXPECT_EQ(guardAbiCall(&record, [&] { return fail(PyxDimensions{nullptr, 3}); }).count, 0u);
}

TEST(ErrorFrame, KindsAreComparedByTheirCharacters) {
    const std::string kind = "length_error";
    EXPECT_EQ(farSide({kind.c_str(), "x"}), "length_error: x");
    for (const char* unknown : {"", "length_errors", "Length_error", "bad_allo"}) {
        EXPECT_EQ(farSide({unknown, "x"}), "runtime_error: Unrecognized exception type");
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
