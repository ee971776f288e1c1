#include "convert/wide_vectors.h"

#include <atomic>

namespace Quorvane::Pyx::Internal {

namespace {

// What runOnWideVectors is compiled for.
bool hasWideVectors() {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

// Off until it is initialised, which is right on every processor.
std::atomic<bool> wideVectors = hasWideVectors();

}  // namespace

bool usesWideVectors() {
    return wideVectors.load(std::memory_order_relaxed);
}

void allowWideVectors(bool allowed) {
    wideVectors.store(allowed && hasWideVectors(), std::memory_order_relaxed);
}

}  // namespace Quorvane::Pyx::Internal
