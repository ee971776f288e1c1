// The value type: a null, a scalar or an N-dimensional array of any element type, over one of two storage policies.
#pragma once

#include <pyx/abi/c_api.h>
#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceWalk.h>
#include <pyx/types/element_types.h>
#include <pyx/types/portable_type_names.h>
#include <pyx/variant/ConversionMode.h>
#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/VariantSlices.h>
#include <pyx/variant/ZVariantValueRange.h>
#include <pyx/variant/conversion_failure_text.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Quorvane::PYXCORE_PYX {

class ExternalVariantStorageInterface;

// Copies share a heap object until one of them is written; an inline scalar is copied and never shared. A moved-from
// value may only be copied, assigned to or destroyed. A value belongs to one thread at a time; values on several
// threads may share data.
//
// Positions and lengths count elements. Elements are read by their exact type; convert first to read them as another
// one. Wherever a value is made or read by value, an integer type that is no element type itself (`long`) counts as the
// element type of its width and signedness. Every operation that allocates may raise std::bad_alloc and then has
// changed nothing. With ZVariantAbi, failures are those of the flat C interface: the same classes with the same texts,
// which are cut after 199 characters.
template <class Storage>
class ZVariantGeneric {
    using Slices = Internal::VariantSlices<Storage>;

    static_assert(Storage::supported,
                  "ZVariant calls the library directly and needs the library's standard library (libstdc++): use "
                  "ZVariantAbi in modules that are built with another one.");

public:
    // A null value.
    ZVariantGeneric() = default;

    // A scalar of the element type of the argument.
    template <class T, std::enable_if_t<Internal::isWellKnownElement<Internal::StoredElement<T>>, int> = 0>
    ZVariantGeneric(T value) : storage_(Storage::fromScalar(Internal::StoredElement<T>(std::move(value)))) {}

    // A text.
    ZVariantGeneric(const char* text) : ZVariantGeneric(std::string(text)) {}
    ZVariantGeneric(std::string_view text) : ZVariantGeneric(std::string(text)) {}
    ZVariantGeneric(std::nullptr_t) = delete;

    // The same value over the other storage policy: a ZVariant of a ZVariantAbi, and the other way. Shares the data,
    // except that an inline scalar of a ZVariant is copied; the form for rvalues takes them over. A null and a
    // moved-from value give a null. Explicit, so that no value changes its policy unseen.
    template <class Other, std::enable_if_t<!std::is_same_v<Other, Storage>, int> = 0>
    explicit ZVariantGeneric(const ZVariantGeneric<Other>& other) : ZVariantGeneric(ZVariantGeneric<Other>(other)) {}
    template <class Other, std::enable_if_t<!std::is_same_v<Other, Storage>, int> = 0>
    explicit ZVariantGeneric(ZVariantGeneric<Other>&& other) {
        // Each side keeps its own null.
        if (other.storage_.variantData != nullptr && !other.isNull()) {
            storage_ = Storage::adopt(other.storage_.release());
        }
    }

    // The handle of the data, for the functions of pyx/abi/c_api.h: borrowed, and good until the value is changed or
    // ends. ZVariantAbi only, since a ZVariant may hold a scalar that has none: make a ZVariantAbi of it, or release
    // it.
    [[nodiscard]] PyxVariantData* handle() const noexcept {
        static_assert(!Storage::holdsCustomClasses, "A ZVariant lends no handle: make a ZVariantAbi of it first.");
        return storage_.variantData;
    }

    // Hands the reference on the data to the caller, who ends it by ZVariantData_C_API_destruct or adopt; the value is
    // moved from. Never null, except of a value that was moved from before.
    [[nodiscard]] PyxVariantData* release() && { return storage_.release(); }

    // The value of a handle, whose reference is taken over. Null gives a null value.
    [[nodiscard]] static ZVariantGeneric adopt(PyxVariantData* handle) {
        return ZVariantGeneric(Storage::adopt(handle));
    }

    // The value of a handle that stays the caller's and is not null. Shares the data.
    [[nodiscard]] static ZVariantGeneric share(PyxVariantData* handle) {
        return ZVariantGeneric(Storage::share(handle));
    }

