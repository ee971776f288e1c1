// The values that random operations work on, each with its object in the model: how they are made, called and checked.
#pragma once

#include "failing_memory.h"
#include "object_model.h"
#include "random_operations.h"

#include <pyx/abi/c_api.h>
#include <pyx/abi/rethrowAbiError.h>
#include <pyx/pyx.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {

// What a client's storage raises when it is asked for another shape, and its kind.
inline const std::pair<const char*, void (*)()> clientFailures[] = {
    {nullptr, [] {}},
    {"bad_alloc", [] { throw std::bad_alloc(); }},
    {"out_of_range", [] { throw std::out_of_range("client"); }},
    {"invalid_argument", [] { throw std::invalid_argument("client"); }},
    {"runtime_error", [] { throw std::runtime_error("client"); }},
    {"length_error", [] { throw std::length_error("client"); }},
    {"exception", [] { throw std::logic_error("client"); }}};

struct Client {
    explicit Client(const Array& array) : storage(array) {
        storage.asked = [this](const std::string& operation) {
            if (operation == "reshapeNoRealloc") {
                clientFailures[failure].second();
            }
        };
    }

    ClientStorage storage;
    std::weak_ptr<Object> object;
    std::size_t failure = 0;
    bool isDetached = false;
};

// Of one value type.
template <class Value>
class ValuePool {
protected:
    static constexpr bool isAbi = std::is_same_v<Value, ZVariantAbi>;

public:
    struct Held {
        Held() : object(makeObject({})) {}
        Held(Value heldValue, Owned heldObject) : value(std::move(heldValue)), object(std::move(heldObject)) {}
        Held(const Held& other) : value(other.value), object(sharedObject(other.object)) {}
        Held(Held&&) = default;
        Held& operator=(Held&&) = default;

        Value value;
        Owned object;
    };

    ValuePool(Input input, Calls calls) : input_(input), calls_(calls) {}

    // On another thread: with copies of what is held there.
    ValuePool(Input input, const ValuePool& shared) : input_(input), calls_(Calls::plain), isShared_(true) {
        for (const Held& held : shared.pool_) {
            Held& copy = pool_.emplace_back(held.value, std::make_shared<Object>(*held.object));
            copy.object->isShared = !copy.object->isInline;
        }
    }

    void checkAll() const {
        for (const Held& held : pool_) {
            check(held);
        }
    }

    void end() {
        pool_.clear();
        for (const auto& client : clients_) {
            require((client->storage.destroyed == 1) != client->isDetached);
        }
    }

protected:
    // Calls the library, which is to fail with this kind, or to pass where it is null. When memory runs out, the
    // operands are as before and nothing is left.
    template <class Call>
    void perform(const char* kind, std::initializer_list<const Held*> operands, Call libraryCall) {
        const char* outcome = nullptr;
        bool isRepeated = calls_ == Calls::withFailingMemory;
        const auto failure =
            isRepeated && input_.below(2) == 0 ? FailingMemory::Failure::once : FailingMemory::Failure::fromThenOn;
        for (long passing = 0; passing == 0 || isRepeated; ++passing) {
            const long alive = FailingMemory::counts.alive;
            if (isRepeated) {
                FailingMemory::failAfter(passing, failure);
            }
            outcome = failureOf(libraryCall);
            FailingMemory::stopFailing();
            isRepeated = isRepeated && FailingMemory::counts.hasFailed && isSameKind(outcome, "bad_alloc");
            if (isRepeated) {
                require(FailingMemory::counts.alive == alive);
                for (const Held* const operand : operands) {
                    check(*operand);
                }
            }
        }
        // Other classes cross the boundary as a std::runtime_error.
        const bool isOther = isAbi && isSameKind(kind, "exception");
        requireKind(outcome, isOther ? "runtime_error" : kind);
    }

    static void requireKind(const char* outcome, const char* kind) {
        if (!isSameKind(outcome, kind)) {
            std::fprintf(stderr, "%s instead of %s\n", outcome == nullptr ? "passed" : outcome,
                         kind == nullptr ? "passing" : kind);
            require(false);
        }
    }

    // The first element as it stands in memory.
    static const void* storedData(const Value& value) {
        if constexpr (isAbi) {
            return callFlat(ZVariantData_C_API_constStoredData, value.handle());
        } else {
            return Internal::dispatchElementType(value.wellKnownDataType(), [&](auto tag) -> const void* {
                return value.template data<typename decltype(tag)::type>();
            });
        }
    }

    static bool haveSameData(const Held& left, const Held& right) {
        return ZVariantAbi(left.value).handle() == ZVariantAbi(right.value).handle();
    }

