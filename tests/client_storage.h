// The one storage of a client that the tests show to the library.
#pragma once

#include "value_model.h"

#include <pyx/variant/ExternalVariantStorageInterface.h>

#include <functional>
#include <stdexcept>

namespace Quorvane::Pyx {

// Holds the elements of an array and answers with what its fields say, which a test may change at any time.
class ClientStorage final : public ExternalVariantStorageInterface {
public:
    explicit ClientStorage(const Array& array)
        : type(array.type),
          shape(array.shape),
          ordering(array.ordering),
          count(array.elements.size()),
          elements(array.type, array.elements),
          first(elements.data()) {}

    std::uint64_t numberAllocatedElements() const override { return asked("numberAllocatedElements"), count; }
    ArrayDimensionsView dimensions() const override { return asked("dimensions"), ArrayDimensionsView(shape); }
    DataOrdering dataOrdering() const override { return asked("dataOrdering"), ordering; }
    WellKnownType wellKnownDataType() const override { return asked("wellKnownDataType"), type; }
    const void* constStoredData() const override { return asked("constStoredData"), first; }
    void* mutableStoredData() override { return asked("mutableStoredData"), first; }
    void adaptorDestroyed() override { ++destroyed; }

    void reshapeNoRealloc(ArrayDimensionsView wanted) override {
        asked("reshapeNoRealloc");
        if (wanted.elementCount() > count) {
            throw std::length_error("client");
        }
        shape = wanted.toVector();
    }

    // Hears of every question before it is answered, and may raise or allocate.
    std::function<void(const char* operation)> asked = [](const char*) {};
    WellKnownType type;
    Shape shape;
    DataOrdering ordering;
    std::uint64_t count;
    // How often an adaptor has gone without being detached.
    int destroyed = 0;

    NativeElements elements;
    // Those elements, unless a test lets it show others.
    void* first;
};

}  // namespace Quorvane::Pyx
