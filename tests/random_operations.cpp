#include "random_operations.h"

#include "value_pool.h"

#include <pyx/indexing/SliceFlattener.h>

#include <algorithm>
#include <cfenv>
#include <sstream>
#include <thread>

namespace Quorvane::Pyx {
namespace {

template <class Value>
class Operations : public ValuePool<Value> {
    using Pool = ValuePool<Value>;
    using typename Pool::Held;
    using Other = std::conditional_t<Pool::isAbi, ZVariant, ZVariantAbi>;

    using Pool::add, Pool::addResult, Pool::check, Pool::clients_, Pool::dimensions, Pool::input_, Pool::isShared_;
    using Pool::make, Pool::normalized, Pool::perform, Pool::pickAxes, Pool::pickItems, Pool::pickMode;
    using Pool::pickElementType, Pool::pickOrdering, Pool::pickShapeOrWorse, Pool::pickType, Pool::pickWalk,
        Pool::pool_, Pool::requireKind;

public:
    using Pool::Pool;

    void run() {
        while (!input_.atEnd()) {
            call();
            ++runningInput.step;
        }
        this->checkAll();
    }

private:
    void call() {
        // What is rare or strong stands there more than once.
        static constexpr void (Operations::*operations[])(Held&) = {
            &Operations::copy,     &Operations::drop,       &Operations::writeElement,   &Operations::writeElement,
            &Operations::convert,  &Operations::convert,    &Operations::convert,        &Operations::reorder,
            &Operations::reshape,  &Operations::reshape,    &Operations::rebuild,        &Operations::view,
            &Operations::view,     &Operations::compareAny, &Operations::compareItsLike, &Operations::changeValueType,
            &Operations::print,    &Operations::resolve,    &Operations::readElement,    &Operations::readAxes,
            &Operations::readFlat, &Operations::writeAxes,  &Operations::writeAxes,      &Operations::writeFlat};
        if (pool_.empty() || input_.below(5) == 0) {
            make();
        } else if (!isShared_ && input_.oneIn(32)) {
            useClient();
        } else {
            (this->*input_.pick(operations))(input_.pick(pool_));
        }
    }

    void copy(Held& held) { add(Held(held)); }
    void drop(Held& held) { pool_.erase(pool_.begin() + (&held - pool_.data())); }

    void writeElement(Held& held) {
        const Array array = held.object->read();
        if (held.object->isNull()) {
            return;
        }
        const std::uint64_t position = input_.below(array.elements.size() + 1);
        Owned unique;
        const char* const kind = failureOf([&] {
            if (position >= array.shown() || position >= array.elements.size()) {
                throw "out_of_range";
            }
            unique = uniqueObject(held.object);
        });
        const Bytes element = normalized(array.type, pickElement(input_, array.type));
        NativeElements native(array.type, {element});
        perform(kind, {&held}, [&] {
            Internal::dispatchElementType(array.type, [&](auto tag) {
                using T = typename decltype(tag)::type;
                // Copied first: a copy that fails later would leave the value unique.
                T copy(*static_cast<const T*>(native.data()));
                held.value.template mutableElementAt<T>(position) = std::move(copy);
            });
        });
        if (kind == nullptr) {
            unique->array.elements[position] = element;
            held.object = std::move(unique);
            check(held);
        }
    }

    void convert(Held& held) {
        const WellKnownType target = pickType();
        const ConversionMode mode = pickMode();
        Owned wanted;
        const char* const kind = failureOf([&] {
            const bool isSame = held.object->read().type == target;
            wanted = isSame ? sharedObject(held.object) : convertedObject(held.object, target, mode);
        });
        const bool isRefused = kind == nullptr && wanted == nullptr;
        if (isRefused && held.object->leadsToStorage()) {
            return;
        }
        Value result;
        perform(kind, {&held}, [&] { result = held.value.convertTo(target, mode); });
        if (isRefused) {
            require(result.isNull());
        } else if (kind == nullptr) {
            addResult(held, std::move(result), std::move(wanted));
        }
    }

