// The storage policy of clients built with any compiler: one pointer, and every operation a flat C call whose failure
// is thrown again on this side.
#pragma once

#include <pyx/abi/c_api.h>
#include <pyx/abi/rethrowAbiError.h>
#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/types/element_types.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/ConversionMode.h>
#include <pyx/variant/ElementOperations.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX::Internal {

// Invariant: variantData is a handle on which this holds one reference, or the static null object. It is null in a
// moved-from storage, which may only be copied, assigned to or destroyed.
class ZVariantDataSharable {
public:
    static constexpr bool supported = true;
    static constexpr bool adoptsVectors = false;
    static constexpr bool holdsCustomClasses = false;

    // Whether elements of T are objects of this module's own class. Strings of another standard library are copied in
    // and out as PyxString.
    template <class T>
    static constexpr bool readsInPlace = sharesStandardLibrary || !std::is_same_v<T, std::string>;

    // Fails to compile where elements of T would be lent that are no objects of this module's class.
    template <class T>
    static constexpr void requireLayout() {
        static_assert(readsInPlace<T>,
                      "Strings are std::string objects of the library's standard library (libstdc++), and this module "
                      "is built with another one: read and write them by value, with element, assignElement and as.");
    }

    ZVariantDataSharable() noexcept : variantData(ZVariantData_C_API_constructNull()) {}

    ZVariantDataSharable(const ZVariantDataSharable& other) : variantData(other.variantData) {
        if (variantData != nullptr) {
            variantData = callFlat(ZVariantData_C_API_copy, variantData);
        }
    }

    ZVariantDataSharable(ZVariantDataSharable&& other) noexcept
        : variantData(std::exchange(other.variantData, nullptr)) {}

    ZVariantDataSharable& operator=(const ZVariantDataSharable& other) { return *this = ZVariantDataSharable(other); }

    ZVariantDataSharable& operator=(ZVariantDataSharable&& other) noexcept {
        if (this != &other) {
            // The old data end last, since the other value may stand inside them.
            giveUp(std::exchange(variantData, std::exchange(other.variantData, nullptr)));
        }
        return *this;
    }

    ~ZVariantDataSharable() { giveUp(variantData); }

    template <class T>
    static ZVariantDataSharable fromScalar(const T& value) {
        if constexpr (readsInPlace<T>) {
            return scalarOf(&value, codeOf<T>());
        } else {
            return fromString(PyxString_borrow(value.data(), value.size()));
        }
    }

    template <class T>
    static ZVariantDataSharable fromArray(const T* data, std::uint64_t length, ArrayDimensionsView dimensions,
                                          DataOrdering ordering) {
        if constexpr (readsInPlace<T>) {
            return arrayOf(data, codeOf<T>(), length, dimensions, ordering);
        } else {
            std::vector<PyxString> strings;
            strings.reserve(length);
            for (std::uint64_t i = 0; i < length; ++i) {
                strings.push_back(PyxString_borrow(data[i].data(), data[i].size()));
            }
            return fromStrings(strings, dimensions, ordering);
        }
    }

    static ZVariantDataSharable fromString(const PyxString& string) { return scalarOf(&string, codeOf<std::string>()); }

    static ZVariantDataSharable fromStrings(const std::vector<PyxString>& strings, ArrayDimensionsView dimensions,
                                            DataOrdering ordering) {
        return arrayOf(strings.data(), codeOf<std::string>(), strings.size(), dimensions, ordering);
    }

    template <class T>
    static ZVariantDataSharable allocate(ArrayDimensionsView dimensions, DataOrdering ordering) {
        return adopt(
            callFlat(ZVariantData_C_API_createWithAllocatedArray, codeOf<T>(), plain(dimensions), plain(ordering)));
    }

    // Takes over a reference; a null handle gives a null value.
    static ZVariantDataSharable adopt(IVariantData* data) {
        return data == nullptr ? ZVariantDataSharable() : ZVariantDataSharable(data);
    }

    // One more reference on the data, which is borrowed and not null.
    static ZVariantDataSharable share(IVariantData* data) { return adopt(callFlat(ZVariantData_C_API_copy, data)); }

    // Hands the reference to the caller and leaves this moved from.
    IVariantData* release() noexcept { return std::exchange(variantData, nullptr); }

    WellKnownType wellKnownDataType() const {
        return WellKnownType::fromCode(callFlat(ZVariantData_C_API_wellKnownDataType, variantData));
    }

    ArrayDimensionsView dimensions() const {
        const PyxDimensions dimensions = callFlat(ZVariantData_C_API_dimensions, variantData);
        return {dimensions.lengths, dimensions.count};
    }

    DataOrdering dataOrdering() const {
        return static_cast<DataOrdering>(callFlat(ZVariantData_C_API_dataOrdering, variantData));
    }

    std::uint64_t numberAllocatedElements() const {
        return callFlat(ZVariantData_C_API_numberAllocatedElements, variantData);
    }

