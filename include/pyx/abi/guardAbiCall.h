// The frame of a flat C function: no exception leaves it, and a record tells what failed. For the library's own flat
// functions, and for modules that offer such functions to others.
#pragma once

#include <pyx/abi/c_api.h>

#include <cstdint>
#include <exception>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace Quorvane::PYXCORE_PYX {

namespace Internal {

// The kinds of failures, in the order in which a guard looks for them.
enum class AbiErrorKind : std::uint32_t {
    bad_alloc,
    out_of_range,
    invalid_argument,
    length_error,
    runtime_error,
    exception,
};

// Writes the kind, whose text belongs to the library and outlives the module of the guard, and at most 199 characters
// of the message, which is zero-terminated.
PYXCORE_API void fillAbiErrorRecord(AbiErrorRecord& record, AbiErrorKind kind, const char* message) noexcept
    PYXCORE_SYMBOL("_ZN8Quorvane3Pyx8Internal18fillAbiErrorRecordER14AbiErrorRecordNS1_12AbiErrorKindEPKc");

// Writes kind and message of the exception that is being handled. Must be called from a catch clause.
PYXCORE_LOCAL inline void recordCurrentException(AbiErrorRecord& record) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc& error) {
        fillAbiErrorRecord(record, AbiErrorKind::bad_alloc, error.what());
    } catch (const std::out_of_range& error) {
        fillAbiErrorRecord(record, AbiErrorKind::out_of_range, error.what());
    } catch (const std::invalid_argument& error) {
        fillAbiErrorRecord(record, AbiErrorKind::invalid_argument, error.what());
    } catch (const std::length_error& error) {
        fillAbiErrorRecord(record, AbiErrorKind::length_error, error.what());
    } catch (const std::runtime_error& error) {
        fillAbiErrorRecord(record, AbiErrorKind::runtime_error, error.what());
    } catch (const std::exception& error) {
        fillAbiErrorRecord(record, AbiErrorKind::exception, error.what());
    } catch (...) {
        fillAbiErrorRecord(record, AbiErrorKind::exception, "unknown exception");
    }
}

}  // namespace Internal

// Resets the record, runs the body and returns its result. When the body throws, fills the record and returns a neutral
// result: null, zero, false, or a structure of these. The caller rethrows with rethrowAbiError, or calls by callFlat,
// which does both: pyx/abi/rethrowAbiError.h.
template <class Body>
PYXCORE_LOCAL auto guardAbiCall(AbiErrorRecord* record, Body&& body) noexcept -> std::invoke_result_t<Body> {
    // Nine bytes: a caller may use one record for many calls, and what stands behind them is not read again.
    record->kind = nullptr;
    record->message[0] = '\0';
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        Internal::recordCurrentException(*record);
    }
    if constexpr (!std::is_void_v<std::invoke_result_t<Body>>) {
        return {};
    }
}

}  // namespace Quorvane::PYXCORE_PYX
