// Calls of all flat functions on a pool of handles, each with a model of its object beside it. What the contract leaves
// to the caller is kept.
#include "value_model.h"

#include <pyx/abi/c_api.h>
#include <pyx/variant/ExternalVariantStorageInterface.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

class Storage;

// A data object. Handles and views own it, so that its use count is the reference count.
struct Object {
    // Of a view only the shape counts.
    Array array;
    std::shared_ptr<Object> viewed = nullptr;
    bool isComplexView = false;
    bool isExternal = false;
    // While it is attached.
    Storage* storage = nullptr;

    bool isNull() const { return viewed == nullptr && array.type == WellKnownType::unknown; }

    // Nothing refuses a view over other elements than its kind reads, but nobody may read what it shows.
    bool isReadable() const {
        if (viewed == nullptr) {
            return true;
        }
        const Array data = viewed->read();
        return data.type.isNumeric() && data.type.isComplex() != isComplexView;
    }

    Array read() const {
        if (viewed == nullptr) {
            return array;
        }
        Array data = viewed->read();
        const WellKnownType type = isComplexView ? data.type.complexType() : data.type.componentType();
        return {type, array.shape, data.ordering, viewedElements(data.elements, isComplexView), false};
    }

    // A refused conversion would keep the memory of its result.
    bool leadsToStorage() const { return storage != nullptr || (viewed != nullptr && viewed->leadsToStorage()); }
};

using Owned = std::shared_ptr<Object>;

Owned makeObject(Array array) {
    return std::make_shared<Object>(Object{std::move(array)});
}

class Storage final : public ExternalVariantStorageInterface {
public:
    explicit Storage(const Array& array)
        : type_(array.type),
          shape_(array.shape),
          ordering_(array.ordering),
          count_(array.elements.size()),
          elements_(array.type, array.elements) {}

    std::uint64_t numberAllocatedElements() const override { return count_; }
    ArrayDimensionsView dimensions() const override { return shape_; }
    DataOrdering dataOrdering() const override { return ordering_; }
    WellKnownType wellKnownDataType() const override { return type_; }
    const void* constStoredData() const override { return elements_.data(); }
    void* mutableStoredData() override { return elements_.data(); }
    void adaptorDestroyed() override { hasNoAdaptor = true; }

    void reshapeNoRealloc(ArrayDimensionsView wanted) override {
        switch (failure) {
            case 1:
                throw std::bad_alloc();
            case 2:
                throw std::out_of_range("");
            case 3:
                throw std::invalid_argument(std::string(300, '%'));
            case 4:
                throw std::runtime_error("client");
            case 5:
                throw std::logic_error("client");
            case 6:
                throw 6;
            default:
                break;
        }
        if (wanted.elementCount() > count_) {
            throw std::length_error("client");
        }
        shape_ = wanted.toVector();
    }

    const char* kindOfFailure() const {
        const char* const kinds[] = {"length_error",  "bad_alloc", "out_of_range", "invalid_argument",
                                     "runtime_error", "exception", "exception"};
        return kinds[failure];
    }

    std::weak_ptr<Object> object;
    std::uint64_t failure = 0;
    bool hasNoAdaptor = false;
    bool isDetached = false;

private:
    WellKnownType type_;
    Shape shape_;
    DataOrdering ordering_;
    std::uint64_t count_;
    mutable NativeElements elements_;
};

// The operations of objects. The same object is returned where the library returns the same handle.

Owned viewOf(Owned data, bool asComplex) {
    const Array shown = data->read();
    auto view = makeObject({{}, shapeOfView(shown.shape, shown.ordering, asComplex), shown.ordering, {}, false});
    view->viewed = std::move(data);
    view->isComplexView = asComplex;
    return view;
}

// Null where it is refused.
Owned convertedObject(const Owned& object, WellKnownType target, ConversionMode mode) {
    if (object->viewed != nullptr) {
        if (!object->isComplexView && !target.isNumeric()) {
            throw "runtime_error";
        }
        const WellKnownType inner = object->isComplexView ? target.componentType() : target.complexType();
        Owned converted = convertedObject(object->viewed, inner, mode);
        return converted == nullptr ? nullptr : viewOf(std::move(converted), object->isComplexView);
    }
    std::optional<Array> converted = convertedArray(object->array, target, mode);
    return converted ? makeObject(*std::move(converted)) : nullptr;
}