    bool isScalarStorage() const { return callFlat(ZVariantData_C_API_isScalarStorage, variantData); }

    const void* constStoredData() const { return callFlat(ZVariantData_C_API_constStoredData, variantData); }

    // The element at a position, which is stored as T.
    template <class T>
    T read(std::uint64_t position) const {
        if constexpr (readsInPlace<T>) {
            return readElement(static_cast<const T*>(constStoredData())[position]);
        } else {
            const PyxString& string = static_cast<const PyxString*>(constStoredData())[position];
            return T(string.data, string.length);
        }
    }

    // No flat function tells classes apart behind the code customType.
    template <class T>
    bool holdsCustomElement() const {
        return false;
    }

    void* mutableStoredData() {
        void* stored = nullptr;
        variantData = callFlat(ZVariantData_C_API_mutableStoredData, variantData, &stored);
        return stored;
    }

    // A refused conversion gives a null value.
    ZVariantDataSharable convertDataTo(WellKnownType target, ConversionMode mode) const {
        return adopt(
            callFlat(ZVariantData_C_API_convertDataTo, variantData, target.code(), static_cast<std::uint32_t>(mode)));
    }

    void reorder(DataOrdering ordering) {
        variantData = callFlat(ZVariantData_C_API_reorderData, variantData, plain(ordering));
    }

    void reshapeNoRealloc(ArrayDimensionsView dimensions) {
        callFlat(ZVariantData_C_API_reshapeNoRealloc, variantData, plain(dimensions));
    }

    ZVariantDataSharable reshaped(ArrayDimensionsView dimensions, DataOrdering ordering) const {
        // The call consumes a reference on its source.
        ZVariantDataSharable source(*this);
        IVariantData* const result = callFlat(ZVariantData_C_API_reshapeToZVariant, variantData, source.variantData,
                                              plain(dimensions), plain(ordering));
        source.variantData = nullptr;
        return adopt(result);
    }

    // The storage is an object of this module's standard library, which must be the library's.
    static ZVariantDataSharable fromExternal(ExternalVariantStorageInterface& storage) {
        return adopt(callFlat(ZVariantData_C_API_createWithExternalStorage, &storage));
    }

    // Takes the data over into a view of them, also when that fails.
    ZVariantDataSharable asComplex() && { return viewed(ZVariantData_C_API_constructTransmuteRealToComplexVariant); }
    ZVariantDataSharable asReal() && { return viewed(ZVariantData_C_API_constructTransmuteComplexToRealVariant); }

    // The other data may be held by any policy.
    bool isIdenticalTo(const IVariantData* other) const {
        return callFlat(ZVariantData_C_API_isIdenticalTo, variantData, other);
    }

    bool isEquivalentTo(const IVariantData* other, ConversionMode mode) const {
        return callFlat(ZVariantData_C_API_isEquivalentTo, variantData, other, static_cast<std::uint32_t>(mode));
    }

    IVariantData* variantData;

private:
    explicit ZVariantDataSharable(IVariantData* data) noexcept : variantData(data) {}

    template <class T>
    static constexpr std::uint16_t codeOf() {
        return WellKnownType(ElementTraits<T>::code).code();
    }

    static ZVariantDataSharable scalarOf(const void* value, std::uint16_t code) {
        return adopt(callFlat(ZVariantData_C_API_constructScalar, value, code));
    }

    static ZVariantDataSharable arrayOf(const void* data, std::uint16_t code, std::uint64_t length,
                                        ArrayDimensionsView dimensions, DataOrdering ordering) {
        return adopt(
            callFlat(ZVariantData_C_API_constructArray, data, code, length, plain(dimensions), plain(ordering)));
    }

    static PyxDimensions plain(ArrayDimensionsView dimensions) { return {dimensions.begin(), dimensions.size()}; }
    static std::uint32_t plain(DataOrdering ordering) { return static_cast<std::uint32_t>(ordering); }

    PYXCORE_CALLS_OTHER_MODULES ZVariantDataSharable viewed(IVariantData* (*construct)(AbiErrorRecord*,
                                                                                       IVariantData*)) {
        AbiErrorRecord record;
        IVariantData* const view = construct(&record, variantData);
        // Only a view that gets no memory for itself leaves the reference here.
        const bool leavesReference = record.kind != nullptr && std::string_view(record.kind) == "bad_alloc" &&
                                     std::string_view(record.message) == "std::bad_alloc";
        if (!leavesReference) {
            variantData = nullptr;
        }
        rethrowAbiError(record);
        return adopt(view);
    }

    // A destructor does not throw, so the outcome is not looked at.
    static void giveUp(IVariantData* data) noexcept {
        if (data != nullptr) {
            AbiErrorRecord record;
            record.kind = nullptr;
            ZVariantData_C_API_destruct(&record, data);
        }
    }
};

static_assert(sizeof(ZVariantDataSharable) == sizeof(void*));

}  // namespace Quorvane::PYXCORE_PYX::Internal