    void reorder(Held& held) {
        const DataOrdering wanted = pickOrdering();
        Owned reordered;
        const char* const kind = failureOf([&] { reordered = reorderedObject(held.object, wanted); });
        Value result;
        perform(kind, {&held}, [&] { result = held.value.reordered(wanted); });
        if (kind == nullptr) {
            addResult(held, std::move(result), std::move(reordered));
        }
    }

    void reshape(Held& held) {
        // Data of a client take another shape also while they are shared.
        if (isShared_ && held.object->isExternal) {
            return;
        }
        Shape shape = held.object->read().shape;
        if (shape.empty() || input_.below(2) == 0) {
            shape = pickShapeOrWorse();
        } else if (held.object->room && input_.below(2) == 0) {
            // Outgrows the elements.
            shape[0] *= 2;
        } else {
            // Hides elements.
            std::uint64_t& length = input_.pick(shape);
            length = input_.below(length + 1);
        }
        const Shape before = held.object->array.shape;
        const char* const kind = failureOf([&] {
            for (const auto& client : clients_) {
                if (&client->storage == held.object->storage && client->failure != 0) {
                    throw clientFailures[client->failure].first;
                }
            }
            reshapeObject(held.object, shape);
        });
        // The model is ahead of the library while memory runs out.
        const Shape after = std::exchange(held.object->array.shape, before);
        perform(kind, {&held}, [&] { held.value.reshapeNoRealloc(shape); });
        held.object->array.shape = after;
        check(held);
    }

    void rebuild(Held& held) {
        const Held& from = input_.pick(pool_);
        const bool hasSource = !input_.oneIn(8);
        const Shape shape = pickShapeOrWorse();
        const DataOrdering ordering = pickOrdering();
        const std::uint64_t count = hasSource ? from.object->read().elements.size() : 0;
        if (held.object->isExternal && count > ArrayDimensionsView(shape).elementCount()) {
            // The process would end.
            return;
        }
        Owned wanted;
        const char* const kind = failureOf(
            [&] { wanted = rebuiltObject(*held.object, hasSource ? from.object : nullptr, shape, ordering); });
        Value result;
        perform(kind, {&held, &from}, [&] {
            const ZVariantAbi data(held.value);
            ZVariantAbi source(from.value);
            PyxVariantData* const made =
                callFlat(ZVariantData_C_API_reshapeToZVariant, data.handle(), hasSource ? source.handle() : nullptr,
                         dimensions(shape), static_cast<std::uint32_t>(ordering));
            if (hasSource) {
                // The call has consumed the reference.
                (void)std::move(source).release();
            }
            result = Value(ZVariantAbi::adopt(made));
        });
        if (wanted != nullptr) {
            add({std::move(result), std::move(wanted)});
        } else {
            require(kind != nullptr || result.isNull());
        }
    }

    void view(Held& held) {
        const bool asComplex = input_.below(2) == 0;
        Owned wanted;
        const char* const kind = failureOf([&] {
            const Array array = held.object->read();
            if (!held.object->isNull() && !array.type.isNumeric()) {
                throw "runtime_error";
            }
            const bool isDone = !held.object->isNull() && array.type.isComplex() == asComplex;
            wanted = isDone ? sharedObject(held.object) : viewOf(countedObject(held.object), asComplex);
        });
        Value result;
        perform(kind, {&held}, [&] { result = asComplex ? held.value.asComplex() : held.value.asReal(); });
        if (kind == nullptr) {
            addResult(held, std::move(result), std::move(wanted));
        }
    }

    // The client's side of a storage.
    void useClient() {
        if (clients_.empty()) {
            return;
        }
        Client& client = *input_.pick(clients_);
        const Owned object = client.object.lock();
        if (object == nullptr) {
            return;
        }
        Array& array = object->array;
        switch (input_.below(3)) {
            case 0:
                client.failure = input_.below(std::size(clientFailures));
                break;
            case 1:
                perform(nullptr, {}, [&] { client.storage.detachCallback(); });
                array = convertedArray(array, array.type, ConversionMode::Cast).value();
                object->storage = nullptr;
                client.isDetached = true;
                break;
            default:
                if (!client.isDetached && !array.elements.empty()) {
                    const std::uint64_t i = input_.below(array.elements.size());
                    array.elements[i] = pickElement(input_, array.type);
                    Pyx::writeElement(array.type, client.storage.mutableStoredData(), i, array.elements[i]);
                }
                break;
        }
    }

