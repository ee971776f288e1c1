// Values once more, element by element and as plainly as can be: what the targets hold the library's own against. What
// the library refuses is raised here as its kind in a record of the flat C interface, a `const char*`.
#pragma once

#include "Input.h"
#include "conversion_model.h"

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {

using Shape = std::vector<std::uint64_t>;

inline const WellKnownType elementTypes[] = {
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) WellKnownType::enumerator,
#include <pyx/types/element_types.def>
};

inline bool isElementType(WellKnownType type) {
    return std::find(std::begin(elementTypes), std::end(elementTypes), type) != std::end(elementTypes);
}

// The kind of what the call raises, of the library's exceptions and of the model's; null when it passes.
template <class Call>
const char* failureOf(Call call) {
    try {
        call();
        return nullptr;
    } catch (const char* kind) {
        return kind;
    } catch (const std::bad_alloc&) {
        return "bad_alloc";
    } catch (const std::out_of_range&) {
        return "out_of_range";
    } catch (const std::invalid_argument&) {
        return "invalid_argument";
    } catch (const std::length_error&) {
        return "length_error";
    } catch (const std::runtime_error&) {
        return "runtime_error";
    }
}

inline bool isSameKind(const char* left, const char* right) {
    return left == nullptr || right == nullptr ? left == right : std::strcmp(left, right) == 0;
}

// Elements.

inline Number numberOf(WellKnownType type, const Bytes& bytes) {
    return Internal::dispatchElementType(type.componentType(), [&](auto tag) -> Number {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_arithmetic_v<T>) {
            // Any byte may be a bool.
            std::conditional_t<std::is_same_v<T, bool>, unsigned char, T> parts[2]{};
            std::memcpy(parts, bytes.data(), std::min(bytes.size(), sizeof(parts)));
            if constexpr (std::is_same_v<T, bool>) {
                return {parts[0] != 0 ? 1.0L : 0.0L, parts[1] != 0 ? 1.0L : 0.0L};
            }
            return {static_cast<long double>(parts[0]), static_cast<long double>(parts[1])};
        }
        return {};
    });
}

// As the library compares them.
inline bool areEqual(WellKnownType type, const Bytes& left, const Bytes& right) {
    if (!type.isFloating()) {
        return left == right;
    }
    const Number a = numberOf(type, left);
    const Number b = numberOf(type, right);
    return a.real == b.real && a.imaginary == b.imaginary;
}

// The same bits, but that one NaN is as good as another.
inline bool areSame(WellKnownType type, const Bytes& left, const Bytes& right) {
    const auto isSamePart = [](long double a, long double b) {
        return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
    };
    const Number a = numberOf(type, left);
    const Number b = numberOf(type, right);
    return left == right || (type.isFloating() && isSamePart(a.real, b.real) && isSamePart(a.imaginary, b.imaginary));
}

inline std::size_t sizeOfElement(WellKnownType type) {
    return Internal::dispatchElementType(type, [](auto tag) { return sizeof(typename decltype(tag)::type); });
}

inline Bytes readElement(WellKnownType type, const void* stored, std::uint64_t position) {
    return type == WellKnownType::string
               ? static_cast<const std::string*>(stored)[position]
               : Bytes(static_cast<const char*>(stored) + position * sizeOfElement(type), sizeOfElement(type));
}

inline void writeElement(WellKnownType type, void* stored, std::uint64_t position, const Bytes& element) {
    if (type == WellKnownType::string) {
        static_cast<std::string*>(stored)[position] = element;
    } else {
        std::memcpy(static_cast<char*>(stored) + position * element.size(), element.data(), element.size());
    }
}

// Elements as the library wants them in memory.
class NativeElements {
public:
    NativeElements(WellKnownType type, const std::vector<Bytes>& elements) {
        if (type == WellKnownType::string) {
            texts_ = elements;
        } else {
            words_.resize(elements.size() * sizeOfElement(type) / sizeof(std::uint64_t) + 1);
            for (std::size_t i = 0; i < elements.size(); ++i) {
                writeElement(type, words_.data(), i, elements[i]);
            }
        }
    }

    void* data() { return texts_.empty() ? static_cast<void*>(words_.data()) : texts_.data(); }

private:
    std::vector<std::string> texts_;
    std::vector<std::uint64_t> words_;
};

// Arrays. A scalar has the shape {1}, and a null value none and no type.

struct Array {
    WellKnownType type;
    Shape shape;
    DataOrdering ordering = DataOrdering::RowMajor;
    // All that are allocated, which may be more than the shape shows, or fewer.
    std::vector<Bytes> elements;
    bool isScalar = false;

    std::uint64_t shown() const { return ArrayDimensionsView(shape).elementCount(); }
    Bytes at(std::uint64_t position) const {
        return position < elements.size() ? elements[position] : bytesOf(type, {});
    }
};

inline std::uint64_t offsetOf(const Shape& indices, const Shape& shape, DataOrdering ordering) {
    std::uint64_t offset = 0;
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const std::size_t k = ordering == DataOrdering::RowMajor ? i : shape.size() - 1 - i;
        offset = offset * shape[k] + indices[k];
    }
    return offset;
}

