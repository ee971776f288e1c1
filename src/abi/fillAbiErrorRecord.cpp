#include <pyx/abi/guardAbiCall.h>

#include <algorithm>
#include <cstring>

namespace Quorvane::Pyx::Internal {

namespace {

const char* textOf(AbiErrorKind kind) noexcept {
    switch (kind) {
        case AbiErrorKind::bad_alloc:
            return "bad_alloc";
        case AbiErrorKind::out_of_range:
            return "out_of_range";
        case AbiErrorKind::invalid_argument:
            return "invalid_argument";
        case AbiErrorKind::length_error:
            return "length_error";
        case AbiErrorKind::runtime_error:
            return "runtime_error";
        case AbiErrorKind::exception:
            break;
    }
    return "exception";
}

}  // namespace

void fillAbiErrorRecord(AbiErrorRecord& record, AbiErrorKind kind, const char* message) noexcept {
    record.kind = textOf(kind);
    const std::size_t length = std::min(std::strlen(message), sizeof(record.message) - 1);
    std::memcpy(record.message, message, length);
    record.message[length] = '\0';
}

}  // namespace Quorvane::Pyx::Internal
