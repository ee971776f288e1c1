// Short texts that recur and are compared more often than they are made: each distinct text is stored once in the
// process, so that comparing two of them is comparing two pointers.
#pragma once

#include <pyx/types/export.h>
#include <pyx/types/standard_library.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace Quorvane::PYXCORE_PYX {

static_assert(
    Internal::sharesStandardLibrary,
    "Interned texts cross the boundary as std::string_view of the library's standard library (libstdc++), and "
    "this module is built with another one.");

namespace Internal {

// Keeps the set of interned texts alive: it exists while any manager does. A counter that every file of this header's
// users holds, so that their static InternedStrings work in any order of initialisation. Managers are made and ended
// during load and unload only, one at a time.
class PYXCORE_API InternedStringSetManager {
public:
    InternedStringSetManager();
    ~InternedStringSetManager();
    InternedStringSetManager(const InternedStringSetManager&) = delete;
    InternedStringSetManager& operator=(const InternedStringSetManager&) = delete;
};

static const InternedStringSetManager internedStringSetManager;

}  // namespace Internal

// A handle of two words on a text that is stored until the process, or the last module that uses it, ends. Owns
// nothing; copies and comparisons are free, on any thread. Making one takes a lock of the process and stores a new text
// for ever: hold the handle of a text that is used often, and do not intern unbounded foreign text. It may raise
// std::bad_alloc, and std::system_error from the lock. A default-constructed handle has no text, equals no interned
// one, not even the empty text, and is no key.
class PYXCORE_API InternedString {
    template <class Text>
    static constexpr bool isOtherText =
        std::is_convertible_v<const Text&, std::string_view> && !std::is_same_v<Text, InternedString>;

public:
    constexpr InternedString() noexcept = default;
    InternedString(std::nullptr_t) = delete;
    // A zero-terminated text, not null.
    InternedString(const char* text) : InternedString(std::string_view(text)) {}
    InternedString(std::string_view text) : view_(create(text.data(), text.size())) {}
    InternedString(const std::string& text) : InternedString(std::string_view(text)) {}

    constexpr std::string_view view() const noexcept { return view_; }
    constexpr operator std::string_view() const noexcept { return view_; }
    std::string toString() const { return std::string(view_); }
    // Not null for an interned text, and the same for equal texts.
    constexpr const char* data() const noexcept { return view_.data(); }
    constexpr std::size_t size() const noexcept { return view_.size(); }
    constexpr bool empty() const noexcept { return view_.empty(); }

    friend constexpr bool operator==(InternedString left, InternedString right) noexcept {
        return left.data() == right.data();
    }
    friend constexpr bool operator!=(InternedString left, InternedString right) noexcept { return !(left == right); }
    // With a text that need not be interned: by its characters.
    template <class Text, std::enable_if_t<isOtherText<Text>, int> = 0>
    friend bool operator==(InternedString left, const Text& right) {
        return left.data() != nullptr && left.view() == std::string_view(right);
    }
    template <class Text, std::enable_if_t<isOtherText<Text>, int> = 0>
    friend bool operator==(const Text& left, InternedString right) {
        return right == left;
    }
    template <class Text, std::enable_if_t<isOtherText<Text>, int> = 0>
    friend bool operator!=(InternedString left, const Text& right) {
        return !(left == right);
    }
    template <class Text, std::enable_if_t<isOtherText<Text>, int> = 0>
    friend bool operator!=(const Text& left, InternedString right) {
        return !(right == left);
    }

    friend std::ostream& operator<<(std::ostream& out, InternedString text) { return out << text.view(); }

private:
    // The stored copy of the `length` characters at `text`, which is not kept and need not end with a zero.
    static std::string_view create(const char* text, std::size_t length);

    std::string_view view_;
};

}  // namespace Quorvane::PYXCORE_PYX

template <>
struct std::hash<Quorvane::Pyx::InternedString> {
    std::size_t operator()(Quorvane::Pyx::InternedString text) const noexcept {
        return std::hash<const char*>()(text.data());
    }
};