    // A scalar of a class of the client's own, which needs copies, a default constructor, == and the alignment of a
    // pointer at most. ZVariant only.
    template <class T>
    static ZVariantGeneric fromCustom(T value) {
        requireElement<T>();
        return ZVariantGeneric(Storage::fromScalar(std::move(value)));
    }

    // An array with copies of the `length` elements at `data`, in storage order. Without dimensions it has one, as
    // long as the data. Raises std::length_error "dimensions do not match data length".
    template <class T>
    static ZVariantGeneric fromData(const T* data, std::uint64_t length, ArrayDimensionsView dimensions = {},
                                    DataOrdering ordering = DataOrdering::RowMajor) {
        using Element = Internal::StoredElement<T>;
        requireElement<Element>();
        if constexpr (std::is_same_v<T, Element>) {
            return ZVariantGeneric(Storage::fromArray(data, length, dimensions, ordering));
        } else {
            const std::vector<Element> elements(data, data + length);
            return fromData(elements.data(), elements.size(), dimensions, ordering);
        }
    }
    template <class T>
    static ZVariantGeneric fromData(std::initializer_list<T> elements, ArrayDimensionsView dimensions = {},
                                    DataOrdering ordering = DataOrdering::RowMajor) {
        return fromData(elements.begin(), elements.size(), dimensions, ordering);
    }
    template <class T>
    static ZVariantGeneric fromData(const std::vector<T>& elements, ArrayDimensionsView dimensions = {},
                                    DataOrdering ordering = DataOrdering::RowMajor) {
        if constexpr (std::is_same_v<T, bool>) {
            // A std::vector<bool> has no bool in memory.
            const auto copies = std::make_unique<bool[]>(elements.size());
            std::copy(elements.begin(), elements.end(), copies.get());
            return fromData(copies.get(), elements.size(), dimensions, ordering);
        } else {
            return fromData(elements.data(), elements.size(), dimensions, ordering);
        }
    }

    // An array of the vector's elements: ZVariant adopts them without a copy, and has consumed the vector also when it
    // fails. Where the dimensions are empty or hold a 0, ZVariant gives an array with elements one dimension of their
    // number, while ZVariantAbi copies as fromData does. Raises std::length_error "dimensions do not match data
    // length".
    template <class T>
    static ZVariantGeneric fromVector(std::vector<T>&& elements, ArrayDimensionsView dimensions = {},
                                      DataOrdering ordering = DataOrdering::RowMajor) {
        static_assert(!std::is_same_v<T, bool>, "A std::vector<bool> holds no bool in memory: use fromData.");
        using Element = Internal::StoredElement<T>;
        requireElement<Element>();
        if constexpr (!Storage::adoptsVectors) {
            return fromData(elements.data(), elements.size(), dimensions, ordering);
        } else if constexpr (std::is_same_v<T, Element>) {
            return ZVariantGeneric(Storage::fromVector(std::move(elements), dimensions, ordering));
        } else {
            return fromVector(std::vector<Element>(elements.begin(), elements.end()), dimensions, ordering);
        }
    }

    // An array of the shape, to be filled through mutableData: real numbers and booleans are uninitialised, all other
    // elements default.
    template <class T>
    static ZVariantGeneric allocate(ArrayDimensionsView dimensions, DataOrdering ordering = DataOrdering::RowMajor) {
        requireElement<T>();
        return ZVariantGeneric(Storage::template allocate<T>(dimensions, ordering));
    }

    // An array that shows the elements in the client's storage, which is borrowed, without copying them: changes are
    // seen at once. When the storage announces its end, the value and its copies keep the elements as they are then;
    // ExternalBuffer sees to all of that. Pointers, references and ranges into the elements end then, and views of the
    // shape when the storage has another one. Until then the value cannot be reordered (std::runtime_error "Not
    // implemented!", which makes isEquivalentTo false where that would be needed), what the storage's own operations
    // raise passes through, the only holder writes to the storage, two threads must not ask copies for their shape at
    // once, and every refused conversion loses the memory of its result.
    [[nodiscard]] static ZVariantGeneric fromExternal(ExternalVariantStorageInterface& storage) {
        return ZVariantGeneric(Storage::fromExternal(storage));
    }