Owned reorderedObject(const Owned& object, DataOrdering wanted) {
    if (object->storage != nullptr) {
        throw "runtime_error";
    }
    const Array array = object->read();
    const bool isSame = object->isNull() || array.isScalar || array.ordering == wanted;
    return isSame ? object : makeObject(reorderedArray(array, wanted));
}

void reshapeObject(const Owned& object, const Shape& wanted) {
    const Array array = object->read();
    const std::uint64_t count = ArrayDimensionsView(wanted).elementCount();
    if (object->storage != nullptr) {
        if (object->storage->failure != 0 || count > array.elements.size()) {
            throw object->storage->kindOfFailure();
        }
    } else if (object->isNull() || array.isScalar) {
        if (wanted != array.shape) {
            throw "invalid_argument";
        }
    } else if (wanted == array.shape) {
        return;
    } else if (!object->isExternal && object.use_count() != 1) {
        throw "runtime_error";
    } else if (count > array.elements.size() || (object->viewed == nullptr && wanted.size() > array.shape.size())) {
        throw "length_error";
    }
    object->array.shape = wanted;
}

Owned uniqueObject(const Owned& object) {
    const Array array = object->read();
    if (object->viewed != nullptr) {
        return makeObject(rebuiltArray(array.type, array, array.shape, array.ordering));
    } else if (object->isNull() || object.use_count() == 1) {
        return object;
    }
    Owned copy = makeObject(array);
    if (object->isExternal) {
        if (array.shape.empty() && !array.elements.empty()) {
            copy->array.shape = {array.elements.size()};
        }
        if (copy->array.shown() != array.elements.size()) {
            throw "length_error";
        }
    }
    return copy;
}

Owned rebuiltObject(const Object& object, const Owned& source, const Shape& shape, DataOrdering ordering) {
    if (object.isNull()) {
        return nullptr;
    } else if (object.viewed != nullptr) {
        throw "runtime_error";
    }
    return makeObject(rebuiltArray(object.array.type, source == nullptr ? Array() : source->read(), shape, ordering));
}

class FlatCalls {
public:
    FlatCalls(const std::uint8_t* bytes, std::size_t size) : input_(bytes, size) {}

    void run() {
        while (!input_.atEnd()) {
            call();
        }
        for (const Handle& handle : handles_) {
            check(handle);
        }
        while (!handles_.empty()) {
            destruct(handles_.size() - 1);
        }
        for (const auto& storage : storages_) {
            require(storage->hasNoAdaptor != storage->isDetached);
        }
    }

private:
    struct Handle {
        PyxVariantData* data;
        Owned object;
    };

    void call() {
        const std::uint64_t choice = input_.below(20);
        if (handles_.size() == 12) {
            destruct(0);
        }
        if (handles_.empty() || choice < 6) {
            return make(choice);
        }
        const std::size_t position = input_.below(handles_.size());
        const Handle& handle = handles_[position];
        switch (choice) {
            case 6: {
                PyxVariantData* const copy = ZVariantData_C_API_copy(&record_, handle.data);
                require(copy == handle.data);
                return add({copy, handle.object}, nullptr);
            }
            case 7:
                return input_.oneIn(8) ? ZVariantData_C_API_destruct(&record_, nullptr) : destruct(position);
            case 8:
            case 9:
                return write(position);
            case 10:
            case 11:
                return convert(handle);
            case 12:
                return reorder(position);
            case 13:
                return reshape(handle);
            case 14:
                return rebuild(handle);
            case 15:
            case 16:
                return view(position, choice == 15);
            case 17:
                return useStorage();
            case 18: {
                // With what it may well equal.
                const std::size_t count = handles_.size();
                convert(handle);
                if (handles_.size() > count) {
                    reorder(count);
                }
                return compare(handles_[position], handles_.back());
            }
            default:
                return compare(handle, input_.pick(handles_));
        }
    }