// The index tuple that follows in the ordering; all zero behind the last one.
inline void advance(Shape& indices, const Shape& shape, DataOrdering ordering) {
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const std::size_t k = ordering == DataOrdering::RowMajor ? shape.size() - 1 - i : i;
        if (++indices[k] != shape[k]) {
            return;
        }
        indices[k] = 0;
    }
}

// Where allocation fails for certain; anything between this and what the targets make is avoided.
inline void requireMemory(std::uint64_t count) {
    if (count >> 40 != 0) {
        throw "bad_alloc";
    }
}

inline void requireKnownType(WellKnownType type) {
    if (!isElementType(type)) {
        throw "runtime_error";
    }
}

inline std::optional<Array> convertedArray(const Array& source, WellKnownType target, ConversionMode mode) {
    requireKnownType(target);
    Array result{target, source.shape, source.ordering, {}, source.isScalar};
    const std::uint64_t shown = source.shown();
    const std::uint64_t stored = std::min<std::uint64_t>(shown, source.elements.size());
    if (shown == 0 && source.type != WellKnownType::unknown && !convertsEmptyArray(source.type, target, mode)) {
        return std::nullopt;
    }
    result.elements.assign(shown, bytesOf(target, {}));
    // Where nothing is stored, the rule looks at a default element.
    for (std::uint64_t i = 0; i < (shown == 0 ? 0 : std::max<std::uint64_t>(stored, 1)); ++i) {
        const Bytes element = source.at(i);
        const Converted wanted = converted(source.type, target, {numberOf(source.type, element), element}, mode);
        if (!wanted) {
            return std::nullopt;
        }
        if (i < stored) {
            result.elements[i] = *wanted;
        }
    }
    return result;
}

// The walk that puts all allocated elements into the other ordering, also those that the shape hides.
inline Array reorderedArray(const Array& source, DataOrdering wanted) {
    const std::uint64_t shown = source.shown();
    const std::uint64_t allocated = source.elements.size();
    Array result{source.type, source.shape, wanted, std::vector<Bytes>(shown, bytesOf(source.type, {})), false};
    const bool byRows = source.ordering == DataOrdering::RowMajor;
    if (shown == 0 || (!byRows && source.ordering != DataOrdering::ColumnMajor)) {
        return result;
    }
    Shape indices(source.shape.size());
    for (std::uint64_t i = 0; i < (byRows ? allocated : std::min(allocated, shown)); ++i) {
        const std::uint64_t offset = offsetOf(indices, source.shape, DataOrdering::ColumnMajor);
        if (byRows && offset < shown) {
            result.elements[offset] = source.elements[i];
        } else if (!byRows && offset < allocated) {
            result.elements[i] = source.elements[offset];
        }
        advance(indices, source.shape, DataOrdering::RowMajor);
    }
    return result;
}

inline Array rebuiltArray(WellKnownType type, const Array& source, const Shape& shape, DataOrdering ordering) {
    if (!source.elements.empty() && source.type != type) {
        throw "invalid_argument";
    }
    Array result{type, shape, ordering, {}, false};
    requireMemory(result.shown());
    for (std::uint64_t i = 0; i < result.shown(); ++i) {
        result.elements.push_back(i < source.elements.size() ? source.elements[i] : bytesOf(type, {}));
    }
    return result;
}

inline Shape shapeOfView(Shape shape, DataOrdering ordering, bool asComplex) {
    if (shape.empty()) {
        throw "invalid_argument";
    }
    std::uint64_t& fastest = ordering == DataOrdering::RowMajor ? shape.back() : shape.front();
    fastest = asComplex ? fastest / 2 : fastest * 2;
    return shape;
}

// The elements of real numbers as complex ones, or the other way round.
inline std::vector<Bytes> viewedElements(const std::vector<Bytes>& elements, bool asComplex) {
    std::vector<Bytes> viewed;
    if (asComplex) {
        for (std::size_t i = 1; i < elements.size(); i += 2) {
            viewed.push_back(elements[i - 1] + elements[i]);
        }
    } else {
        for (const Bytes& element : elements) {
            viewed.push_back(element.substr(0, element.size() / 2));
            viewed.push_back(element.substr(element.size() / 2));
        }
    }
    return viewed;
}

inline bool haveEqualElements(const Array& left, const Array& right) {
    const std::uint64_t stored = std::max(left.elements.size(), right.elements.size());
    for (std::uint64_t i = 0; i < std::min(left.shown(), stored); ++i) {
        if (!areEqual(left.type, left.at(i), right.at(i))) {
            return false;
        }
    }
    return true;
}

inline bool areIdentical(const Array& left, const Array& right) {
    if (left.type == WellKnownType::unknown || left.type != right.type) {
        return left.type == right.type;
    }
    return left.shape == right.shape && left.ordering == right.ordering && haveEqualElements(left, right);
}

