// Index sets and slices against a model that computes the place of every element by itself, over both kinds of values.
#include "value_model.h"

#include <pyx/indexing/SliceFlattener.h>
#include <pyx/variant/ZVariant.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

struct Item {
    std::uint64_t first;
    bool firstFromEnd;
    bool isRange;
    std::uint64_t last;
    bool lastFromEnd;
    std::uint64_t step;
};
using Items = std::vector<Item>;

IndexSet setOf(const Items& items) {
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

std::vector<IndexSet> setsOf(const std::vector<Items>& axes) {
    std::vector<IndexSet> sets;
    for (const Items& items : axes) {
        sets.push_back(setOf(items));
    }
    return sets;
}

// Ascending, each once. The length is not 0.
Shape positionsOf(const Items& items, std::uint64_t length) {
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

DataOrdering orderingOf(UseDataOrdering walk, DataOrdering ordering) {
    if (walk > UseDataOrdering::WalkDataOrdering) {
        throw "invalid_argument";
    }
    return walk == UseDataOrdering::WalkDataOrdering ? ordering : static_cast<DataOrdering>(walk);
}

Selection select(const std::vector<Items>& axes, const Array& array, UseDataOrdering walk) {
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

Selection select(const Items& items, const Array& array, UseDataOrdering walk) {
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

void requireStored(const Selection& selection, const Array& array) {
    for (const std::uint64_t offset : selection.offsets) {
        if (offset >= array.elements.size()) {
            throw "out_of_range";
        }
    }
}

Array readSlice(const Array& array, const Selection& selection, UseDataOrdering walk) {
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

// Whether the value becomes the only holder of its data.
bool writeSlice(Array& array, const Selection& selection, const Array& values) {
    const auto requireShape = [&] {
        if (!values.isScalar && values.shape != selection.shape) {
            throw "invalid_argument";
        }
    };
    if (array.type == WellKnownType::unknown) {
        if (values.type != WellKnownType::unknown) {
            requireShape();
        }
        return false;
    }
    requireStored(selection, array);
    if (values.shown() > values.elements.size()) {
        throw "out_of_range";
    }
    const auto converted =
        values.type == array.type ? values : convertedArray(values, array.type, ConversionMode::Cast);
    if (!converted) {
        throw "runtime_error";
    }
    requireShape();
    for (std::size_t i = 0; i < selection.offsets.size(); ++i) {
        array.elements[selection.offsets[i]] = converted->elements[values.isScalar ? 0 : i];
    }
    return true;
}

template <class Value>
class SliceCalls {
public:
    explicit SliceCalls(Input input) : input_(input) {}

    void run() {
        while (!input_.atEnd()) {
            call();
        }
        for (const Held& held : values_) {
            check(held);
        }
    }

private:
    struct Held {
        Value value;
        Array array;
        // A writer gets a copy of what the shape shows.
        bool isView = false;
    };

    void call() {
        const std::uint64_t choice = input_.below(12);
        if (values_.empty() || choice < 2) {
            return add(input_.oneIn(16) ? Held() : make(choice == 0 ? Shape{1} : pickShape(input_), choice == 0));
        }
        Held& held = input_.pick(values_);
        switch (choice) {
            case 2:
                return add(Held(held));
            case 3:
                return resolve(held.array);
            case 4:
                return view(held, input_.below(2) == 0);
            case 5:
                return readElement(held);
            case 6:
            case 7:
                return read(held, pickAxes(held.array));
            case 8:
                return read(held, pickItems(held.array.shown()));
            case 9:
                return write(held, pickItems(held.array.shown()));
            default:
                return write(held, pickAxes(held.array));
        }
    }

    Held make(const Shape& shape, bool isScalar) {
        Array array{input_.pick(elementTypes), shape, DataOrdering::RowMajor, {}, false};
        if (!isScalar) {
            array.ordering = static_cast<DataOrdering>(input_.below(2));
        }
        array.elements = pickElements(input_, array.type, array.shown());
        const std::uint64_t spare = isScalar ? 0 : input_.below(4);
        NativeElements native(array.type, array.elements);
        Value value = Internal::dispatchElementType(array.type, [&](auto tag) {
            using T = typename decltype(tag)::type;
            const T* const data = static_cast<const T*>(native.data());
            const std::uint64_t count = array.elements.size();
            // The shape of an adopted vector may grow into its spare room.
            if constexpr (std::is_same_v<Value, ZVariant> && !std::is_same_v<T, bool>) {
                if (spare == 3 && count != 0) {
                    std::vector<T> elements;
                    elements.reserve(2 * count);
                    elements.assign(data, data + count);
                    Value adopted = Value::fromVector(std::move(elements), array.shape, array.ordering);
                    array.shape[0] *= 2;
                    adopted.reshapeNoRealloc(array.shape);
                    return adopted;
                }
            }
            return Value::fromData(data, count, array.shape, array.ordering);
        });
        if (isScalar) {
            value = value.element({0});
            makeScalar(array);
        }
        return {std::move(value), std::move(array)};
    }

    // A bool that is read by itself is true or false, whatever its byte.
    static void makeScalar(Array& array) {
        array.shape = {1};
        array.isScalar = true;
        if (array.type == WellKnownType::bool_) {
            array.elements[0] = bytesOf(array.type, numberOf(array.type, array.elements[0]));
        }
    }

    // The list of positions and of offsets, of any shape.
    void resolve(const Array& array) {
        const std::vector<Items> axes = pickAxes(array);
        const UseDataOrdering walk = pickWalk();
        Selection wanted;
        const char* const kind = failureOf([&] { wanted = select(axes, array, walk); });
        require(isSameKind(kind, failureOf([&] {
                               const Internal::SliceFlattener flat(setsOf(axes), array.shape, array.ordering, walk);
                               require(flat.offsets == wanted.offsets && flat.sliceDimensions == wanted.shape);
                           })));
        const std::uint64_t length = 1 + input_.below(1000);
        const Items items = pickItems(length);
        Shape positions;
        const char* const failure = failureOf([&] { positions = positionsOf(items, length); });
        require(isSameKind(failure, failureOf([&] {
                               const IndexSet set = setOf(items);
                               require(set.sortedIndices(length) == positions);
                               const auto unique = set.uniqueIndices(length);
                               require(std::equal(unique.begin(), unique.end(), positions.begin(), positions.end()));
                           })));
        if (array.shown() != 0) {
            const std::uint64_t offset = input_.below(array.shown());
            Shape indices;
            ArrayIndexing::CalculateIndicesRowMajor(indices, offset, array.shape, true);
            require(offsetOf(indices, array.shape, DataOrdering::RowMajor) == offset);
            require(ArrayIndexing::calculateOffsetRowMajor(indices, array.shape, true) == offset);
            require(ArrayIndexing::calculateOffsetColumnMajor(indices, array.shape, true) ==
                    offsetOf(indices, array.shape, DataOrdering::ColumnMajor));
            ArrayIndexing::CalculateIndicesColumnMajor(indices, offset, array.shape, true);
            require(offsetOf(indices, array.shape, DataOrdering::ColumnMajor) == offset);
        }
    }

    void view(const Held& held, bool asComplex) {
        Held viewed;
        const char* const kind = failureOf([&] {
            const Array& array = held.array;
            if (array.type != WellKnownType::unknown && !array.type.isNumeric()) {
                throw "runtime_error";
            }
            const bool isDone = array.type != WellKnownType::unknown && array.type.isComplex() == asComplex;
            viewed.array = array;
            viewed.isView = isDone ? held.isView : true;
            if (!isDone) {
                viewed.array.shape = shapeOfView(array.shape, array.ordering, asComplex);
                viewed.array.type = asComplex ? array.type.complexType() : array.type.componentType();
                viewed.array.elements = viewedElements(array.elements, asComplex);
                viewed.array.isScalar = false;
            }
        });
        require(isSameKind(
            kind, failureOf([&] { viewed.value = asComplex ? held.value.asComplex() : held.value.asReal(); })));
        if (kind == nullptr) {
            add(std::move(viewed));
        }
    }

    void readElement(const Held& held) {
        Shape indices;
        for (const std::uint64_t length : held.array.shape) {
            indices.push_back(input_.oneIn(8) ? input_.word<std::uint64_t>() : input_.below(length + 1));
        }
        if (input_.oneIn(8)) {
            indices.push_back(0);
        }
        std::vector<Items> axes;
        for (const std::uint64_t index : indices) {
            axes.push_back({{index, false, false, 0, false, 1}});
        }
        Held element;
        const char* const kind = failureOf([&] {
            const Selection selection = select(axes, held.array, UseDataOrdering::WalkRowMajor);
            if (held.array.type == WellKnownType::unknown) {
                throw "invalid_argument";
            } else if (indices.empty()) {
                throw "out_of_range";
            }
            element.array = readSlice(held.array, selection, UseDataOrdering::WalkRowMajor);
            makeScalar(element.array);
        });
        require(isSameKind(kind, failureOf([&] { element.value = held.value.element(indices); })));
        if (kind == nullptr) {
            check(element);
        }
    }

    template <class Picked>
    void read(const Held& held, const Picked& picked) {
        const UseDataOrdering walk = pickWalk();
        Held slice;
        const char* const kind =
            failureOf([&] { slice.array = readSlice(held.array, select(picked, held.array, walk), walk); });
        require(isSameKind(kind, failureOf([&] {
                               if constexpr (std::is_same_v<Picked, Items>) {
                                   slice.value = held.value.flatSlice(setOf(picked), walk);
                               } else {
                                   slice.value = held.value.slice(setsOf(picked), walk);
                               }
                           })));
        if (kind == nullptr) {
            add(std::move(slice));
        }
    }

    template <class Picked>
    void write(Held& held, const Picked& picked) {
        constexpr bool isFlat = std::is_same_v<Picked, Items>;
        const UseDataOrdering walk = pickWalk();
        Held values = input_.pick(values_);
        if (input_.below(2) == 0) {
            // An array that fits.
            Selection selection;
            (void)failureOf([&] { selection = select(picked, held.array, UseDataOrdering::WalkRowMajor); });
            values = make(selection.shape, false);
        }
        Array written = held.array;
        bool isUnique = false;
        const char* const kind = failureOf([&] {
            // Elements of equal indices stand in the same order then.
            const auto walkOfValues = static_cast<UseDataOrdering>(values.array.ordering);
            isUnique = writeSlice(written, select(picked, written, isFlat ? walk : walkOfValues), values.array);
        });
        require(isSameKind(kind, failureOf([&] {
                               if constexpr (isFlat) {
                                   held.value.assignFlatSlice(setOf(picked), values.value, walk);
                               } else {
                                   held.value.assignSlice(setsOf(picked), values.value);
                               }
                           })));
        if (isUnique) {
            held.array = std::move(written);
            if (held.isView) {
                held.array.elements.resize(held.array.shown(), bytesOf(held.array.type, {}));
                held.isView = false;
            }
        }
        check(held);
    }

    void check(const Held& held) {
        const Array& array = held.array;
        const Value& value = held.value;
        require(value.wellKnownDataType() == array.type && value.isScalarStorage() == array.isScalar);
        require(value.dimensions() == ArrayDimensionsView(array.shape) && value.dataOrdering() == array.ordering);
        require(value.numberAllocatedElements() == array.elements.size());
        if (array.shown() == 0) {
            return;
        }
        Internal::dispatchElementType(array.type, [&](auto tag) {
            using T = typename decltype(tag)::type;
            const std::uint64_t count = std::min<std::uint64_t>(array.shown(), array.elements.size());
            require(storesAll(value.template data<T>(), array, count));
        });
    }

    void add(Held held) {
        check(held);
        if (values_.size() < 8) {
            values_.push_back(std::move(held));
        } else {
            values_[input_.below(values_.size())] = std::move(held);
        }
    }

    UseDataOrdering pickWalk() { return static_cast<UseDataOrdering>(input_.oneIn(32) ? 3 : input_.below(3)); }

    std::vector<Items> pickAxes(const Array& array) {
        std::vector<Items> axes;
        for (const std::uint64_t length : array.shape) {
            axes.push_back(pickItems(length));
        }
        if (input_.oneIn(32)) {
            axes.emplace_back();
        }
        return axes;
    }

    // Mostly valid for the length.
    Items pickItems(std::uint64_t length) {
        static const Item whole{0, false, true, 0, true, 1};
        const auto index = [&] {
            return input_.oneIn(64) ? input_.word<std::uint64_t>() : input_.below(length + (length == 0));
        };
        Items items;
        for (std::uint64_t count = input_.below(6) % 4; count != 0 && (length != 0 || input_.oneIn(16)); --count) {
            if (input_.below(3) == 0) {
                items.push_back(whole);
                continue;
            }
            const std::uint64_t kind = input_.below(8);
            const std::uint64_t step = input_.oneIn(32) ? input_.word<std::uint64_t>() : 1 + input_.below(4);
            items.push_back({index(), kind % 2 == 0, kind / 2 % 2 == 0, index(), kind / 4 == 0, step});
        }
        return items;
    }

    Input input_;
    std::vector<Held> values_;
};

}  // namespace
}  // namespace Quorvane::Pyx

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace Quorvane::Pyx;
    Input input(bytes, size);
    if (input.below(2) == 0) {
        SliceCalls<ZVariant>(input).run();
    } else {
        SliceCalls<ZVariantAbi>(input).run();
    }
    return 0;
}
