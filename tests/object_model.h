// Data objects once more: who shares them, what views show of them, and when a writer gets one of its own.
#pragma once

#include "client_storage.h"
#include "value_model.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace Quorvane::Pyx {

struct Object;
// Values and views own an object, so that its use count is the reference count.
using Owned = std::shared_ptr<Object>;

struct Object {
    // Of a view only the shape counts.
    Array array;
    Owned viewed = nullptr;
    bool isComplexView = false;
    // Where a vector was adopted: the number of elements that it has room for.
    std::optional<std::uint64_t> room = std::nullopt;
    bool isExternal = false;
    // While it is attached.
    ClientStorage* storage = nullptr;
    // A scalar in the buffer of a value, which nobody else shares.
    bool isInline = false;
    // Where other threads hold it as well.
    bool isShared = false;

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

inline Owned makeObject(Array array) {
    return std::make_shared<Object>(Object{std::move(array)});
}

// Whether conversion gives something else than the elements that are shown: that of a view converts the data in their
// own shape, with what the view hides, and with what their shape promises.
inline bool convertsMore(const Object& object) {
    if (object.viewed == nullptr) {
        return false;
    }
    const Array data = object.viewed->read();
    return data.shape.empty() || data.promisesMore() || object.read().elements.size() > object.array.shown() ||
           object.array.shape != shapeOfView(data.shape, data.ordering, object.isComplexView) ||
           convertsMore(*object.viewed);
}

// What a copy of the value holds.
inline Owned sharedObject(const Owned& object) {
    return object->isInline ? std::make_shared<Object>(*object) : object;
}

// What a reference on the data holds, which an inline scalar has to be copied for.
inline Owned countedObject(const Owned& object) {
    return object->isInline ? makeObject(object->array) : object;
}

inline bool isUnique(const Owned& object) {
    return object.use_count() == 1 && !object->isShared;
}

inline Owned viewOf(Owned data, bool asComplex) {
    const Array shown = data->read();
    auto view = makeObject({{}, shapeOfView(shown.shape, shown.ordering, asComplex), shown.ordering, {}, false});
    view->viewed = std::move(data);
    view->isComplexView = asComplex;
    return view;
}

// Null where it is refused.
inline Owned convertedObject(const Owned& object, WellKnownType target, ConversionMode mode) {
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

inline Owned reorderedObject(const Owned& object, DataOrdering wanted) {
    if (object->storage != nullptr) {
        throw "runtime_error";
    }
    const Array array = object->read();
    const bool isSame = object->isNull() || array.isScalar || array.ordering == wanted;
    return isSame ? sharedObject(object) : makeObject(reorderedArray(array, wanted));
}

inline void reshapeObject(const Owned& object, const Shape& wanted) {
    const Array array = object->read();
    const std::uint64_t count = ArrayDimensionsView(wanted).elementCount();
    if (object->storage != nullptr) {
        if (count > array.elements.size()) {
            throw "length_error";
        }
    } else if (object->isNull() || array.isScalar) {
        if (wanted != array.shape) {
            throw "invalid_argument";
        }
    } else if (wanted == array.shape) {
        return;
    } else if (!object->isExternal && !isUnique(object)) {
        throw "runtime_error";
    } else {
        const bool growsRank = wanted.size() > array.shape.size();
        const bool canGrowRank = object->viewed != nullptr || object->room;
        if (count > object->room.value_or(array.elements.size()) || (growsRank && !canGrowRank)) {
            throw "length_error";
        }
    }
    object->array.shape = wanted;
}

// What a writer writes to.
inline Owned uniqueObject(const Owned& object) {
    const Array array = object->read();
    if (object->viewed != nullptr) {
        return makeObject(rebuiltArray(array.type, array, array.shape, array.ordering));
    } else if (object->isNull() || isUnique(object)) {
        return object;
    }
    Owned copy = makeObject(array);
    if (object->room) {
        // The copy keeps the room that the shape counts on.
        copy->room = std::max<std::uint64_t>(array.elements.size(), array.shown());
    } else if (object->isExternal) {
        if (array.shape.empty() && !array.elements.empty()) {
            copy->array.shape = {array.elements.size()};
        }
        if (copy->array.shown() != array.elements.size()) {
            throw "length_error";
        }
    }
    return copy;
}

// Null where the object is a null.
inline Owned rebuiltObject(const Object& object, const Owned& source, const Shape& shape, DataOrdering ordering) {
    if (object.isNull()) {
        return nullptr;
    } else if (object.viewed != nullptr) {
        throw "runtime_error";
    }
    return makeObject(rebuiltArray(object.array.type, source == nullptr ? Array() : source->read(), shape, ordering));
}

}  // namespace Quorvane::Pyx