// The component types in which two real numbers are compared.
inline WellKnownType commonRealType(WellKnownType a, WellKnownType b) {
    if (a == b || b == WellKnownType::bool_) {
        return a;
    } else if (a == WellKnownType::bool_) {
        return b;
    } else if (a.isFloating() || b.isFloating()) {
        const bool isDouble = a == WellKnownType::double_ || b == WellKnownType::double_;
        return isDouble ? WellKnownType::double_ : WellKnownType::float_;
    } else if (a.isUnsigned() == b.isUnsigned()) {
        return bitsOf(a) > bitsOf(b) ? a : b;
    }
    const WellKnownType isUnsigned = a.isUnsigned() ? a : b;
    const WellKnownType isSigned = a.isUnsigned() ? b : a;
    const int bits = std::max(bitsOf(isSigned), 2 * bitsOf(isUnsigned));
    return bits == 16   ? WellKnownType::int16
           : bits == 32 ? WellKnownType::int32
           : bits == 64 ? WellKnownType::int64
                        : WellKnownType::double_;
}

inline bool areEquivalent(const Array& left, const Array& right, ConversionMode mode) {
    if (left.shown() == 0 && right.shown() == 0) {
        return true;
    } else if (left.shape != right.shape) {
        return false;
    }
    std::optional<Array> one = left;
    std::optional<Array> other = right;
    if (left.type != right.type) {
        if (!left.type.isNumeric() || !right.type.isNumeric()) {
            return false;
        }
        WellKnownType common = commonRealType(left.type.componentType(), right.type.componentType());
        common = left.type.isComplex() || right.type.isComplex() ? common.complexType() : common;
        one = left.type == common ? one : convertedArray(left, common, mode);
        other = right.type == common ? other : convertedArray(right, common, mode);
    }
    const auto longDimensions =
        std::count_if(left.shape.begin(), left.shape.end(), [](std::uint64_t length) { return length >= 2; });
    if (!one || !other) {
        return false;
    } else if (left.shown() < 2 || longDimensions < 2 || left.ordering == right.ordering) {
        return haveEqualElements(*one, *other);
    }
    // Which side is reordered makes a difference where the shape hides elements, or its length wraps.
    const bool keepsRight = left.type != one->type && right.type == other->type;
    return keepsRight ? haveEqualElements(reorderedArray(*one, right.ordering), *other)
                      : haveEqualElements(*one, reorderedArray(*other, left.ordering));
}

// What stands in memory at `stored`, which may be null where nothing does.
inline bool storesAll(const void* stored, const Array& array, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!areSame(array.type, readElement(array.type, stored, i), array.elements[i])) {
            return false;
        }
    }
    return true;
}

// What an input asks for.

// Made at the start, before a target changes the rounding mode.
inline const std::vector<long double> numbersOfInterest = interestingNumbers();

inline Bytes pickElement(Input& input, WellKnownType type) {
    static const char* const texts[] = {"",
                                        "0",
                                        "1",
                                        "true",
                                        "-1.5",
                                        "12abc",
                                        "3e9",
                                        "nan",
                                        "inf",
                                        "abc",
                                        "0x1",
                                        " 7",
                                        "-9007199254740993",
                                        "1e999",
                                        "a text that needs a buffer"};
    if (type == WellKnownType::string) {
        return input.below(2) == 0 ? input.pick(texts) : input.text(24);
    } else if (type.isNumeric() && input.below(2) == 0) {
        const WellKnownType part = type.componentType();
        const Number number{castPart(input.pick(numbersOfInterest), part),
                            type.isComplex() ? castPart(input.pick(numbersOfInterest), part) : 0.0L};
        return bytesOf(type, number);
    }
    const std::uint64_t words[] = {input.word<std::uint64_t>(),
                                   sizeOfElement(type) > 8 ? input.word<std::uint64_t>() : 0};
    return Bytes(reinterpret_cast<const char*>(words), sizeOfElement(type));
}

// Few different ones, so that long arrays cost few bytes.
inline std::vector<Bytes> pickElements(Input& input, WellKnownType type, std::uint64_t count) {
    std::vector<Bytes> different;
    const std::uint64_t number = 1 + input.below(6);
    for (std::uint64_t i = 0; i < std::min(number, count); ++i) {
        different.push_back(pickElement(input, type));
    }
    std::vector<Bytes> elements;
    for (std::uint64_t i = 0; i < count; ++i) {
        elements.push_back(different[i % different.size()]);
    }
    if (count > number) {
        elements[input.below(count)] = pickElement(input, type);
    }
    return elements;
}

// At most 625 elements.
inline Shape pickShape(Input& input) {
    switch (input.below(16)) {
        case 0:
            return {};
        case 1:
            return {input.below(200)};
        case 2:
            return {input.below(14), input.below(15)};
        default: {
            Shape shape(1 + input.below(4));
            for (std::uint64_t& length : shape) {
                length = input.oneIn(16) ? 0 : 1 + input.below(5);
            }
            return shape;
        }
    }
}

}  // namespace Quorvane::Pyx
