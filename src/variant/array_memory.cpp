#include <pyx/variant/array_memory.h>

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace Quorvane::Pyx::Internal {

void adviseHugePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(MADV_HUGEPAGE)
    // As large as they are on the systems that matter; elsewhere the hint covers a little less or comes to nothing.
    constexpr std::uintptr_t hugePage = std::uintptr_t{2} << 20;
    constexpr std::size_t large = 2 * hugePage;
    if (size < large) {
        return;
    }
    const auto start = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (start + hugePage - 1) / hugePage * hugePage;
    const std::uintptr_t end = (start + size) / hugePage * hugePage;
    if (first < end) {
        (void)madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
    }
#endif
}

}  // namespace Quorvane::Pyx::Internal