    // Everything that a value can be asked.
    static void check(const Held& held) {
        const Array array = held.object->read();
        const Value& value = held.value;
        require(value.wellKnownDataType() == array.type && value.isNull() == held.object->isNull());
        require(value.isScalarStorage() == array.isScalar && value.dataOrdering() == array.ordering);
        require(value.dimensions() == ArrayDimensionsView(array.shape));
        require(value.numberAllocatedElements() == array.elements.size() && value.elementCount() == array.shown());
        if (array.shown() != 0) {
            require(storesAll(storedData(value), array, array.elements.size()));
        }
    }

    void add(Held held) {
        if (!held.object->isReadable()) {
            return;
        }
        check(held);
        // Halving a length that wraps promises more than any memory holds.
        if (held.object->read().shown() >> 40 != 0) {
            return;
        }
        if (pool_.size() < 10) {
            pool_.push_back(std::move(held));
        } else {
            input_.pick(pool_) = std::move(held);
        }
    }

    // A result of one operand, which is the same object where the model says so.
    void addResult(const Held& operand, Value result, Owned wanted) {
        Held made(std::move(result), std::move(wanted));
        if (made.object->isReadable() && !made.object->isNull() && !made.object->isInline &&
            !operand.object->isInline) {
            require(haveSameData(made, operand) == (made.object == operand.object));
        }
        add(std::move(made));
    }

    void make() {
        const std::uint64_t choice = input_.below(7);
        if (choice == 0) {
            return add(Held());
        }
        const bool isScalar = choice == 1;
        // Only the flat functions take a code that is no element type.
        const WellKnownType type = isAbi ? pickType() : pickElementType();
        Array array{type, isScalar ? Shape{1} : pickShapeOrWorse(), DataOrdering::RowMajor, {}, isScalar};
        array.ordering = isScalar ? array.ordering : pickOrdering();
        const bool isHuge = array.shown() >> 40 != 0;
        const std::uint64_t count = isHuge ? 3 : array.shown() + (!isScalar && input_.oneIn(32) ? 1 : 0);
        if (isElementType(type)) {
            array.elements = pickElements(input_, type, count);
        }
        if (isScalar) {
            return makeScalar(std::move(array));
        } else if (choice == 2 && !isShared_ && isElementType(type) && array.shown() == count) {
            return showClient(array);
        } else if (choice == 3) {
            return allocate(std::move(array));
        }
        makeArray(std::move(array), count, choice == 4);
    }

    // By a flat function, which takes any code, or by the function of the type.
    template <class Flat, class Typed>
    Value makeBy(const char* kind, WellKnownType type, Flat flat, Typed typed) {
        Value made;
        perform(kind, {}, [&] {
            if constexpr (isAbi) {
                made = Value::adopt(flat());
            } else {
                made = Internal::dispatchElementType(type, typed);
            }
        });
        return made;
    }

    void makeScalar(Array array) {
        const char* const kind = failureOf([&] { requireKnownType(array.type); });
        if (!isAbi) {
            array.elements[0] = normalized(array.type, array.elements[0]);
        }
        NativeElements native = nativeElements(array);
        Value made = makeBy(
            kind, array.type,
            [&] { return callFlat(ZVariantData_C_API_constructScalar, native.data(), array.type.code()); },
            [&](auto tag) { return Value(*static_cast<const typename decltype(tag)::type*>(native.data())); });
        if (kind == nullptr) {
            Owned object = makeObject(std::move(array));
            object->isInline = !isAbi;
            add({std::move(made), std::move(object)});
        }
    }

    // Something in memory also where the type is none.
    static NativeElements nativeElements(const Array& array) {
        return {isElementType(array.type) ? array.type : WellKnownType::double_, array.elements};
    }

    // A bool that is read by itself is true or false, whatever its byte.
    static Bytes normalized(WellKnownType type, const Bytes& element) {
        return type == WellKnownType::bool_ ? bytesOf(type, numberOf(type, element)) : element;
    }

    void showClient(const Array& array) {
        clients_.push_back(std::make_unique<Client>(array));
        Client& client = *clients_.back();
        Held shown({}, makeObject(array));
        shown.object->isExternal = true;
        shown.object->storage = &client.storage;
        client.object = shown.object;
        perform(nullptr, {}, [&] { shown.value = Value::fromExternal(client.storage); });
        add(std::move(shown));
    }

