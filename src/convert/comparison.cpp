#include <pyx/variant/comparison.h>

#include "convert/conversion_matrix.h"
#include "convert/element_comparison.h"

#include <pyx/types/dispatch.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/StdVectorVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/array_operations.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <type_traits>
#include <typeinfo>

namespace Quorvane::Pyx::Internal {

namespace {

// An object whose type and ordering are asked once: a client's storage may answer anew each time.
struct Operand {
    const IVariantData& data;
    WellKnownType type;
    DataOrdering ordering;
};

struct ElementRun {
    const void* elements;
    std::uint64_t available;
};

template <class T>
ElementRun storedElements(const IVariantData& data) {
    // The usual array, told apart without the cost of a cast to a base.
    if (typeid(data) == typeid(VectorVariantData<T>)) {
        return {data.constStoredData(), data.numberAllocatedElements()};
    }
    return {data.constStoredData(), numberReadableElements(data)};
}

// Compares the first `count` elements of two objects of one type. Raises as dispatchElementType does.
bool compareElementRuns(WellKnownType type, const IVariantData& leftData, const IVariantData& rightData,
                        std::uint64_t count) {
    return dispatchElementType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const ElementRun left = storedElements<T>(leftData);
        const ElementRun right = storedElements<T>(rightData);
        const T* const leftElements = static_cast<const T*>(left.elements);
        const T* const rightElements = static_cast<const T*>(right.elements);
        const std::uint64_t stored = std::min({left.available, right.available, count});
        if (!equalRuns(leftElements, rightElements, stored)) {
            return false;
        }
        const T missing{};
        const T* const longer = left.available > right.available ? leftElements : rightElements;
        const std::uint64_t end = std::min(count, std::max(left.available, right.available));
        for (std::uint64_t i = stored; i < end; ++i) {
            if (!equalRuns(longer + i, &missing, 1)) {
                return false;
            }
        }
        return true;
    });
}

bool compareCustomElements(const IVariantData& left, const IVariantData& right, std::uint64_t count,
                           std::uint8_t identity) {
    const CustomTypeOperations* const operations = left.customTypeOperations();
    const std::type_info* const leftClass = left.storedTypeInfo();
    const std::type_info* const rightClass = right.storedTypeInfo();
    const bool classesDiffer = leftClass != nullptr && rightClass != nullptr && *leftClass != *rightClass;
    if (operations == nullptr || classesDiffer) {
        return false;
    }
    // Only the class itself could make its default for an element that is not there.
    const std::uint64_t stored = std::min(count, numberReadableElements(left));
    return stored == std::min(count, numberReadableElements(right)) &&
           operations->compareElements(left.constStoredData(), right.constStoredData(), stored, identity);
}

// A client's storage gives its shape anew each time, which ends the view from before: one object is asked once.
ArrayDimensionsView dimensionsOfOther(const IVariantData& right, const IVariantData& left,
                                      ArrayDimensionsView leftDimensions) {
    return &right == &left ? leftDimensions : right.dimensions();
}

// Whether the order of the elements in storage depends on the ordering.
bool isTrulyMultiDimensional(ArrayDimensionsView dimensions) {
    return dimensions.elementCount() >= 2 &&
           std::count_if(dimensions.begin(), dimensions.end(), [](std::uint64_t length) { return length >= 2; }) >= 2;
}

// Making new data may count references on the old, and changes nothing else.
IVariantData& countable(const IVariantData& data) {
    return const_cast<IVariantData&>(data);
}

// Null when the conversion is refused, or ends in another type.
OwnedData<> convertedCopy(const IVariantData& data, WellKnownType target, ConversionMode mode) {
    OwnedData<> copy(countable(data).convertDataTo(target, mode));
    const auto isAsAsked = [&] {
        return copy->wellKnownDataType() == target && copy->dimensions() == data.dimensions();
    };
    const auto* const counted = dynamic_cast<const IVariantDataRefCounted*>(&data);
    if (copy != nullptr && counted != nullptr && !isAsAsked()) {
        // A view converts to a view, of its own kind of numbers and in the shape of its data. Its copy is no view.
        copy.reset(OwnedData<>(counted->duplicate())->convertDataTo(target, mode));
    }
    if (copy != nullptr && copy->wellKnownDataType() != target) {
        copy = nullptr;
    }
    return copy;
}

bool compareSameType(const Operand& left, const Operand& right, std::uint64_t count, bool multiDimensional) {
    OwnedData<> copy;
    const IVariantData* compared = &right.data;
    if (multiDimensional && left.ordering != right.ordering) {
        copy.reset(countable(right.data).reorderData(left.ordering));
        compared = copy.get();
    }
    if (compared == nullptr) {
        return false;
    }
    return left.type == WellKnownType::customType ? compareCustomElements(left.data, *compared, count, 0)
                                                  : compareElementRuns(left.type, left.data, *compared, count);
}

// The kept operand stores elements of the common type.
bool compareConverted(const Operand& kept, const IVariantData& other, std::uint64_t count, bool multiDimensional,
                      ConversionMode mode) {
    OwnedData<> copy = convertedCopy(other, kept.type, mode);
    if (copy != nullptr && multiDimensional) {
        copy.reset(copy->reorderData(kept.ordering));
    }
    return copy != nullptr && compareElementRuns(kept.type, kept.data, *copy, count);
}

template <class T>
bool isArrayOf(const IVariantData& data) {
    if (typeid(data) == typeid(VectorVariantData<T>)) {
        return true;
    }
    if constexpr (std::is_same_v<T, bool>) {
        return false;
    } else {
        return typeid(data) == typeid(StdVectorVariantData<T>);
    }
}

