// Replaces the operators new and delete of a program, and with them those of the libraries that it loads: counts the
// allocations of each thread that are alive, and makes some of them fail. Include it in one file of a program.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace FailingMemory {

// From the first allocation that fails on, whether that one fails alone, or all later ones fail too.
enum class Failure { once, fromThenOn };

struct Counts {
    long alive = 0;
    // How many more allocations pass; negative when none is to fail.
    long untilFailure = -1;
    Failure failure = Failure::once;
    bool hasFailed = false;
};

inline thread_local Counts counts;

inline void failAfter(long passing, Failure failure) {
    counts.untilFailure = passing;
    counts.failure = failure;
    counts.hasFailed = false;
}

inline void stopFailing() {
    counts.untilFailure = -1;
}

// Null when it fails.
inline void* allocate(std::size_t size, std::size_t alignment = 0) noexcept {
    if (counts.untilFailure == 0) {
        counts.hasFailed = true;
        if (counts.failure == Failure::once) {
            stopFailing();
        }
        return nullptr;
    }
    if (counts.untilFailure > 0) {
        --counts.untilFailure;
    }
    const std::size_t room = size != 0 ? size : 1;
    void* const memory = alignment == 0 ? std::malloc(room)
                                        : std::aligned_alloc(alignment, (room + alignment - 1) / alignment * alignment);
    counts.alive += memory != nullptr ? 1 : 0;
    return memory;
}

inline void* require(void* memory) {
    return memory != nullptr ? memory : throw std::bad_alloc();
}

inline void release(void* memory) noexcept {
    counts.alive -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

}  // namespace FailingMemory

// ThreadSanitizer brings operators of its own, beside which a program can have no others: no allocation fails then.
#if defined(__has_feature)
#define PYXCORE_HAS_OPERATORS_OF_A_SANITIZER __has_feature(thread_sanitizer)
#else
#define PYXCORE_HAS_OPERATORS_OF_A_SANITIZER 0
#endif

#if !PYXCORE_HAS_OPERATORS_OF_A_SANITIZER
// All forms but those for arrays, which lead here, or to a sanitizer's own ones in pairs.
void* operator new(std::size_t size) {
    return FailingMemory::require(FailingMemory::allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return FailingMemory::allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return FailingMemory::require(FailingMemory::allocate(size, static_cast<std::size_t>(alignment)));
}
void operator delete(void* memory) noexcept {
    FailingMemory::release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    FailingMemory::release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    FailingMemory::release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    FailingMemory::release(memory);
}
#endif
