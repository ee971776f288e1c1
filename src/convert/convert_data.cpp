#include "convert/convert_data.h"

#include "convert/conversion_matrix.h"
#include "variant/ExternalVariantStorageAdaptor.h"

#include <pyx/types/dispatch.h>
#include <pyx/variant/ElementOperations.h>
#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/VectorVariantData.h>

#include <algorithm>
#include <utility>

namespace Quorvane::Pyx::Internal {

namespace {

// The default element of a type. Borrowed, static.
const void* defaultElement(WellKnownType type) {
    return dispatchElementType(type, [](auto tag) -> const void* {
        static const typename decltype(tag)::type element{};
        return &element;
    });
}

}  // namespace

IVariantData* convertStoredScalar(WellKnownType source, const void* value, WellKnownType target, ConversionMode mode) {
    return dispatchElementType(target, [&](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        T converted{};
        if (!conversionCell<T>(source)(value, &converted, 1, mode)) {
            return nullptr;
        }
        return new ScalarVariantDataRefCounted<T>(std::move(converted));
    });
}

IVariantData* convertStoredArray(const StoredArray& source, WellKnownType target, ConversionMode mode,
                                 RefusedArray refused) {
    return dispatchElementType(target, [&](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        const ConvertCell convert = conversionCell<T>(source.type);
        auto result = VectorVariantData<T>::makeForOverwrite(source.dimensions, source.ordering);
        // A reshape can hide elements of the source, or promise more than it has.
        const std::uint64_t shown = result->numberAllocatedElements();
        const std::uint64_t count = std::min(shown, source.numberAllocatedElements);
        T ignored{};
        // Where the shape promises elements and there is none, the rule looks at a default one in their place.
        const bool isConverted = count == 0 && shown != 0 ? convert(defaultElement(source.type), &ignored, 1, mode)
                                                          : convert(source.elements, result->elements(), count, mode);
        if (!isConverted) {
            if (refused == RefusedArray::kept) {
                (void)result.release();
            }
            return nullptr;
        }
        std::fill(result->elements() + count, result->elements() + shown, T{});
        return result.release();
    });
}

IVariantData* ExternalVariantStorageAdaptor::convertDataTo(WellKnownType target, ConversionMode mode) {
    if (client == nullptr) {
        return snapshot->convertDataTo(target, mode);
    }
    const DataOrdering ordering = client->dataOrdering();
    const ArrayDimensionsView shape = dimensions();
    const void* const elements = client->constStoredData();
    const WellKnownType type = client->wellKnownDataType();
    // An unknown type of the client is told before one of the target, other than with arrays.
    requireElementType(type);
    requireElementType(target);
    // Deliberately keeps for ever what a refused conversion of a client's storage has allocated.
    return convertStoredArray({type, elements, client->numberAllocatedElements(), shape, ordering}, target, mode,
                              RefusedArray::kept);
}

template <class T>
IVariantData* WellKnownElementOperations<T>::convertScalar(const T& value, WellKnownType target, ConversionMode mode) {
    return convertStoredScalar(type, &value, target, mode);
}

template <class T>
IVariantData* WellKnownElementOperations<T>::convertArray(const IVariantData& source, WellKnownType target,
                                                          ConversionMode mode) {
    return convertStoredArray(
        {type, source.constStoredData(), source.numberAllocatedElements(), source.dimensions(), source.dataOrdering()},
        target, mode);
}

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, elementType, portableName)                              \
    template IVariantData* WellKnownElementOperations<elementType>::convertScalar(const elementType&, WellKnownType, \
                                                                                  ConversionMode);                   \
    template IVariantData* WellKnownElementOperations<elementType>::convertArray(const IVariantData&, WellKnownType, \
                                                                                 ConversionMode);
#include <pyx/types/element_types.def>

}  // namespace Quorvane::Pyx::Internal
