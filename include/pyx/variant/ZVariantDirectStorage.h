// The storage policy of clients built with the compiler of the library: calls data objects directly and keeps scalars
// inline.
#pragma once

#include <pyx/types/standard_library.h>
#include <pyx/variant/CustomElementOperations.h>
#include <pyx/variant/IVariantData.h>
#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/StdVectorVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/comparison.h>
#include <pyx/variant/factories.h>
#include <pyx/variant/inline_scalars.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX::Internal {

// Invariant: variantData points at inlineBuffer, which then holds a non-counted scalar; or at a heap object, of which
// this holds one reference; or at a static null object. It is null in a moved-from storage, which may only be copied,
// assigned to or destroyed.
class ZVariantDirectStorage {
public:
    static constexpr bool supported = sharesStandardLibrary;
    static constexpr bool adoptsVectors = true;
    static constexpr bool holdsCustomClasses = true;

    // All elements are read where they stand.
    template <class T>
    static constexpr bool readsInPlace = true;
    template <class T>
    static constexpr void requireLayout() {}

    ZVariantDirectStorage() : variantData(constructVariantNull()) {}

    ZVariantDirectStorage(const ZVariantDirectStorage& other) {
        if (other.isInline()) {
            copyInlineScalar(other);
        } else {
            variantData = other.variantData;
            if (variantData != nullptr) {
                variantData->copy();
            }
        }
    }

    ZVariantDirectStorage(ZVariantDirectStorage&& other) noexcept { takeFrom(other); }

    ZVariantDirectStorage& operator=(const ZVariantDirectStorage& other) {
        return *this = ZVariantDirectStorage(other);
    }

    ZVariantDirectStorage& operator=(ZVariantDirectStorage&& other) noexcept {
        if (this != &other) {
            IVariantData* former = nullptr;
            if (isInline()) {
                endInlineScalar();
            } else {
                former = variantData;
            }
            takeFrom(other);
            // Last, since the other value may stand inside these data.
            giveUp(former);
        }
        return *this;
    }

    ~ZVariantDirectStorage() {
        if (isInline()) {
            endInlineScalar();
        } else {
            giveUp(variantData);
        }
    }

    // The factories make data of the twenty-five element types; data of a custom class are made where it is used.
    template <class T>
    static ZVariantDirectStorage fromScalar(T value) {
        if constexpr (isWellKnownElement<T>) {
            return ZVariantDirectStorage(InlineScalar(), std::move(value));
        } else {
            return adopt(new ScalarVariantDataRefCounted<T>(std::move(value)));
        }
    }

    template <class T>
    static ZVariantDirectStorage fromArray(const T* data, std::uint64_t length, ArrayDimensionsView dimensions,
                                           DataOrdering ordering) {
        if constexpr (isWellKnownElement<T>) {
            return adopt(constructVariantVectorWithDataWithDimsUnresolved<T>(data, length, dimensions, ordering));
        } else {
            return adopt(VectorVariantData<T>::makeFromData(data, length, dimensions, ordering).release());
        }
    }

    template <class T>
    static ZVariantDirectStorage fromVector(std::vector<T>&& elements, ArrayDimensionsView dimensions,
                                            DataOrdering ordering) {
        if constexpr (isWellKnownElement<T>) {
            return adopt(constructVariantDataFromMovedVector<T>(std::move(elements), dimensions, ordering));
        } else {
            return adopt(new StdVectorVariantData<T>(std::move(elements), dimensions, ordering));
        }
    }

    template <class T>
    static ZVariantDirectStorage allocate(ArrayDimensionsView dimensions, DataOrdering ordering) {
        if constexpr (isWellKnownElement<T>) {
            return adopt(constructVariantVectorWithoutDataWithDimsUnresolved<T>(dimensions, ordering));
        } else {
            return adopt(VectorVariantData<T>::make(dimensions, ordering).release());
        }
    }