    // 0 for a null value.
    [[nodiscard]] WellKnownType wellKnownDataType() const { return storage_.wellKnownDataType(); }
    // {1} for a scalar, no dimensions for a null. Valid until the value is changed or ends.
    [[nodiscard]] ArrayDimensionsView dimensions() const { return storage_.dimensions(); }
    [[nodiscard]] DataOrdering dataOrdering() const { return storage_.dataOrdering(); }
    // The number of elements in the storage, which may be more than the value has.
    [[nodiscard]] std::uint64_t numberAllocatedElements() const { return storage_.numberAllocatedElements(); }
    [[nodiscard]] bool isScalarStorage() const { return storage_.isScalarStorage(); }
    // The number of elements of the value: the product of its dimensions, 0 for a null.
    [[nodiscard]] std::uint64_t elementCount() const { return dimensions().elementCount(); }

    // The class of the elements, also where their code does not tell; `void` when the data do not know it, as null does
    // not. ZVariant only.
    [[nodiscard]] const std::type_info& storedTypeInfo() const { return storage_.storedTypeInfo(); }

    [[nodiscard]] bool isNull() const { return isElementType<void>(); }

    // Whether the elements are of type T; `void` asks for null. Deliberately true for a null value and a custom class
    // T, which has no code of its own: test isNull first where that matters.
    template <class T>
    [[nodiscard]] bool isElementType() const {
        requireStoredType<T>();
        const WellKnownType type = wellKnownDataType();
        if (type == WellKnownType::customType) {
            return storage_.template holdsCustomElement<T>();
        }
        return type == WellKnownType(Internal::ElementTraits<T>::code);
    }

    // The element at a position in storage order, whatever the ordering. Raises std::invalid_argument "Cannot access
    // element of null variant." and "Wrong data type.", and std::out_of_range "Indices out of bounds.".
    template <class T>
    [[nodiscard]] const T& elementAt(std::uint64_t position) const& {
        Storage::template requireLayout<T>();
        checkAccess<T>(position);
        return static_cast<const T*>(storage_.constStoredData())[position];
    }
    template <class T>
    [[nodiscard]] T elementAt(std::uint64_t position) const&& {
        Storage::template requireLayout<T>();
        return readAt<T>(position);
    }

    // The same for writing; makes the value the only holder of its data first.
    template <class T>
    [[nodiscard]] T& mutableElementAt(std::uint64_t position) & {
        Storage::template requireLayout<T>();
        checkAccess<T>(position);
        return static_cast<T*>(storage_.mutableStoredData())[position];
    }

    // The first element; null for a value without elements. As many as the smaller of elementCount and
    // numberAllocatedElements may be read. Raises std::invalid_argument "Wrong data type.".
    template <class T>
    [[nodiscard]] const T* data() const& {
        return checkData<T>() ? static_cast<const T*>(storage_.constStoredData()) : nullptr;
    }
    template <class T>
    const T* data() const&& = delete;
    // The same for writing; makes the value the only holder of its data first.
    template <class T>
    [[nodiscard]] T* mutableData() & {
        return checkData<T>() ? static_cast<T*>(storage_.mutableStoredData()) : nullptr;
    }

    // The elements in storage order, as a range that shares the data, or takes an expiring value over, also when it
    // fails. A value without elements gives an empty range whatever its type. Raises std::runtime_error "Data type
    // mismatch, cannot provide iterable container", and std::out_of_range "Indices out of bounds." for a shape that
    // outgrew an adopted vector.
    template <class T>
    [[nodiscard]] ZVariantValueRange<T, Storage> valueRange() const& {
        return ZVariantGeneric(*this).template valueRange<T>();
    }
    template <class T>
    [[nodiscard]] ZVariantValueRange<T, Storage> valueRange() && {
        Storage::template requireLayout<T>();
        requireStoredType<T>();
        return ZVariantValueRange<T, Storage>(std::move(*this));
    }

    // The value of something with exactly one element, converted to T. Raises what convertOrThrow raises, and
    // std::invalid_argument "Cannot read a single value from a ZVariant with 6 elements.".
    template <class T>
    [[nodiscard]] T as(ConversionMode mode = ConversionMode::Cast) const {
        using Element = Internal::StoredElement<T>;
        static_assert(Internal::isWellKnownElement<Element>, "Read elements of a class of your own with elementAt.");
        if (elementCount() != 1) {
            throwNotSingle(elementCount());
        }
        return static_cast<T>(convertOrThrow(Internal::ElementTraits<Element>::code, mode).template readAt<Element>(0));
    }

