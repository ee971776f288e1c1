// An array whose object and elements are one allocation: what every operation of the library makes.
#pragma once

#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/IVariantDataRefCounted.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/array_memory.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace Quorvane::PYXCORE_PYX::Internal {

// The elements stand directly behind the object, at sizeof(VectorVariantData<T>). Their number is fixed for life; the
// shape may become smaller, and what it then hides is kept. The object has all the alignment that an allocation has,
// and so do the elements: vectors of them that straddle cache lines cost a fifth of the time of a conversion.
template <class T>
class alignas(__STDCPP_DEFAULT_NEW_ALIGNMENT__) VectorVariantData final : public IVariantDataRefCounted {
public:
    using Owned = OwnedData<VectorVariantData>;

    // An array of the shape. Real numbers and booleans are left uninitialised, so that a large array is not touched
    // before it is written; every other element is default-constructed.
    static Owned make(ArrayDimensionsView dimensions, DataOrdering ordering) {
        return allocate(dimensions.elementCount(), dimensions, ordering, [](T* elements, std::uint64_t count) {
            if constexpr (!std::is_arithmetic_v<T>) {
                std::uninitialized_value_construct_n(elements, count);
            }
        });
    }

    // As make, with all elements that are plain memory uninitialised: for who writes every one of them.
    static Owned makeForOverwrite(ArrayDimensionsView dimensions, DataOrdering ordering) {
        if constexpr (std::is_trivially_copyable_v<T>) {
            return allocate(dimensions.elementCount(), dimensions, ordering, [](T*, std::uint64_t) {});
        } else {
            return make(dimensions, ordering);
        }
    }

    // An array with copies of `count` elements, which may be more than the shape shows.
    static Owned makeCopy(const T* source, std::uint64_t count, ArrayDimensionsView dimensions, DataOrdering ordering) {
        return allocate(count, dimensions, ordering, [source](T* elements, std::uint64_t elementCount) {
            if constexpr (std::is_trivially_copyable_v<T>) {
                copyElements(elements, source, elementCount);
            } else {
                std::uninitialized_copy_n(source, elementCount, elements);
            }
        });
    }

    // An array with copies of `length` elements of T; without dimensions it has one, as long as the data. Raises
    // std::length_error "dimensions do not match data length".
    static Owned makeFromData(const T* data, std::uint64_t length, ArrayDimensionsView dimensions,
                              DataOrdering ordering) {
        const ArrayDimensionsView resolved =
            dimensions.empty() && length != 0 ? ArrayDimensionsView(&length, 1) : dimensions;
        requireDataLength(resolved, length);
        return makeCopy(data, length, resolved, ordering);
    }

    ~VectorVariantData() override { std::destroy_n(elements(), numberAllocatedElements_); }

    static void operator delete(void* memory) { ::operator delete(memory); }

    T* elements() { return std::launder(reinterpret_cast<T*>(this + 1)); }
    const T* elements() const { return std::launder(reinterpret_cast<const T*>(this + 1)); }

    std::uint64_t numberAllocatedElements() const override { return numberAllocatedElements_; }
    ArrayDimensionsView dimensions() const override { return dimensions_; }
    DataOrdering dataOrdering() const override { return ordering; }
    bool isScalarStorage() const override { return false; }
    WellKnownType wellKnownDataType() const override { return ElementOperations<T>::type; }
    const std::type_info* storedTypeInfo() const override { return &typeid(T); }
    CustomTypeOperations* customTypeOperations() const override { return ElementOperations<T>::customTypeOperations(); }

    IVariantData* reorderData(DataOrdering wanted) override { return reorderArray<T>(*this, wanted); }

    void reshapeNoRealloc(ArrayDimensionsView wanted) override {
        if (wanted == dimensions()) {
            return;
        }
        requireOneReference();
        // The limit on the rank is deliberate and this class's alone: its list of dimensions never grows.
        if (wanted.elementCount() > numberAllocatedElements_ || wanted.size() > dimensions_.size()) {
            throwDoesNotFit();
        }
        // The view may look at a part of this very list.
        if (!wanted.empty()) {
            std::memmove(dimensions_.data(), wanted.begin(), wanted.size() * sizeof(std::uint64_t));
        }
        dimensions_.resize(wanted.size());
    }

    IVariantData* reshapeToZVariant(IVariantData* source, ArrayDimensionsView wanted,
                                    DataOrdering wantedOrdering) override {
        return ElementOperations<T>::rebuild(source, wanted, wantedOrdering);
    }

    IVariantData* convertDataTo(WellKnownType target, ConversionMode mode) override {
        return ElementOperations<T>::convertArray(*this, target, mode);
    }

    const void* constStoredData() const override { return elements(); }
    void* mutableStoredData() override { return elements(); }

    // Copies all allocated elements, also those that the shape hides.
    IVariantData* duplicate() const override {
        return makeCopy(elements(), numberAllocatedElements_, dimensions_, ordering).release();
    }

private:
    // What the placement form of new takes; a type of its own, since a plain size would name the usual delete.
    struct ElementCount {
        std::uint64_t value;
    };

    template <class Construct>
    VectorVariantData(std::uint64_t count, ArrayDimensionsView shape, DataOrdering storageOrdering, Construct construct)
        : numberAllocatedElements_(count), dimensions_(shape.begin(), shape.end()), ordering(storageOrdering) {
        static_assert(
            alignof(T) <= alignof(VectorVariantData),
            "Elements stand right behind the object, so no class may need more alignment than plain new gives.");
        construct(reinterpret_cast<T*>(this + 1), count);
    }

    template <class Construct>
    static Owned allocate(std::uint64_t count, ArrayDimensionsView dimensions, DataOrdering ordering,
                          Construct construct) {
        return Owned(new (ElementCount{count}) VectorVariantData(count, dimensions, ordering, construct));
    }

    static void* operator new(std::size_t objectSize, ElementCount count) {
        if (count.value > (std::numeric_limits<std::size_t>::max() - objectSize) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        const std::size_t size = objectSize + count.value * sizeof(T);
        void* const memory = ::operator new(size);
        adviseHugePages(memory, size);
        return memory;
    }
    static void operator delete(void* memory, ElementCount) { ::operator delete(memory); }

    const std::uint64_t numberAllocatedElements_;
    std::vector<std::uint64_t> dimensions_;
    const DataOrdering ordering;
};

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) \
    extern template class VectorVariantData<type>;
#include <pyx/types/element_types.def>

}  // namespace Quorvane::PYXCORE_PYX::Internal