    // Takes over a reference; a null pointer gives a null value.
    static ZVariantDirectStorage adopt(IVariantData* data) {
        return data == nullptr ? ZVariantDirectStorage() : ZVariantDirectStorage(data);
    }

    // One more reference on the data, which is borrowed and not null.
    static ZVariantDirectStorage share(IVariantData* data) {
        data->copy();
        return adopt(data);
    }

    // Hands the reference to the caller and leaves this moved from. An inline scalar becomes a counted one; when there
    // is no memory for it, nothing has changed.
    IVariantData* release() {
        if (!isInline()) {
            return std::exchange(variantData, nullptr);
        }
        IVariantData* const counted = copyConstructVariantScalar(nullptr, 0, *this);
        endInlineScalar();
        variantData = nullptr;
        return counted;
    }

    WellKnownType wellKnownDataType() const { return variantData->wellKnownDataType(); }
    ArrayDimensionsView dimensions() const { return variantData->dimensions(); }
    DataOrdering dataOrdering() const { return variantData->dataOrdering(); }
    std::uint64_t numberAllocatedElements() const { return variantData->numberAllocatedElements(); }
    bool isScalarStorage() const { return variantData->isScalarStorage(); }
    const void* constStoredData() const { return variantData->constStoredData(); }

    // The element at a position, which is stored as T.
    template <class T>
    T read(std::uint64_t position) const {
        return readElement(static_cast<const T*>(constStoredData())[position]);
    }

    const std::type_info& storedTypeInfo() const {
        const std::type_info* const stored = variantData->storedTypeInfo();
        return stored != nullptr ? *stored : typeid(void);
    }

    // Whether the elements, which are of a custom class, are of class T.
    template <class T>
    bool holdsCustomElement() const {
        const std::type_info* const stored = variantData->storedTypeInfo();
        return stored != nullptr && *stored == typeid(T);
    }

    // The elements are of a custom class.
    const CustomElements& customElements() const {
        const CustomTypeOperations* const operations = variantData->customTypeOperations();
        if (operations == nullptr) {
            // A client's storage may claim the code, and nothing is known of its elements then.
            throw std::runtime_error("unknown type");
        }
        return static_cast<const CustomElements&>(*operations);
    }

    ZVariantDirectStorage allocateCustomElements(ArrayDimensionsView dimensions, DataOrdering ordering) const {
        return adopt(variantData->reshapeToZVariant(nullptr, dimensions, ordering));
    }

    ZVariantDirectStorage customScalarAt(std::uint64_t position) const {
        const CustomElements& elements = customElements();
        return adopt(elements.makeScalar(static_cast<const std::byte*>(variantData->constStoredData()) +
                                         position * elements.sliceOperations.elementSize));
    }

    void* mutableStoredData() {
        variantData = variantData->makeUnique();
        return variantData->mutableStoredData();
    }

    // The target is another type than the own one. A refused conversion gives a null value.
    ZVariantDirectStorage convertDataTo(WellKnownType target, ConversionMode mode) const {
        return adopt(variantData->convertDataTo(target, mode));
    }

    void reorder(DataOrdering ordering) { replaceBy(variantData->reorderData(ordering)); }

    void reshapeNoRealloc(ArrayDimensionsView dimensions) { variantData->reshapeNoRealloc(dimensions); }

    ZVariantDirectStorage reshaped(ArrayDimensionsView dimensions, DataOrdering ordering) const {
        return adopt(variantData->reshapeToZVariant(variantData, dimensions, ordering));
    }

    static ZVariantDirectStorage fromExternal(ExternalVariantStorageInterface& storage) {
        return adopt(constructVariantExternal(&storage));
    }

    // Takes the data over into a view of them, also when that fails.
    ZVariantDirectStorage asComplex() && { return viewed(constructTransmuteRealToComplexVariant); }
    ZVariantDirectStorage asReal() && { return viewed(constructTransmuteComplexToRealVariant); }

