// The elements of a value as a range that keeps the value alive.
#pragma once

#include <pyx/types/export.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Quorvane::PYXCORE_PYX {

template <class Storage>
class ZVariantGeneric;

// A read-only range of contiguous elements in storage order. Neither copied nor moved: its pointers may lead into the
// inline scalar of the value that it holds.
template <class T, class Storage>
class ZVariantValueRange {
public:
    explicit ZVariantValueRange(ZVariantGeneric<Storage>&& value) : value_(std::move(value)) {
        const std::uint64_t count = value_.elementCount();
        if (count == 0) {
            return;
        }
        if (!value_.template isElementType<T>()) {
            throw std::runtime_error("Data type mismatch, cannot provide iterable container");
        }
        begin_ = std::addressof(std::as_const(value_).template elementAt<T>(0));
        end_ = std::addressof(std::as_const(value_).template elementAt<T>(count - 1)) + 1;
    }

    ZVariantValueRange(const ZVariantValueRange&) = delete;
    ZVariantValueRange& operator=(const ZVariantValueRange&) = delete;

    const T* begin() const noexcept { return begin_; }
    const T* end() const noexcept { return end_; }
    const T* data() const noexcept { return begin_; }
    std::uint64_t size() const noexcept { return static_cast<std::uint64_t>(end_ - begin_); }
    bool empty() const noexcept { return begin_ == end_; }

private:
    ZVariantGeneric<Storage> value_;
    const T* begin_ = nullptr;
    const T* end_ = nullptr;
};

}  // namespace Quorvane::PYXCORE_PYX