    // With what may well be equal.
    void compareItsLike(Held& held) {
        const WellKnownType target = pickType();
        const Array array = held.object->read();
        if (held.object->leadsToStorage() || array.type == target || !isElementType(target) ||
            held.object->viewed != nullptr) {
            return compare(held, held);
        }
        const Owned like = convertedObject(held.object, target, ConversionMode::Cast);
        if (like == nullptr) {
            return;
        }
        Value value = held.value.convertTo(target);
        if (input_.below(2) == 0) {
            return compare(held, Held(std::move(value), like));
        }
        const DataOrdering ordering = pickOrdering();
        Owned reordered = reorderedObject(like, ordering);
        compare(held, Held(value.reordered(ordering), std::move(reordered)));
    }

    void compareAny(Held& held) { compare(held, input_.pick(pool_)); }

    void compare(const Held& left, const Held& right) {
        const ConversionMode mode = pickMode();
        const Array one = left.object->read();
        const Array other = right.object->read();
        bool isIdentical = false;
        perform(nullptr, {&left, &right}, [&] { isIdentical = left.value == Other(right.value); });
        require(isIdentical == areIdentical(one, other) && isIdentical == (left.value == right.value));
        const bool isKnownMode = mode <= ConversionMode::CastOrText;
        if (!isKnownMode && (left.object->leadsToStorage() || right.object->leadsToStorage())) {
            return;
        }
        if (one.type != other.type && (convertsMore(*left.object) || convertsMore(*right.object))) {
            return;
        }
        // An attached storage cannot be reordered.
        const auto isLong = [](std::uint64_t length) { return length >= 2; };
        const bool isReordered = one.shown() >= 2 && one.shape == other.shape && one.type == other.type &&
                                 one.ordering != other.ordering &&
                                 std::count_if(one.shape.begin(), one.shape.end(), isLong) >= 2;
        const bool fails = isReordered && right.object->storage != nullptr;
        require(left.value.isEquivalentTo(Other(right.value)) ==
                (!fails && areEquivalent(one, other, ConversionMode::Cast)));
        require(callFlat(ZVariantData_C_API_isEquivalentTo, ZVariantAbi(left.value).handle(),
                         ZVariantAbi(right.value).handle(),
                         static_cast<std::uint32_t>(mode)) == (!fails && areEquivalent(one, other, mode)));
    }

    // To the other value type and back. An inline scalar becomes a counted one.
    void changeValueType(Held& held) {
        Value result;
        perform(nullptr, {&held}, [&] { result = Value(Other(held.value)); });
        Owned wanted = countedObject(held.object);
        addResult(held, std::move(result), std::move(wanted));
    }

    void print(Held& held) {
        const Array array = held.object->read();
        std::string wanted;
        const char* const kind = failureOf([&] { wanted = printedArray(array); });
        // A storage keeps the memory of a refused conversion, and printing converts, so a view may print more than it
        // has.
        if ((kind != nullptr && held.object->leadsToStorage()) || convertsMore(*held.object)) {
            return;
        }
        std::ostringstream out;
        requireKind(failureOf([&] { out << held.value; }), kind);
        require(kind != nullptr || out.str() == wanted);
    }