    void make(std::uint64_t choice) {
        if (choice == 0) {
            static const Owned null = makeObject({});
            record_ = {};
            return add({ZVariantData_C_API_constructNull(), null}, nullptr);
        }
        const WellKnownType type = pickType();
        const bool isKnown = isElementType(type);
        Array array{type, pickShapeOrWorse(), pickOrdering(), {}, false};
        const std::uint64_t count = array.shown() >> 40 != 0 ? 3 : array.shown() + (input_.oneIn(32) ? 1 : 0);
        if (isKnown) {
            array.elements = pickElements(input_, type, choice == 1 ? 1 : count);
        }
        NativeElements native(isKnown ? type : WellKnownType::double_, array.elements);
        const auto ordering = static_cast<std::uint32_t>(array.ordering);
        if (choice == 1) {
            array = {type, {1}, DataOrdering::RowMajor, array.elements, true};
            return add({ZVariantData_C_API_constructScalar(&record_, native.data(), type.code()), makeObject(array)},
                       isKnown ? nullptr : "runtime_error");
        } else if (choice == 2 && isKnown && array.shown() == count) {
            storages_.push_back(std::make_unique<Storage>(array));
            Storage& storage = *storages_.back();
            Owned object = makeObject(array);
            object->isExternal = true;
            object->storage = &storage;
            storage.object = object;
            return add({ZVariantData_C_API_createWithExternalStorage(&record_, &storage), std::move(object)}, nullptr);
        } else if (choice == 3) {
            const char* const kind = failureOf([&] {
                requireKnownType(type);
                requireMemory(array.shown());
            });
            PyxVariantData* made =
                ZVariantData_C_API_createWithAllocatedArray(&record_, type.code(), dimensions(array.shape), ordering);
            array.elements.resize(kind != nullptr ? 0 : array.shown(), isKnown ? bytesOf(type, {}) : "");
            if (kind == nullptr) {
                fill(made, array);
            }
            return add({made, makeObject(array)}, kind);
        }
        const Shape shape = array.shape;
        const char* const kind = failureOf([&] {
            requireKnownType(type);
            if (array.shape.empty() && count != 0) {
                array.shape = {count};
            }
            if (array.shown() != count) {
                throw "length_error";
            }
        });
        add({ZVariantData_C_API_constructArray(&record_, count == 0 ? nullptr : native.data(), type.code(), count,
                                               dimensions(shape), ordering),
             makeObject(array)},
            kind);
    }

    // What is allocated is not written yet.
    void fill(PyxVariantData* data, const Array& array) {
        requireKind(nullptr);
        void* stored = nullptr;
        require(ZVariantData_C_API_mutableStoredData(&record_, data, &stored) == data);
        for (std::uint64_t i = 0; i < array.elements.size(); ++i) {
            writeElement(array.type, stored, i, array.elements[i]);
        }
    }

    void destruct(std::size_t position) {
        ZVariantData_C_API_destruct(&record_, handles_[position].data);
        forget(position);
        requireKind(nullptr);
    }

    void write(std::size_t position) {
        Handle& handle = handles_[position];
        Owned unique;
        const char* const kind = failureOf([&] { unique = uniqueObject(handle.object); });
        void* stored = &handle;
        PyxVariantData* const written = ZVariantData_C_API_mutableStoredData(&record_, handle.data, &stored);
        requireKind(kind);
        if (kind != nullptr) {
            require(written == nullptr && stored == &handle);
            return check(handle);
        }
        require((written == handle.data) == (unique == handle.object));
        handle = {written, unique};
        Array& array = unique->array;
        require(!unique->isNull() || stored == nullptr);
        if (!array.elements.empty()) {
            const std::uint64_t i = input_.below(array.elements.size());
            array.elements[i] = pickElement(input_, array.type);
            writeElement(array.type, stored, i, array.elements[i]);
        }
        check(handle);
    }

    void convert(const Handle& handle) {
        const WellKnownType target = pickType();
        const ConversionMode mode = pickMode();
        Owned wanted;
        const char* const kind = failureOf([&] {
            const bool isSame = handle.object->read().type == target;
            wanted = isSame ? handle.object : convertedObject(handle.object, target, mode);
        });
        if (kind == nullptr && wanted == nullptr && handle.object->leadsToStorage()) {
            return;
        }
        PyxVariantData* const result =
            ZVariantData_C_API_convertDataTo(&record_, handle.data, target.code(), static_cast<std::uint32_t>(mode));
        if (kind == nullptr && wanted == nullptr) {
            requireKind(nullptr);
            return require(result == nullptr);
        }
        require(kind != nullptr || (result == handle.data) == (wanted == handle.object));
        add({result, std::move(wanted)}, kind);
    }

