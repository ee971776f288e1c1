// Turns the failure that a flat C function recorded back into an exception, in the caller's own code.
#pragma once

#include <pyx/abi/c_api.h>

#include <cstddef>
#include <new>
#include <stdexcept>
#include <string_view>
#include <type_traits>

namespace Quorvane::PYXCORE_PYX {

using ::AbiErrorRecord;

// Foreign callers make and pass these as plain memory.
static_assert(std::is_trivially_copyable_v<AbiErrorRecord> && std::is_standard_layout_v<AbiErrorRecord> &&
              offsetof(AbiErrorRecord, message) == 8);
static_assert(std::is_trivially_copyable_v<PyxDimensions> && std::is_standard_layout_v<PyxDimensions>);

namespace Internal {

// Returns when the record is clean; otherwise throws the class that its kind names, with its message. Two things are
// lost on the way: the text of std::bad_alloc, and any class beside the five named ones, which comes back as
// std::runtime_error since a plain std::exception carries no text. Kinds are compared by their characters, because the
// pointer comes from another module. Every module has its own copy.
PYXCORE_LOCAL inline void rethrowAbiError(const AbiErrorRecord& record) {
    if (record.kind == nullptr) {
        return;
    }
    const std::string_view kind(record.kind);
    if (kind == "bad_alloc") {
        throw std::bad_alloc();
    }
    if (kind == "out_of_range") {
        throw std::out_of_range(record.message);
    }
    if (kind == "invalid_argument") {
        throw std::invalid_argument(record.message);
    }
    if (kind == "length_error") {
        throw std::length_error(record.message);
    }
    if (kind == "runtime_error" || kind == "exception") {
        throw std::runtime_error(record.message);
    }
    throw std::runtime_error("Unrecognized exception type");
}

// Calls a flat function, of the library or of another module, with a record in front of the arguments. Rethrows the
// failure that it recorded, and otherwise returns its result.
template <class Function, class... Arguments>
PYXCORE_LOCAL PYXCORE_CALLS_OTHER_MODULES auto callFlat(Function&& function, Arguments... arguments) {
    AbiErrorRecord record;
    record.kind = nullptr;
    if constexpr (std::is_void_v<std::invoke_result_t<Function, AbiErrorRecord*, Arguments...>>) {
        function(&record, arguments...);
        rethrowAbiError(record);
    } else {
        const auto result = function(&record, arguments...);
        rethrowAbiError(record);
        return result;
    }
}

}  // namespace Internal

using Internal::callFlat;
using Internal::rethrowAbiError;

}  // namespace Quorvane::PYXCORE_PYX
