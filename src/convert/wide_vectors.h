// Loops over elements that are compiled twice from the same source: for every processor of the platform, and for the
// wide vectors of some. Which one runs is decided at run time.
#pragma once

namespace Quorvane::Pyx::Internal {

// Whether loops run on wide vectors: from the start, where the processor has them.
bool usesWideVectors();

// Turns wide vectors off, or on again where the processor has them. All results are the same.
void allowWideVectors(bool allowed);

// `flatten` pulls all that the loop calls into this one function, which is how the same source is compiled for wide
// vectors. What it cannot pull in stays as it is compiled for every processor: slower, and right. Fused multiplication
// is left out, which rounds once where every processor rounds twice.
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define PYXCORE_FOR_WIDE_VECTORS [[gnu::target("avx2"), gnu::flatten]]
#else
#define PYXCORE_FOR_WIDE_VECTORS
#endif

template <class Loop>
PYXCORE_FOR_WIDE_VECTORS auto runOnWideVectors(const Loop& loop) {
    return loop();
}

// Runs a loop, given as a function that holds its data by value: a store of bytes could change what it holds by
// reference, which prevents vectors.
template <class Loop>
auto onWidestVectors(const Loop& loop) {
    return usesWideVectors() ? runOnWideVectors(loop) : loop();
}

}  // namespace Quorvane::Pyx::Internal