    // The same shape and ordering in another element type; a null value when the conversion is refused. The own type
    // gives a copy that shares the data. Raises std::runtime_error "unknown type" or "not a numeric type" for a target
    // that is no element type.
    [[nodiscard]] ZVariantGeneric convertTo(WellKnownType target, ConversionMode mode = ConversionMode::Cast) const {
        return target == wellKnownDataType() ? *this : ZVariantGeneric(storage_.convertDataTo(target, mode));
    }

    // As convertTo, but raises std::runtime_error "Cannot convert ..." with both types and the size when the result is
    // null.
    [[nodiscard]] ZVariantGeneric convertOrThrow(WellKnownType target,
                                                 ConversionMode mode = ConversionMode::Cast) const {
        ZVariantGeneric converted = convertTo(target, mode);
        if (converted.isNull()) {
            throw std::runtime_error(Internal::conversionFailureText(Internal::CtTypeExtractor<ZVariantGeneric>::n(),
                                                                     wellKnownDataType(), elementCount(),
                                                                     Internal::typeNameOfWellKnownType(target)));
        }
        return converted;
    }

    // The same values stored in the given ordering; shares the data where nothing is to be done. Scalars and nulls
    // have one ordering, RowMajor, and stay as they are.
    [[nodiscard]] ZVariantGeneric reordered(DataOrdering ordering) const {
        ZVariantGeneric result(*this);
        result.storage_.reorder(ordering);
        return result;
    }

    // A new array of the given shape with the first elements of this one in storage order; elements without a source
    // are default. A null value gives a null value. A view raises std::runtime_error "Reshaping to ZVariant is not
    // allowed for Transmute Variant". A value made by fromExternal ends the process when the shape has no room for all
    // its allocated elements, deliberately.
    [[nodiscard]] ZVariantGeneric reshaped(ArrayDimensionsView dimensions,
                                           DataOrdering ordering = DataOrdering::RowMajor) const {
        return ZVariantGeneric(storage_.reshaped(dimensions, ordering));
    }

    // The same storage read as complex numbers, neighbours along the fastest dimension being real and imaginary part,
    // or read as real numbers, both parts in turn: the length of that dimension is halved, rounded down, or doubled.
    // The data are shared until one of the values is written; a value of the wanted kind is given back as it is. What
    // is converted stays of its kind and has the shape of its data: to float, asComplex ends in complexFloat. The form
    // for rvalues may have taken the value over when it fails. Raises std::invalid_argument "Cannot create a view of
    // data without dimensions.", for a null too, and std::runtime_error "Can not convert non-numeric data type to
    // complex numeric type".
    [[nodiscard]] ZVariantGeneric asComplex() const& { return ZVariantGeneric(*this).asComplex(); }
    [[nodiscard]] ZVariantGeneric asComplex() && {
        return !isNull() && requireNumericType().isComplex() ? std::move(*this)
                                                             : ZVariantGeneric(std::move(storage_).asComplex());
    }
    [[nodiscard]] ZVariantGeneric asReal() const& { return ZVariantGeneric(*this).asReal(); }
    [[nodiscard]] ZVariantGeneric asReal() && {
        return !isNull() && !requireNumericType().isComplex() ? std::move(*this)
                                                              : ZVariantGeneric(std::move(storage_).asReal());
    }

    // Changes the shape in place; no element moves, and views from dimensions are dead afterwards. The present shape
    // always passes. Raises std::invalid_argument for any other shape of a scalar or null, std::runtime_error when the
    // data are shared, and std::length_error when the shape does not fit; the rank of an array that the library
    // allocated cannot grow.
    void reshapeNoRealloc(ArrayDimensionsView dimensions) { storage_.reshapeNoRealloc(dimensions); }