    void reorder(std::size_t position) {
        const Handle handle = handles_[position];
        const DataOrdering wanted = pickOrdering();
        Owned reordered;
        const char* const kind = failureOf([&] { reordered = reorderedObject(handle.object, wanted); });
        PyxVariantData* const result =
            ZVariantData_C_API_reorderData(&record_, handle.data, static_cast<std::uint32_t>(wanted));
        require(kind != nullptr || (result == handle.data) == (reordered == handle.object));
        if (kind == nullptr) {
            forget(position);
        }
        add({result, std::move(reordered)}, kind);
    }

    void reshape(const Handle& handle) {
        Shape shape = handle.object->read().shape;
        if (shape.empty() || input_.below(2) == 0) {
            shape = pickShapeOrWorse();
        } else {
            // Hides elements.
            std::uint64_t& length = input_.pick(shape);
            length = input_.below(length + 1);
        }
        const char* const kind = failureOf([&] { reshapeObject(handle.object, shape); });
        ZVariantData_C_API_reshapeNoRealloc(&record_, handle.data, dimensions(shape));
        requireKind(kind);
        check(handle);
    }

    void rebuild(const Handle& handle) {
        const bool hasSource = !input_.oneIn(8);
        const std::size_t position = input_.below(handles_.size());
        const Handle source = hasSource ? handles_[position] : Handle{nullptr, nullptr};
        const Shape shape = pickShapeOrWorse();
        const DataOrdering ordering = pickOrdering();
        // The process would end.
        if (handle.object->isExternal && hasSource &&
            source.object->read().elements.size() > ArrayDimensionsView(shape).elementCount()) {
            return;
        }
        Owned wanted;
        const char* const kind =
            failureOf([&] { wanted = rebuiltObject(*handle.object, source.object, shape, ordering); });
        PyxVariantData* const result = ZVariantData_C_API_reshapeToZVariant(
            &record_, handle.data, source.data, dimensions(shape), static_cast<std::uint32_t>(ordering));
        requireKind(kind);
        if (kind == nullptr && hasSource) {
            forget(position);
        }
        if (wanted != nullptr) {
            return add({result, std::move(wanted)}, nullptr);
        }
        require(result == nullptr);
    }

    void view(std::size_t position, bool asComplex) {
        Handle handle = std::move(handles_[position]);
        forget(position);
        Owned wanted;
        const char* const kind = failureOf([&] { wanted = viewOf(std::move(handle.object), asComplex); });
        PyxVariantData* const result =
            asComplex ? ZVariantData_C_API_constructTransmuteRealToComplexVariant(&record_, handle.data)
                      : ZVariantData_C_API_constructTransmuteComplexToRealVariant(&record_, handle.data);
        add({result, std::move(wanted)}, kind);
    }

    void compare(const Handle& left, const Handle& right) {
        const ConversionMode mode = pickMode();
        const Array one = left.object->read();
        const Array other = right.object->read();
        require(ZVariantData_C_API_isIdenticalTo(&record_, left.data, right.data) == areIdentical(one, other));
        requireKind(nullptr);
        const bool isKnownMode = mode <= ConversionMode::CastOrText;
        if (!isKnownMode && (left.object->leadsToStorage() || right.object->leadsToStorage())) {
            return;
        }
        // A view converts to a view, which reorders what it hides as well. The model's conversion hides nothing.
        const auto hidesElements = [](const Handle& handle, const Array& array) {
            return handle.object->viewed != nullptr && array.elements.size() > array.shown();
        };
        if (one.type != other.type && (hidesElements(left, one) || hidesElements(right, other))) {
            return;
        }
        // An attached storage cannot be reordered.
        const auto isLong = [](std::uint64_t length) { return length >= 2; };
        const bool isReordered = one.shown() >= 2 && one.shape == other.shape && one.type == other.type &&
                                 one.ordering != other.ordering &&
                                 std::count_if(one.shape.begin(), one.shape.end(), isLong) >= 2;
        const bool fails = isReordered && right.object->storage != nullptr;
        require(ZVariantData_C_API_isEquivalentTo(&record_, left.data, right.data, static_cast<std::uint32_t>(mode)) ==
                (!fails && areEquivalent(one, other, mode)));
        requireKind(nullptr);
    }

