#include <pyx/types/InternedString.h>

#include "types/interned_keys.h"

#include <cstdint>
#include <mutex>
#include <new>
#include <unordered_set>

namespace Quorvane::Pyx {

namespace {

// Finds a text without building a std::string of it. Not noexcept, because libstdc++ then keeps the hash with each text
// and does not work it out again for the neighbours of the one that it looks for.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

// Node-based, so that the characters of a stored text never move, however the set grows.
struct InternedSet {
    std::mutex mutex;
    std::unordered_set<std::string, TextHash, std::equal_to<>> texts{8};
};

// Raw memory, since the set must be usable before any static object is constructed and after all are destroyed. Whoever
// loads and unloads modules does it one at a time, so the count needs no protection.
std::uint32_t managerCount = 0;
alignas(InternedSet) std::byte setMemory[sizeof(InternedSet)];

InternedSet& internedSet() {
    return *std::launder(reinterpret_cast<InternedSet*>(setMemory));
}

}  // namespace

namespace Internal {

InternedStringSetManager::InternedStringSetManager() {
    if (managerCount++ == 0) {
        new (setMemory) InternedSet;
    }
}

InternedStringSetManager::~InternedStringSetManager() {
    if (--managerCount == 0) {
        internedSet().~InternedSet();
    }
}

const InternedString elementsKey("elements");
const InternedString typeKey("type");
const InternedString pathKey("path");

}  // namespace Internal

std::string_view InternedString::create(const char* text, std::size_t length) {
    const std::string_view wanted(text, length);
    InternedSet& set = internedSet();
    const std::lock_guard lock(set.mutex);
    const auto known = set.texts.find(wanted);
    return known != set.texts.end() ? *known : *set.texts.emplace(wanted).first;
}

}  // namespace Quorvane::Pyx