    // Slices select elements by index sets, as `grid.slice({last, seq(0, last, 2)})`. In all of them T is the exact
    // type of the elements, or `void` for whatever it is; a class of the client's own may be given as T as well. A
    // scalar has one dimension and a null none, which makes every slice of a null a null. Everything is checked before
    // anything is read or written.
    // Errors of all: std::invalid_argument "slice dimensions don't match ZVariant dimensions" unless there is one set
    // for each dimension, "slice dimensions are out of bounds", "invalid UseDataOrdering", "Wrong data type." and, from
    // a flat slice, "The step of an index range must not be 0."; std::out_of_range "Index value out-of-range" from a
    // flat slice, and "Indices out of bounds." for a shape that promises more elements than there are;
    // std::length_error "vector too long" for most ranges that run backwards; std::runtime_error "unknown type" for
    // elements of an unknown class in a client's storage.

    // The elements at every combination of the positions that the sets select, one set for each dimension: a new array
    // of the slice's shape, in which a dimension of one position stays, stored in the order of the walk.
    template <class T = void>
    [[nodiscard]] ZVariantGeneric slice(const std::vector<IndexSet>& sets,
                                        UseDataOrdering walk = UseDataOrdering::WalkDataOrdering) const {
        return Slices::template read<T>(*this, sets, walk);
    }

    // The elements that the set selects from all elements, counted in the order of the walk: an array of one dimension.
    template <class T = void>
    [[nodiscard]] ZVariantGeneric flatSlice(const IndexSet& set,
                                            UseDataOrdering walk = UseDataOrdering::WalkDataOrdering) const {
        return Slices::template read<T>(*this, set, walk);
    }

    // Writes a scalar to all elements of the slice, or an array of exactly its shape, each element to the one of the
    // same indices whatever the orderings. Values of another element type are converted first. They may share data
    // with this value. Makes this value the only holder of its data. Raises what convertOrThrow raises, and
    // std::invalid_argument "Cannot write data of shape ... to a slice of shape ..." for an array of another shape.
    template <class T = void>
    void assignSlice(const std::vector<IndexSet>& sets, ZVariantGeneric values) {
        // Walking as the values are stored brings each to its indices.
        const UseDataOrdering walk = values.dataOrdering() == DataOrdering::RowMajor ? UseDataOrdering::WalkRowMajor
                                                                                     : UseDataOrdering::WalkColumnMajor;
        Slices::template write<T>(*this, sets, std::move(values), walk);
    }

    // The same for a flat slice; an array has one dimension here.
    template <class T = void>
    void assignFlatSlice(const IndexSet& set, ZVariantGeneric values,
                         UseDataOrdering walk = UseDataOrdering::WalkDataOrdering) {
        Slices::template write<T>(*this, set, std::move(values), walk);
    }

    // The element at the indices, one for each dimension: a T, or a scalar value of the own type. Raises
    // std::invalid_argument "Cannot access element of null variant." for a null.
    template <class T = void>
    [[nodiscard]] auto element(const std::vector<std::uint64_t>& indices) const {
        const std::uint64_t position = Slices::positionOf(*this, indices);
        if constexpr (std::is_void_v<T>) {
            return Slices::scalarAt(*this, position);
        } else {
            return static_cast<T>(readAt<Internal::StoredElement<T>>(position));
        }
    }

    // Replaces the element at the indices: by a scalar, or an array with one length of 1 for each dimension, which is
    // converted to the own type as assignSlice does; or by a T, the exact type. Makes this value the only holder of its
    // data. Raises std::invalid_argument "Cannot access element of null variant." for a null, and std::out_of_range
    // "Indices out of bounds." for an array without dimensions.
    void assignElement(const std::vector<std::uint64_t>& indices, ZVariantGeneric value) {
        if (indices.empty()) {
            requireNotNull();
            if (dimensions().empty()) {
                requirePosition(0);
            }
        }
        assignSlice(ArraySliceFromIndices(indices), std::move(value));
    }
    template <class T>
    void assignElement(const std::vector<std::uint64_t>& indices, typename Internal::ElementTag<T>::type value) {
        using Element = Internal::StoredElement<T>;
        const std::uint64_t position = Slices::positionOf(*this, indices);
        // A move that may fail must not end the sharing of the data, which a slice sees to.
        if constexpr (Storage::template readsInPlace<Element> && std::is_nothrow_move_assignable_v<Element>) {
            mutableElementAt<Element>(position) = std::move(value);
        } else {
            checkAccess<Element>(position);
            assignElement(indices, ZVariantGeneric(Storage::fromScalar(std::move(value))));
        }
    }