    // The client's side of a storage.
    void useStorage() {
        if (storages_.empty()) {
            return;
        }
        Storage& storage = *input_.pick(storages_);
        const Owned object = storage.object.lock();
        if (object == nullptr) {
            return;
        }
        Array& array = object->array;
        switch (input_.below(3)) {
            case 0:
                storage.failure = input_.below(7);
                break;
            case 1:
                storage.detachCallback();
                array = convertedArray(array, array.type, ConversionMode::Cast).value();
                object->storage = nullptr;
                storage.isDetached = true;
                break;
            default:
                if (!storage.isDetached && !array.elements.empty()) {
                    const std::uint64_t i = input_.below(array.elements.size());
                    array.elements[i] = pickElement(input_, array.type);
                    writeElement(array.type, storage.mutableStoredData(), i, array.elements[i]);
                }
                break;
        }
    }

    // Everything that a handle can be asked.
    void check(const Handle& handle) {
        const Array array = handle.object->read();
        require(ZVariantData_C_API_wellKnownDataType(&record_, handle.data) == array.type.code());
        requireKind(nullptr);
        require(ZVariantData_C_API_isScalarStorage(&record_, handle.data) == array.isScalar);
        require(ZVariantData_C_API_numberAllocatedElements(&record_, handle.data) == array.elements.size());
        require(ZVariantData_C_API_dataOrdering(&record_, handle.data) == static_cast<std::uint32_t>(array.ordering));
        const PyxDimensions shape = ZVariantData_C_API_dimensions(&record_, handle.data);
        require(ArrayDimensionsView(shape.lengths, shape.count) == ArrayDimensionsView(array.shape));
        const void* const stored = ZVariantData_C_API_constStoredData(&record_, handle.data);
        require(storesAll(stored, array, array.elements.size()));
        requireKind(nullptr);
    }

    // A result that was told to fail, or to be of the object.
    void add(Handle handle, const char* kind) {
        requireKind(kind);
        if (kind != nullptr) {
            return require(handle.data == nullptr);
        }
        require(handle.data != nullptr);
        handles_.push_back(std::move(handle));
        const Object& object = *handles_.back().object;
        const bool isReadable = object.isReadable();
        if (isReadable) {
            check(handles_.back());
        } else {
            (void)ZVariantData_C_API_wellKnownDataType(&record_, handles_.back().data);
            const bool isNumeric = object.viewed->isReadable() && object.viewed->read().type.isNumeric();
            requireKind(object.isComplexView && !isNumeric ? "runtime_error" : nullptr);
        }
        // Halving a length that wraps promises more than any memory holds.
        if (!isReadable || object.read().shown() >> 40 != 0) {
            destruct(handles_.size() - 1);
        }
    }

    void forget(std::size_t position) { handles_.erase(handles_.begin() + static_cast<std::ptrdiff_t>(position)); }

    void requireKind(const char* kind) {
        if (!isSameKind(record_.kind, kind)) {
            std::fprintf(stderr, "%s: %s\n", record_.kind == nullptr ? "passed" : record_.kind, record_.message);
            require(false);
        }
    }

    static PyxDimensions dimensions(const Shape& shape) { return {shape.data(), shape.size()}; }

    WellKnownType pickType() {
        return input_.oneIn(32) ? WellKnownType::fromCode(input_.word<std::uint16_t>()) : input_.pick(elementTypes);
    }

    ConversionMode pickMode() {
        return static_cast<ConversionMode>(input_.oneIn(32) ? input_.word<std::uint32_t>() : input_.below(4));
    }

    DataOrdering pickOrdering() {
        return static_cast<DataOrdering>(input_.oneIn(32) ? input_.word<std::uint32_t>() : input_.below(2));
    }

    // Also shapes whose product no memory holds, or wraps.
    Shape pickShapeOrWorse() {
        static const Shape bad[] = {
            {~0ULL}, {1, ~0ULL}, {1ULL << 63, 2}, {(1ULL << 63) + 1, 2}, {1ULL << 33, 1ULL << 31}};
        return input_.oneIn(32) ? input_.pick(bad) : pickShape(input_);
    }

    Input input_;
    AbiErrorRecord record_{};
    std::vector<std::unique_ptr<Storage>> storages_;
    std::vector<Handle> handles_;
};

}  // namespace
}  // namespace Quorvane::Pyx

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Quorvane::Pyx::FlatCalls(bytes, size).run();
    return 0;
}
