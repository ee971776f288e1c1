// The guard around flat functions and the rethrow on the far side.
#include <pyx/abi/guardAbiCall.h>

#include <gmock/gmock.h>
#include <pyx/abi/rethrowAbiError.h>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace Quorvane::Pyx::Internal {
namespace {

// What comes back on the far side: the class and the text of the exception, or nothing.
std::string farSide(const AbiErrorRecord& record) {
    try {
        rethrowAbiError(record);
        return "";
    } catch (const std::exception& error) {
        return std::string(typeid(error).name()) + ": " + error.what();
    }
}

template <class Error>
std::string as(const std::string& text) {
    return std::string(typeid(Error).name()) + ": " + text;
}

TEST(ErrorFrame, FailuresCrossWithClassAndText) {
    struct Unusual : std::exception {
        const char* what() const noexcept override { return "unusual"; }
    };
    const struct {
        std::function<void()> body;
        const char* kind;
        std::string result;
    } cases[] = {
        {[] { throw std::bad_array_new_length(); }, "bad_alloc", as<std::bad_alloc>(std::bad_alloc().what())},
        {[] { throw std::out_of_range("x"); }, "out_of_range", as<std::out_of_range>("x")},
        {[] { throw std::invalid_argument("x"); }, "invalid_argument", as<std::invalid_argument>("x")},
        {[] { throw std::length_error(""); }, "length_error", as<std::length_error>("")},
        {[] { throw std::overflow_error("x"); }, "runtime_error", as<std::runtime_error>("x")},
        {[] { throw std::domain_error("x"); }, "exception", as<std::runtime_error>("x")},
        {[] { throw Unusual(); }, "exception", as<std::runtime_error>("unusual")},
        {[] { throw 5; }, "exception", as<std::runtime_error>("unknown exception")},
    };
    for (const auto& failing : cases) {
        AbiErrorRecord record;
        guardAbiCall(&record, failing.body);
        EXPECT_STREQ(record.kind, failing.kind);
        EXPECT_EQ(farSide(record), failing.result);
    }
}

TEST(ErrorFrame, OnlyNineBytesAreResetAndResultsAreNeutral) {
    AbiErrorRecord record;
    std::memset(&record, 'z', sizeof(record));
    EXPECT_EQ(guardAbiCall(&record, [] { return 42; }), 42);
    EXPECT_EQ(record.kind, nullptr);
    EXPECT_EQ(record.message[0], '\0');
    EXPECT_EQ(std::string(record.message + 1, 199), std::string(199, 'z'));

    const auto fail = [](auto result) {
        throw std::runtime_error("earlier failure");
        return result;
    };
    EXPECT_EQ(guardAbiCall(&record, [&] { return fail(&record); }), nullptr);
    EXPECT_EQ(guardAbiCall(&record, [&] { return fail(true); }), false);
    EXPECT_EQ(guardAbiCall(&record, [&] { return fail(PyxDimensions{nullptr, 3}); }).count, 0u);
    guardAbiCall(&record, [] {});
    EXPECT_EQ(farSide(record), "");
    EXPECT_STREQ(record.message + 1, "arlier failure");
}

TEST(ErrorFrame, TextsAreCutAfter199Characters) {
    for (const std::size_t length : {198u, 199u, 200u, 1000u}) {
        AbiErrorRecord record;
        std::memset(&record, 'z', sizeof(record));
        const std::string text(length, 'm');
        guardAbiCall(&record, [&] { throw std::out_of_range(text); });
        EXPECT_EQ(std::string(record.message), text.substr(0, 199));
    }
}

TEST(ErrorFrame, KindsAreComparedByTheirCharacters) {
    AbiErrorRecord record{};
    std::string kind = "length_error";
    record.kind = kind.c_str();
    std::strcpy(record.message, "x");
    EXPECT_EQ(farSide(record), as<std::length_error>("x"));
    for (const char* unknown : {"", "length_errors", "Length_error", "bad_allo"}) {
        record.kind = unknown;
        EXPECT_EQ(farSide(record), as<std::runtime_error>("Unrecognized exception type"));
    }
}

}  // namespace
}  // namespace Quorvane::Pyx::Internal
