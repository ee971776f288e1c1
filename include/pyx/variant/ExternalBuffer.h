// Memory of a client that shows itself as a value: a std::vector, or any block of elements.
#pragma once

#include <pyx/types/element_types.h>
#include <pyx/variant/ExternalVariantStorageInterface.h>
#include <pyx/variant/IVariantDataRefCounted.h>
#include <pyx/variant/ZVariant.h>

#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

// The values that it gives show its elements where they are, and see every change at once. Writing to one of them
// copies the elements first, so the buffer is changed by its owner alone. Buffer and values may end in any order: when
// the buffer ends, or is detached, values that are still held keep a copy of the elements.
//
// Value is ZVariant or ZVariantAbi. Not copied and not moved, since the library knows its address. A buffer belongs to
// one thread at a time. Its elements must not be written while another thread reads one of the values, and it must not
// be detached or end while another thread reads, copies or ends one.
template <class T, class Value = ZVariant>
class ExternalBuffer final : private ExternalVariantStorageInterface {
    static_assert(!std::is_const_v<T>, "A buffer shows memory that its owner can write: cast the const away, or copy.");
    static_assert(
        Internal::isWellKnownElement<std::remove_const_t<T>>,
        "A buffer shows elements of PyxCore's element types as they are: take `long long` for a 64-bit `long`, "
        "and `signed char` or `unsigned char` for `char`.");

public:
    // Owns the elements. Without dimensions there is one, as long as the data. Raises std::length_error "dimensions do
    // not match data length". Not for bool, since a std::vector<bool> holds no bool in memory.
    explicit ExternalBuffer(std::vector<T> elements, ArrayDimensionsView dimensions = {},
                            DataOrdering ordering = DataOrdering::RowMajor)
        : owned_(std::move(elements)),
          elements_(owned_.data()),
          dimensions_(dimensions.toVector()),
          ordering_(ordering) {
        if (dimensions_.empty() && !owned_.empty()) {
            dimensions_.assign(1, owned_.size());
        }
        Internal::requireDataLength(dimensions_, owned_.size());
    }

    // Shows as many elements as the dimensions say in memory of somebody else, which must stay until the buffer has
    // been detached or has ended.
    ExternalBuffer(T* elements, ArrayDimensionsView dimensions, DataOrdering ordering = DataOrdering::RowMajor)
        : elements_(elements), dimensions_(dimensions.toVector()), ordering_(ordering) {}

    // Copies the elements for values that are still held; where memory may not suffice for that, call detach before,
    // since a destructor that cannot do it ends the process.
    ~ExternalBuffer() override { detach(); }

    // The elements in storage order, to be read and written.
    T* data() noexcept { return elements_; }
    const T* data() const noexcept { return elements_; }
    std::uint64_t size() const noexcept { return ArrayDimensionsView(dimensions_).elementCount(); }
    T* begin() noexcept { return elements_; }
    T* end() noexcept { return elements_ + size(); }
    const T* begin() const noexcept { return elements_; }
    const T* end() const noexcept { return elements_ + size(); }

    // A value over the elements; all of them share one data object.
    [[nodiscard]] Value value() {
        if (value_.isNull()) {
            // Only one object at a time can be served, and a detach that failed has left one.
            detach();
            Value shown = Value::fromExternal(*this);
            // Fills the cache of the shape, which later readers on several threads then leave alone.
            (void)shown.dimensions();
            value_ = std::move(shown);
        }
        return value_;
    }

    // Gives the values that are held a copy of the elements, after which they see no changes any more and the memory
    // may go; pointers, references and ranges that lead into it end. When it raises std::bad_alloc the values still
    // look here, and a value that is the only one writes here too.
    void detach() {
        // Where nobody else holds the value, this ends it, and there is nobody to copy for.
        value_ = Value();
        if (detachCallback) {
            detachCallback();
            detachCallback = nullptr;
        }
    }

private:
    std::uint64_t numberAllocatedElements() const override { return size(); }
    ArrayDimensionsView dimensions() const override { return dimensions_; }
    DataOrdering dataOrdering() const override { return ordering_; }
    WellKnownType wellKnownDataType() const override { return Internal::ElementTraits<T>::code; }
    const void* constStoredData() const override { return elements_; }
    void* mutableStoredData() override { return elements_; }
    void adaptorDestroyed() override { detachCallback = nullptr; }

    // The value that is kept here makes every other one a shared one.
    void reshapeNoRealloc(ArrayDimensionsView wanted) override {
        if (wanted != dimensions_) {
            Internal::IVariantDataRefCounted::throwShared();
        }
    }

    std::vector<T> owned_;
    T* elements_;
    std::vector<std::uint64_t> dimensions_;
    DataOrdering ordering_;
    Value value_;
};

}  // namespace Quorvane::PYXCORE_PYX