    // The lists of positions and offsets.
    void resolve(Held& held) {
        const Array array = held.object->read();
        const std::vector<Items> axes = pickAxes(held);
        const UseDataOrdering walk = pickWalk();
        Selection wanted;
        const char* kind = failureOf([&] { wanted = select(axes, array, walk); });
        perform(kind, {}, [&] {
            const Internal::SliceFlattener flat(setsOf(axes), array.shape, array.ordering, walk);
            require(flat.offsets == wanted.offsets && flat.sliceDimensions == wanted.shape);
        });
        const std::uint64_t length = 1 + input_.below(1000);
        const Items items = pickItems(length);
        Shape positions;
        kind = failureOf([&] { positions = positionsOf(items, length); });
        perform(kind, {}, [&] {
            const IndexSet set = setOf(items);
            require(set.sortedIndices(length) == positions);
            const auto unique = set.uniqueIndices(length);
            require(std::equal(unique.begin(), unique.end(), positions.begin(), positions.end()));
        });
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

    void readElement(Held& held) {
        const Array array = held.object->read();
        Shape indices;
        for (const std::uint64_t length : array.shape) {
            indices.push_back(input_.oneIn(8) ? input_.template word<std::uint64_t>() : input_.below(length + 1));
        }
        if (input_.oneIn(8)) {
            indices.push_back(0);
        }
        std::vector<Items> axes;
        for (const std::uint64_t index : indices) {
            axes.push_back({{index, false, false, 0, false, 1}});
        }
        Held element({}, makeObject({array.type, {1}, DataOrdering::RowMajor, {}, true}));
        const char* const kind = failureOf([&] {
            const Selection selection = select(axes, array, UseDataOrdering::WalkRowMajor);
            if (held.object->isNull()) {
                throw "invalid_argument";
            } else if (indices.empty()) {
                throw "out_of_range";
            }
            const Array slice = Pyx::readSlice(array, selection, UseDataOrdering::WalkRowMajor);
            element.object->array.elements = {normalized(array.type, slice.elements[0])};
        });
        element.object->isInline = !Pool::isAbi;
        perform(kind, {&held}, [&] { element.value = held.value.element(indices); });
        if (kind == nullptr) {
            add(std::move(element));
        }
    }

    // Whether a call names the type of the elements, as it may.
    template <class Call>
    void withType(const Held& held, Call libraryCall) {
        if (!held.object->isNull() && input_.below(2) == 0) {
            Internal::dispatchElementType(held.object->read().type, libraryCall);
        } else {
            libraryCall(Internal::ElementTag<void>());
        }
    }

    void readAxes(Held& held) { readSlice(held, pickAxes(held)); }
    void readFlat(Held& held) { readSlice(held, pickItems(held.object->read().shown())); }
    void writeAxes(Held& held) { writeSlice(held, pickAxes(held)); }
    void writeFlat(Held& held) { writeSlice(held, pickItems(held.object->read().shown())); }

    template <class Picked>
    void readSlice(const Held& held, const Picked& picked) {
        const UseDataOrdering walk = pickWalk();
        const Array array = held.object->read();
        Held slice;
        const char* const kind =
            failureOf([&] { slice.object = makeObject(Pyx::readSlice(array, select(picked, array, walk), walk)); });
        withType(held, [&](auto tag) {
            using T = typename decltype(tag)::type;
            this->perform(kind, {&held}, [&] {
                if constexpr (std::is_same_v<Picked, Items>) {
                    slice.value = held.value.template flatSlice<T>(setOf(picked), walk);
                } else {
                    slice.value = held.value.template slice<T>(setsOf(picked), walk);
                }
            });
        });
        if (kind == nullptr) {
            add(std::move(slice));
        }
    }

    // The values of a write, in the element type of what is written.
    static Array convertedValues(const Owned& values, WellKnownType type) {
        Array array = values->read();
        if (array.promisesMore()) {
            throw "out_of_range";
        }
        if (array.type == type) {
            return array;
        }
        const Owned converted = convertedObject(values, type, ConversionMode::Cast);
        if (converted == nullptr || converted->isNull()) {
            throw "runtime_error";
        }
        if (converted->read().type == type) {
            return converted->read();
        }
        // A view converts to a view of its own kind, so its elements are copied first.
        array.elements.resize(array.shown());
        const auto copied = convertedArray(array, type, ConversionMode::Cast);
        return copied ? *copied : throw "runtime_error";
    }

    template <class Picked>
    void writeSlice(Held& held, const Picked& picked) {
        constexpr bool isFlat = std::is_same_v<Picked, Items>;
        const UseDataOrdering walk = pickWalk();
        const Array array = held.object->read();
        const Held values = pickValues(held, picked);
        const Array given = values.object->read();
        // A refused conversion of a storage keeps its memory.
        if (values.object->leadsToStorage() && given.type != array.type) {
            return;
        }
        Owned written;
        std::vector<Bytes> elements;
        const char* const kind = failureOf([&] {
            // Elements of equal indices stand in the same order then.
            const auto walkOfValues = given.ordering == DataOrdering::RowMajor ? UseDataOrdering::WalkRowMajor
                                                                               : UseDataOrdering::WalkColumnMajor;
            const Selection selection = select(picked, array, isFlat ? walk : walkOfValues);
            if (held.object->isNull()) {
                return values.object->isNull() ? void() : requireSliceShape(given, selection);
            }
            requireStored(selection, array);
            const Array converted = convertedValues(values.object, array.type);
            requireSliceShape(converted, selection);
            written = uniqueObject(held.object);
            elements = written->array.elements;
            for (std::size_t i = 0; i < selection.offsets.size(); ++i) {
                elements[selection.offsets[i]] = converted.elements[converted.isScalar ? 0 : i];
            }
        });
        withType(held, [&](auto tag) {
            using T = typename decltype(tag)::type;
            this->perform(kind, {&held, &values}, [&] {
                if constexpr (isFlat) {
                    held.value.template assignFlatSlice<T>(setOf(picked), values.value, walk);
                } else {
                    held.value.template assignSlice<T>(setsOf(picked), values.value);
                }
            });
        });
        if (written != nullptr) {
            written->array.elements = std::move(elements);
            held.object = std::move(written);
        }
        check(held);
    }

    // What is there already, or an array that fits.
    template <class Picked>
    Held pickValues(const Held& held, const Picked& picked) {
        const Array array = held.object->read();
        if (input_.below(2) == 0) {
            return Held(input_.pick(pool_));
        }
        Selection selection;
        (void)failureOf([&] { selection = select(picked, array, UseDataOrdering::WalkRowMajor); });
        const WellKnownType type = input_.below(2) == 0 && isElementType(array.type) ? array.type : pickElementType();
        Array values{type, selection.shape, static_cast<DataOrdering>(input_.below(2)), {}, false};
        values.elements = pickElements(input_, type, values.shown());
        NativeElements native(type, values.elements);
        return Internal::dispatchElementType(type, [&](auto tag) {
            const auto* const elements = static_cast<const typename decltype(tag)::type*>(native.data());
            return Held(Value::fromData(elements, values.shown(), values.shape, values.ordering), makeObject(values));
        });
    }
};

// How many allocations are left behind the operations.
template <class Value>
long allocationsLeft(const Input& input, Calls calls) {
    const long before = FailingMemory::counts.alive;
    {
        Operations<Value> operations(input, calls);
        operations.run();
        operations.end();
    }
    return FailingMemory::counts.alive - before;
}

template <class Value>
void runOn(const Input& input, Calls calls) {
    // What the library keeps for ever it makes only once.
    require(allocationsLeft<Value>(input, calls) == 0 || allocationsLeft<Value>(input, calls) == 0);
}

template <class Value>
void runOnThreads(const std::vector<Input>& inputs) {
    Operations<Value> shared(inputs.front(), Calls::plain);
    shared.run();
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < inputs.size(); ++i) {
        threads.emplace_back([&, i, running = runningInput] {
            runningInput = running;
            Operations<Value> operations(inputs[i], shared);
            operations.run();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    shared.checkAll();
    shared.end();
}

}  // namespace

void runOperations(Input input, Calls calls) {
    // Not downward: what clang++ makes of a cast from unsigned 64 bits to double gives -0.0 for 0 then.
    const int roundingModes[] = {FE_TONEAREST, FE_UPWARD, FE_TOWARDZERO};
    std::fesetround(input.oneIn(4) ? input.pick(roundingModes) : FE_TONEAREST);
    if (input.below(2) == 0) {
        runOn<ZVariant>(input, calls);
    } else {
        runOn<ZVariantAbi>(input, calls);
    }
    std::fesetround(FE_TONEAREST);
}

void runOperationsOnThreads(const std::vector<Input>& inputs) {
    runOnThreads<ZVariant>(inputs);
    runOnThreads<ZVariantAbi>(inputs);
}

}  // namespace Quorvane::Pyx