    // The other data may be held by any policy.
    bool isIdenticalTo(const IVariantData* other) const { return Internal::isIdenticalTo(*variantData, *other); }

    bool isEquivalentTo(const IVariantData* other, ConversionMode mode) const {
        return Internal::isEquivalentTo(*variantData, *other, mode);
    }

    IVariantData* variantData;
    alignas(void*) std::byte inlineBuffer[40];

private:
    struct InlineScalar {};

    explicit ZVariantDirectStorage(IVariantData* data) : variantData(data) {}

    // A constructor, since what it makes is never moved: a move of an inline scalar costs several times as much.
    template <class T>
    ZVariantDirectStorage(InlineScalar, T&& value) {
        // Small values travel in a register, which moveVariantScalar would make them leave.
        if constexpr (std::is_arithmetic_v<T>) {
            variantData = constructVariantScalar<T>(inlineBuffer, sizeof(inlineBuffer), value);
        } else {
            variantData = moveVariantScalar<T>(inlineBuffer, sizeof(inlineBuffer), std::forward<T>(value));
        }
    }

    bool isInline() const { return static_cast<const void*>(variantData) == inlineBuffer; }

    bool isInlineString() const { return &typeid(*variantData) == inlineStringClass; }

    void copyInlineScalar(const ZVariantDirectStorage& other) {
        if constexpr (!scalarsAreMemory) {
            variantData = copyConstructVariantScalar(inlineBuffer, sizeof(inlineBuffer), other);
            return;
        }
        if (other.isInlineString()) {
            copyStringScalar(inlineBuffer, other.inlineBuffer);
        } else {
            copyPlainScalar(inlineBuffer, other.inlineBuffer);
        }
        variantData = inlineScalar();
    }

    // Ends the other scalar.
    void relocateInlineScalar(ZVariantDirectStorage& other) noexcept {
        if constexpr (!scalarsAreMemory) {
            variantData = moveConstructVariantScalar(inlineBuffer, sizeof(inlineBuffer), other);
            other.endInlineScalar();
            return;
        }
        if (other.isInlineString()) {
            relocateStringScalar(inlineBuffer, other.inlineBuffer);
        } else {
            copyPlainScalar(inlineBuffer, other.inlineBuffer);
        }
        variantData = inlineScalar();
    }

    // Only a string has something to end.
    void endInlineScalar() noexcept {
        if (!isInlineString()) {
            return;
        }
        if constexpr (scalarsAreMemory) {
            endStringScalar(inlineBuffer);
        } else {
            variantData->~IVariantData();
        }
    }

    IVariantData* inlineScalar() noexcept { return std::launder(reinterpret_cast<IVariantData*>(inlineBuffer)); }

    void takeFrom(ZVariantDirectStorage& other) noexcept {
        if (other.isInline()) {
            relocateInlineScalar(other);
        } else {
            variantData = other.variantData;
        }
        other.variantData = nullptr;
    }

    static void giveUp(IVariantData* data) noexcept {
        if (data != nullptr) {
            data->destruct();
        }
    }

    ZVariantDirectStorage viewed(IVariantData* (*construct)(IVariantData*)) {
        if (isInline()) {
            // A view holds a reference, and an inline scalar has none to give.
            return adopt(copyConstructVariantScalar(nullptr, 0, *this)).viewed(construct);
        }
        IVariantData* const data = std::exchange(variantData, nullptr);
        try {
            return adopt(construct(data));
        } catch (const std::bad_alloc& error) {
            // Without memory for the view itself, and then alone, the reference has not been taken over.
            if (typeid(error) == typeid(std::bad_alloc)) {
                variantData = data;
            }
            throw;
        }
    }

    void replaceBy(IVariantData* data) {
        // An inline scalar answers with itself and has nothing to give up.
        variantData->destruct();
        variantData = data;
    }
};

static_assert(sizeof(ZVariantDirectStorage) == 48);

}  // namespace Quorvane::PYXCORE_PYX::Internal