    void allocate(Array array) {
        const char* const kind = failureOf([&] {
            requireKnownType(array.type);
            requireMemory(array.shown());
        });
        const auto ordering = static_cast<std::uint32_t>(array.ordering);
        Value made = makeBy(
            kind, array.type,
            [&] {
                return callFlat(ZVariantData_C_API_createWithAllocatedArray, array.type.code(), dimensions(array.shape),
                                ordering);
            },
            [&](auto tag) {
                return Value::template allocate<typename decltype(tag)::type>(array.shape, array.ordering);
            });
        if (kind != nullptr) {
            return;
        }
        array.elements.resize(array.shown(), bytesOf(array.type, {}));
        // Numbers are not written yet.
        void* const stored = mutableData(made);
        for (std::uint64_t i = 0; i < array.shown(); ++i) {
            Pyx::writeElement(array.type, stored, i, array.elements[i]);
        }
        add({std::move(made), makeObject(std::move(array))});
    }

    // Of data with any elements, or of a vector that is adopted or not.
    void makeArray(Array array, std::uint64_t count, bool fromVector) {
        const bool isAdopted = fromVector && !isAbi && array.type != WellKnownType::bool_;
        const Shape shape = array.shape;
        const char* const kind = failureOf([&] {
            requireKnownType(array.type);
            if (array.shape.empty() || (isAdopted && array.shown() == 0)) {
                array.shape = count == 0 ? array.shape : Shape{count};
            }
            if (array.shown() != count) {
                throw "length_error";
            }
        });
        NativeElements native = nativeElements(array);
        const auto makeTyped = [&](auto tag) {
            using T = typename decltype(tag)::type;
            const T* const elements = static_cast<const T*>(native.data());
            if constexpr (!std::is_same_v<T, bool>) {
                if (fromVector) {
                    std::vector<T> adopted;
                    adopted.reserve(2 * count);
                    adopted.assign(elements, elements + count);
                    return Value::fromVector(std::move(adopted), shape, array.ordering);
                }
            }
            return Value::fromData(elements, count, shape, array.ordering);
        };
        Value made = makeBy(
            kind, array.type,
            [&] {
                return callFlat(ZVariantData_C_API_constructArray, count == 0 ? nullptr : native.data(),
                                array.type.code(), count, dimensions(shape),
                                static_cast<std::uint32_t>(array.ordering));
            },
            makeTyped);
        if (kind == nullptr) {
            Owned object = makeObject(std::move(array));
            if (isAdopted) {
                object->room = 2 * count;
            }
            add({std::move(made), std::move(object)});
        }
    }

    static void* mutableData(Value& value) {
        return Internal::dispatchElementType(value.wellKnownDataType(), [&](auto tag) -> void* {
            return value.template mutableData<typename decltype(tag)::type>();
        });
    }

    static PyxDimensions dimensions(const Shape& shape) { return {shape.data(), shape.size()}; }

    // Often strings, which have most rules.
    WellKnownType pickElementType() { return input_.oneIn(6) ? WellKnownType::string : input_.pick(elementTypes); }

    WellKnownType pickType() {
        return input_.oneIn(32) ? WellKnownType::fromCode(input_.word<std::uint16_t>()) : pickElementType();
    }

    ConversionMode pickMode() {
        return static_cast<ConversionMode>(input_.oneIn(32) ? input_.word<std::uint32_t>() : input_.below(3));
    }

    DataOrdering pickOrdering() {
        return static_cast<DataOrdering>(input_.oneIn(32) ? input_.word<std::uint32_t>() : input_.below(2));
    }

    UseDataOrdering pickWalk() { return static_cast<UseDataOrdering>(input_.oneIn(32) ? 3 : input_.below(3)); }

    // Also shapes whose product no memory holds, or wraps.
    Shape pickShapeOrWorse() {
        static const Shape bad[] = {
            {~0ULL}, {1, ~0ULL}, {1ULL << 63, 2}, {(1ULL << 63) + 1, 2}, {1ULL << 33, 1ULL << 31}};
        return input_.oneIn(32) ? input_.pick(bad) : pickShape(input_);
    }

    std::vector<Items> pickAxes(const Held& held) {
        std::vector<Items> axes;
        for (const std::uint64_t length : held.object->array.shape) {
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
            // A range over a length whose product wraps would not end.
            const bool isEndless = length >> 20 != 0;
            if (input_.below(3) == 0 && !isEndless) {
                items.push_back(whole);
                continue;
            }
            const std::uint64_t kind = input_.below(8) | (isEndless ? 2 : 0);
            const std::uint64_t step = input_.oneIn(32) ? input_.word<std::uint64_t>() : 1 + input_.below(4);
            items.push_back({index(), kind % 2 == 0, kind / 2 % 2 == 0, index(), kind / 4 == 0, step});
        }
        return items;
    }

    Input input_;
    Calls calls_;
    bool isShared_ = false;
    std::vector<std::unique_ptr<Client>> clients_;
    std::vector<Held> pool_;
};

}  // namespace Quorvane::Pyx