    // Whether the two are the same value in type, shape, ordering and elements; a scalar is identical to a
    // row-major array {1}. Floating elements compare by ==, so that a value with NaN is not even identical to
    // itself and -0.0 equals 0.0, all other numbers and bools by their bytes, and a class of the client's by its
    // ==, whose exceptions pass. Two null values are identical.
    template <class OtherStorage>
    [[nodiscard]] bool isIdenticalTo(const ZVariantGeneric<OtherStorage>& other) const {
        return storage_.isIdenticalTo(other.storage_.variantData);
    }

    // Whether the two have the same shape and equal elements at the same indices, whatever the ordering. Numbers of
    // two types are compared in WellKnownType::getCommonWellKnownType; a type that is not numeric equals only
    // itself. All values without elements are equivalent, null ones too. What fails on the way makes the answer
    // false, exhausted memory too.
    template <class OtherStorage>
    [[nodiscard]] bool isEquivalentTo(const ZVariantGeneric<OtherStorage>& other) const {
        // No mode refuses a conversion to the common type, and this one checks nothing.
        return storage_.isEquivalentTo(other.storage_.variantData, ConversionMode::Cast);
    }

private:
    template <class OtherStorage>
    friend class ZVariantGeneric;

    explicit ZVariantGeneric(Storage&& storage) noexcept : storage_(std::move(storage)) {}

    template <class T>
    static constexpr void requireElement() {
        static_assert(
            Internal::isWellKnownElement<T> || (std::is_class_v<T> && Storage::holdsCustomClasses),
            "This type is no element type of PyxCore: convert to one of them first. A class of your own can be "
            "held by ZVariant, and not by ZVariantAbi.");
    }

    template <class T>
    static constexpr void requireStoredType() {
        static_assert(
            Internal::isWellKnownElement<T> || std::is_void_v<T> || std::is_integral_v<T> || std::is_class_v<T>,
            "No value has elements of this type: name an element type of PyxCore, or a class of your own.");
        static_assert(!std::is_integral_v<T> || Internal::isWellKnownElement<T>,
                      "Elements of this integer type are stored as another type of the same width: `long long` for a "
                      "64-bit `long`, `signed char` or `unsigned char` for `char`.");
    }

    [[noreturn]] static void throwNotSingle(std::uint64_t count) {
        throw std::invalid_argument("Cannot read a single value from a ZVariant with " + std::to_string(count) +
                                    " elements.");
    }

    WellKnownType requireNumericType() const {
        const WellKnownType type = wellKnownDataType();
        Internal::requireNumericView(type);
        return type;
    }

    void requireNotNull() const {
        if (isNull()) {
            throw std::invalid_argument("Cannot access element of null variant.");
        }
    }

    template <class T>
    void requireElements() const {
        if (!isElementType<T>()) {
            throw std::invalid_argument("Wrong data type.");
        }
    }

    // Positions behind the storage are refused as well: a shape can outgrow an adopted vector.
    void requirePosition(std::uint64_t position) const {
        if (position >= elementCount() || position >= numberAllocatedElements()) {
            throw std::out_of_range("Indices out of bounds.");
        }
    }

    template <class T>
    void checkAccess(std::uint64_t position) const {
        requireNotNull();
        requireElements<T>();
        requirePosition(position);
    }

    // The element at a position, by value.
    template <class T>
    T readAt(std::uint64_t position) const {
        checkAccess<T>(position);
        return storage_.template read<T>(position);
    }

    template <class T>
    bool checkData() const {
        Storage::template requireLayout<T>();
        requireStoredType<T>();
        if (elementCount() == 0) {
            return false;
        }
        requireElements<T>();
        return true;
    }

    friend class Internal::VariantSlices<Storage>;

    Storage storage_;
};

// Identity: isIdenticalTo. Neither side is converted to a value: `value == 5` would ask for the very type int.
template <class Left, class Right>
[[nodiscard]] bool operator==(const ZVariantGeneric<Left>& left, const ZVariantGeneric<Right>& right) {
    return left.isIdenticalTo(right);
}
template <class Left, class Right>
[[nodiscard]] bool operator!=(const ZVariantGeneric<Left>& left, const ZVariantGeneric<Right>& right) {
    return !(left == right);
}

}  // namespace Quorvane::PYXCORE_PYX
