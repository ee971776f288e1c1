// The frame of every flat C function: no exception leaves it, and the record tells what failed.
#pragma once

#include <pyx/abi/c_api.h>

#include <type_traits>
#include <utility>

namespace Quorvane::Pyx::Internal {

// Writes kind and message of the exception that is being handled. Must be called from a catch clause.
void recordCurrentException(AbiErrorRecord& record) noexcept;

// Resets the record, runs the body and returns its result. When the body throws, the record is filled and the result
// is neutral: null, zero, false, or a structure of these.
template <class Body>
auto guardAbiCall(AbiErrorRecord* record, Body&& body) noexcept -> std::invoke_result_t<Body> {
    // Nine bytes: a caller may use one record for many calls, and what stands behind them is not read again.
    record->kind = nullptr;
    record->message[0] = '\0';
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        recordCurrentException(*record);
    }
    if constexpr (!std::is_void_v<std::invoke_result_t<Body>>) {
        return {};
    }
}

}  // namespace Quorvane::Pyx::Internal
