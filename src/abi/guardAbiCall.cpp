#include "abi/guardAbiCall.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

namespace Quorvane::Pyx::Internal {

namespace {

void fill(AbiErrorRecord& record, const char* kind, const char* message) noexcept {
    record.kind = kind;
    const std::size_t length = std::min(std::strlen(message), sizeof(record.message) - 1);
    std::memcpy(record.message, message, length);
    record.message[length] = '\0';
}

}  // namespace

void recordCurrentException(AbiErrorRecord& record) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc& error) {
        fill(record, "bad_alloc", error.what());
    } catch (const std::out_of_range& error) {
        fill(record, "out_of_range", error.what());
    } catch (const std::invalid_argument& error) {
        fill(record, "invalid_argument", error.what());
    } catch (const std::length_error& error) {
        fill(record, "length_error", error.what());
    } catch (const std::runtime_error& error) {
        fill(record, "runtime_error", error.what());
    } catch (const std::exception& error) {
        fill(record, "exception", error.what());
    } catch (...) {
        fill(record, "exception", "unknown exception");
    }
}

}  // namespace Quorvane::Pyx::Internal