// Whether the object is one of the library's arrays, whose conversion is that of its elements, and has all `count`.
bool isCompleteArray(const Operand& operand, std::uint64_t count) {
    return operand.data.numberAllocatedElements() >= count && dispatchElementType(operand.type, [&](auto tag) {
               return isArrayOf<typename decltype(tag)::type>(operand.data);
           });
}

// The numbers of an array as elements of T: where they stand, or a block of them converted.
template <class T>
class NumberBlocks {
public:
    static constexpr std::uint64_t maximumLength = 128;

    NumberBlocks(const Operand& operand, ConversionMode mode)
        : elements_(static_cast<const std::byte*>(operand.data.constStoredData())),
          elementSize_(
              dispatchElementType(operand.type, [](auto tag) { return sizeof(typename decltype(tag)::type); })),
          convert_(operand.type == ElementTraits<T>::code ? nullptr : conversionCell<T>(operand.type)),
          mode_(mode) {}

    // Good until the next block is asked for; null when its conversion is refused.
    const T* block(std::uint64_t first, std::uint64_t length) {
        const void* const stored = elements_ + first * elementSize_;
        if (convert_ == nullptr) {
            return static_cast<const T*>(stored);
        }
        return convert_(stored, converted_, length, mode_) ? converted_ : nullptr;
    }

private:
    const std::byte* elements_;
    std::size_t elementSize_;
    ConvertCell convert_;
    ConversionMode mode_;
    T converted_[maximumLength];
};

// compareConverted for complete arrays in one order, without a copy of them.
bool compareInBlocks(const Operand& left, const Operand& right, WellKnownType common, std::uint64_t count,
                     ConversionMode mode) {
    return dispatchElementType(common, [&](auto tag) {
        using T = typename decltype(tag)::type;
        // Different types have only numbers in common.
        if constexpr (isNumericElement<T>) {
            using Blocks = NumberBlocks<T>;
            Blocks leftBlocks(left, mode);
            Blocks rightBlocks(right, mode);
            for (std::uint64_t first = 0; first < count; first += Blocks::maximumLength) {
                const std::uint64_t length = std::min(count - first, Blocks::maximumLength);
                const T* const leftBlock = leftBlocks.block(first, length);
                const T* const rightBlock = rightBlocks.block(first, length);
                if (leftBlock == nullptr || rightBlock == nullptr || !equalRuns(leftBlock, rightBlock, length)) {
                    return false;
                }
            }
            return true;
        } else {
            return false;
        }
    });
}

bool compareInCommonType(const Operand& left, const Operand& right, std::uint64_t count, bool multiDimensional,
                         ConversionMode mode) {
    const WellKnownType common = WellKnownType::getCommonWellKnownType(left.type, right.type);
    if (common == WellKnownType::unknown) {
        return false;
    }
    const bool sameOrder = !multiDimensional || left.ordering == right.ordering;
    if (sameOrder && isCompleteArray(left, count) && isCompleteArray(right, count)) {
        return compareInBlocks(left, right, common, count, mode);
    }
    if (common == left.type) {
        return compareConverted(left, right.data, count, multiDimensional, mode);
    }
    if (common == right.type) {
        return compareConverted(right, left.data, count, multiDimensional, mode);
    }
    const OwnedData<> copy = convertedCopy(left.data, common, mode);
    return copy != nullptr &&
           compareConverted({*copy, common, left.ordering}, right.data, count, multiDimensional, mode);
}

template <class Compare>
bool falseWhereItRaises(Compare compare) {
    try {
        return compare();
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

bool isIdenticalTo(const IVariantData& left, const IVariantData& right) {
    const WellKnownType type = left.wellKnownDataType();
    const WellKnownType rightType = right.wellKnownDataType();
    if (type == WellKnownType::unknown || type != rightType) {
        return type == rightType;
    }
    const ArrayDimensionsView dimensions = left.dimensions();
    if (dimensions != dimensionsOfOther(right, left, dimensions) || left.dataOrdering() != right.dataOrdering()) {
        return false;
    }
    const std::uint64_t count = dimensions.elementCount();
    return type == WellKnownType::customType ? compareCustomElements(left, right, count, 1)
                                             : compareElementRuns(type, left, right, count);
}

bool isEquivalentTo(const IVariantData& left, const IVariantData& right, ConversionMode mode) {
    const WellKnownType leftType = left.wellKnownDataType();
    const WellKnownType rightType = right.wellKnownDataType();
    // Deliberately, a custom class is asked for identity here.
    if (leftType == WellKnownType::customType && rightType == leftType && left.isScalarStorage() &&
        right.isScalarStorage()) {
        return falseWhereItRaises([&] { return isIdenticalTo(left, right); });
    }
    const ArrayDimensionsView dimensions = left.dimensions();
    const ArrayDimensionsView rightDimensions = dimensionsOfOther(right, left, dimensions);
    const std::uint64_t count = dimensions.elementCount();
    if (count == 0 && rightDimensions.elementCount() == 0) {
        return true;
    }
    if (dimensions != rightDimensions) {
        return false;
    }
    const bool multiDimensional = isTrulyMultiDimensional(dimensions);
    const Operand leftOperand{left, leftType, left.dataOrdering()};
    const Operand rightOperand{right, rightType, right.dataOrdering()};
    return falseWhereItRaises([&] {
        return leftType == rightType ? compareSameType(leftOperand, rightOperand, count, multiDimensional)
                                     : compareInCommonType(leftOperand, rightOperand, count, multiDimensional, mode);
    });
}

}  // namespace Quorvane::Pyx::Internal
