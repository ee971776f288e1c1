// The address of a place in a property tree.
#pragma once

#include <pyx/types/InternedString.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

namespace Internal {

// Whether two objects of the class name a range of a path or a tree; two texts or two numbers do not.
template <class T, class = void>
inline constexpr bool isRangeIterator = false;
template <class T>
inline constexpr bool isRangeIterator<T, std::void_t<typename std::iterator_traits<T>::iterator_category>> =
    !std::is_convertible_v<T, const char*>;

}  // namespace Internal

// One step of a path: the key of a map, or a position in a list.
class PropertyPathSegment {
    template <class T>
    static constexpr bool isPosition =
        std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char> && !std::is_same_v<T, wchar_t> &&
        !std::is_same_v<T, char16_t> && !std::is_same_v<T, char32_t>;

public:
    PropertyPathSegment(InternedString name) noexcept : step_(name) {}
    PropertyPathSegment(const char* name) : step_(InternedString(name)) {}
    PropertyPathSegment(std::string_view name) : step_(InternedString(name)) {}
    PropertyPathSegment(const std::string& name) : step_(InternedString(name)) {}
    PropertyPathSegment(std::nullptr_t) = delete;
    // A position, of any integer type but bool and the character types. Raises std::invalid_argument when it is
    // negative.
    template <class Integer, std::enable_if_t<isPosition<Integer>, int> = 0>
    PropertyPathSegment(Integer position) : step_(static_cast<std::uint64_t>(position)) {
        if constexpr (std::is_signed_v<Integer>) {
            if (position < 0) {
                throw std::invalid_argument("Property Path index is negative: " + std::to_string(position));
            }
        }
    }

    bool isName() const noexcept { return step_.index() == 0; }
    bool isIndex() const noexcept { return step_.index() == 1; }

    // Raise std::runtime_error when the segment is the other kind, and std::bad_variant_access when it is valueless.
    InternedString name() const {
        if (isIndex()) {
            throw std::runtime_error("Property Path segment is an index, not a name.");
        }
        return std::get<0>(step_);
    }
    std::uint64_t index() const {
        if (isName()) {
            throw std::runtime_error("Property Path segment is a name, not an index.");
        }
        return std::get<1>(step_);
    }

    // A name and an index are never equal, not even the name "0" and the index 0.
    friend bool operator==(const PropertyPathSegment& left, const PropertyPathSegment& right) noexcept {
        return left.step_ == right.step_;
    }
    friend bool operator!=(const PropertyPathSegment& left, const PropertyPathSegment& right) noexcept {
        return !(left == right);
    }

private:
    std::variant<InternedString, std::uint64_t> step_;
};

// A sequence of steps from the root of a tree; the empty path is the root itself. An ordinary value.
class PropertyPath {
public:
    using value_type = PropertyPathSegment;
    using const_iterator = std::vector<PropertyPathSegment>::const_iterator;

    PropertyPath() = default;
    // `{"sensors", 3, "gain"}`
    PropertyPath(std::initializer_list<PropertyPathSegment> segments) : segments_(segments) {}
    // From a range of segments, or of what makes one.
    template <class Iterator, std::enable_if_t<Internal::isRangeIterator<Iterator>, int> = 0>
    PropertyPath(Iterator begin, Iterator end) : segments_(begin, end) {}

    void append(PropertyPathSegment segment) { segments_.push_back(segment); }

    // The path of a child.
    friend PropertyPath operator/(PropertyPath path, PropertyPathSegment segment) {
        path.append(segment);
        return path;
    }

    // The path without its last segment. Raises std::out_of_range for the empty path.
    PropertyPath parent() const {
        if (empty()) {
            throw std::out_of_range("The empty Property Path has no parent.");
        }
        PropertyPath path(*this);
        path.segments_.pop_back();
        return path;
    }

    std::size_t size() const noexcept { return segments_.size(); }
    bool empty() const noexcept { return segments_.empty(); }
    const_iterator begin() const noexcept { return segments_.begin(); }
    const_iterator end() const noexcept { return segments_.end(); }
    // The position must be below size().
    const PropertyPathSegment& operator[](std::size_t position) const { return segments_[position]; }
    // Raises std::out_of_range.
    const PropertyPathSegment& at(std::size_t position) const {
        if (position >= size()) {
            throw std::out_of_range("Property Path has no segment " + std::to_string(position));
        }
        return segments_[position];
    }

    friend bool operator==(const PropertyPath& left, const PropertyPath& right) noexcept {
        return left.segments_ == right.segments_;
    }
    friend bool operator!=(const PropertyPath& left, const PropertyPath& right) noexcept { return !(left == right); }

private:
    std::vector<PropertyPathSegment> segments_;
};

}  // namespace Quorvane::PYXCORE_PYX
