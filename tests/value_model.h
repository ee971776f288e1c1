// Values once more, element by element and as plainly as can be: arrays, views and slices of them. What the library
// refuses is raised here as its kind in a record of the flat C interface, a `const char*`.
#pragma once

#include "element_model.h"

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceWalk.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {

using Shape = std::vector<std::uint64_t>;

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
    } catch (const std::exception&) {
        return "exception";
    }
}

inline bool isSameKind(const char* left, const char* right) {
    return left == nullptr || right == nullptr ? left == right : std::strcmp(left, right) == 0;
}

// Arrays. A scalar has the shape {1}, and a null value none and no type.

struct Array {
    WellKnownType type;
    Shape shape;
    DataOrdering ordering = DataOrdering::RowMajor;
    // All that are allocated, which may be more than the shape shows, or fewer.
    std::vector<Bytes> elements;
    bool isScalar = false;

    std::uint64_t shown() const { return ArrayDimensionsView(shape).elementCount(); }
    // Whether the shape has elements that are not stored. Their number may wrap.
    bool promisesMore() const {
        long double promised = 1;
        for (const std::uint64_t length : shape) {
            promised *= static_cast<long double>(length);
        }
        return shown() != 0 && promised > static_cast<long double>(elements.size());
    }
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
        const WellKnownType common = WellKnownType::getCommonWellKnownType(left.type, right.type);
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

// What a stream shows of an array.
inline std::string printedArray(const Array& array) {
    if (array.type == WellKnownType::unknown) {
        return "null";
    } else if (array.type == WellKnownType::duration || array.type == WellKnownType::timePoint) {
        // Nothing is written of none.
        return array.shown() == 0 ? "[]" : throw "runtime_error";
    }
    std::string text;
    for (std::uint64_t i = 0; i < array.shown(); ++i) {
        text += (i == 0 ? "" : ", ") + printedElement(array.type, array.at(i));
    }
    return array.shown() == 1 ? text : "[" + text + "]";
}

// Slices.

struct Item {
    std::uint64_t first;
    bool firstFromEnd;
    bool isRange;
    std::uint64_t last;
    bool lastFromEnd;
    std::uint64_t step;
};
using Items = std::vector<Item>;

inline IndexSet setOf(const Items& items) {
    IndexSet set;
    for (const Item& item : items) {
        const IndexValue first(item.first, item.firstFromEnd);
        if (item.isRange) {
            set.add(IndexRange(first, IndexValue(item.last, item.lastFromEnd), item.step));
        } else {
            set.add(first);
        }
    }
    return set;
}

inline std::vector<IndexSet> setsOf(const std::vector<Items>& axes) {
    std::vector<IndexSet> sets;
    for (const Items& items : axes) {
        sets.push_back(setOf(items));
    }
    return sets;
}

// Ascending, each once. The length is not 0.
inline Shape positionsOf(const Items& items, std::uint64_t length) {
    const auto resolve = [length](std::uint64_t index, bool fromEnd) {
        if (index >= length) {
            throw "out_of_range";
        }
        return fromEnd ? length - 1 - index : index;
    };
    std::set<std::uint64_t> positions;
    for (const Item& item : items) {
        const std::uint64_t first = resolve(item.first, item.firstFromEnd);
        const std::uint64_t last = item.isRange ? resolve(item.last, item.lastFromEnd) : first;
        if (item.isRange && item.step == 0) {
            throw "invalid_argument";
        }
        // A range that runs backwards has a length that wraps.
        if (item.isRange && (last - first) / item.step + 1 >= std::uint64_t{1} << 61) {
            throw "length_error";
        }
        for (std::uint64_t i = first; i <= last; i += item.isRange ? item.step : 1) {
            positions.insert(i);
            if (item.isRange && item.step > last) {
                break;
            }
        }
    }
    return Shape(positions.begin(), positions.end());
}

// What a slice selects: its shape, and the offsets in storage in the order of the walk.
struct Selection {
    Shape shape;
    Shape offsets;
};

inline DataOrdering orderingOf(UseDataOrdering walk, DataOrdering ordering) {
    if (walk > UseDataOrdering::WalkDataOrdering) {
        throw "invalid_argument";
    }
    return walk == UseDataOrdering::WalkDataOrdering ? ordering : static_cast<DataOrdering>(walk);
}

inline Selection select(const std::vector<Items>& axes, const Array& array, UseDataOrdering walk) {
    if (axes.size() != array.shape.size()) {
        throw "invalid_argument";
    }
    std::vector<Shape> positions;
    Selection selection;
    for (std::size_t k = 0; k < axes.size(); ++k) {
        const std::uint64_t length = array.shape[k];
        for (const Item& item : axes[k]) {
            if (item.first >= length || (item.isRange && (item.last >= length || item.step == 0))) {
                throw "invalid_argument";
            }
        }
        positions.push_back(positionsOf(axes[k], length));
        selection.shape.push_back(positions.back().size());
    }
    const DataOrdering order = axes.size() == 1 ? DataOrdering::RowMajor : orderingOf(walk, array.ordering);
    Shape place(axes.size());
    for (std::uint64_t i = 0; i < ArrayDimensionsView(selection.shape).elementCount(); ++i) {
        Shape indices;
        for (std::size_t k = 0; k < axes.size(); ++k) {
            indices.push_back(positions[k][place[k]]);
        }
        selection.offsets.push_back(offsetOf(indices, array.shape, array.ordering));
        advance(place, selection.shape, order);
    }
    return selection;
}

inline Selection select(const Items& items, const Array& array, UseDataOrdering walk) {
    if (array.shown() == 0 && !items.empty()) {
        throw "out_of_range";
    }
    const Shape positions = positionsOf(items, array.shown());
    const DataOrdering order = orderingOf(walk, array.ordering);
    Selection selection{{positions.size()}, {}};
    Shape indices(array.shape.size());
    std::uint64_t reached = 0;
    for (const std::uint64_t position : positions) {
        for (; reached < position; ++reached) {
            advance(indices, array.shape, order);
        }
        selection.offsets.push_back(offsetOf(indices, array.shape, array.ordering));
    }
    return selection;
}

inline void requireStored(const Selection& selection, const Array& array) {
    for (const std::uint64_t offset : selection.offsets) {
        if (offset >= std::min<std::uint64_t>(array.elements.size(), array.shown())) {
            throw "out_of_range";
        }
    }
}

inline Array readSlice(const Array& array, const Selection& selection, UseDataOrdering walk) {
    if (array.type == WellKnownType::unknown) {
        return {};
    }
    requireStored(selection, array);
    const bool isNamed = walk < UseDataOrdering::WalkDataOrdering;
    Array slice{array.type, selection.shape, isNamed ? static_cast<DataOrdering>(walk) : array.ordering, {}, false};
    for (const std::uint64_t offset : selection.offsets) {
        slice.elements.push_back(array.elements[offset]);
    }
    return slice;
}

inline void requireSliceShape(const Array& values, const Selection& selection) {
    if (!values.isScalar && values.shape != selection.shape) {
        throw "invalid_argument";
    }
}

}  // namespace Quorvane::Pyx
