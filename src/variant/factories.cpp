#include <pyx/variant/factories.h>

#include "variant/InlineScalar.h"

#include <pyx/types/dispatch.h>
#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/StdVectorVariantData.h>
#include <pyx/variant/VectorVariantData.h>
#include <pyx/variant/ZVariantDirectStorage.h>
#include <pyx/variant/inline_scalars.h>

#include <algorithm>
#include <new>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Quorvane::Pyx::Internal {

namespace {

// Element is T, or const T to copy it.
template <class T, class Element>
IVariantData* constructScalar(void* storage, std::uint64_t room, Element&& value) {
    if (room >= sizeof(InlineScalar<T>)) {
        return new (storage) InlineScalar<T>(std::forward<Element>(value));
    }
    return new ScalarVariantDataRefCounted<T>(std::forward<Element>(value));
}

}  // namespace

constinit const std::type_info* const inlineStringClass = &typeid(InlineScalar<std::string>);

template <class T>
IVariantData* constructVariantScalar(void* storage, std::uint64_t room, T value) {
    return constructScalar<T>(storage, room, std::move(value));
}

template <class T>
IVariantData* moveVariantScalar(void* storage, std::uint64_t, T&& value) {
    return new (storage) InlineScalar<T>(std::forward<T>(value));
}

IVariantData* copyConstructVariantScalar(void* storage, std::uint64_t room, const ZVariantDirectStorage& source) {
    return dispatchElementType(source.wellKnownDataType(), [&](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        return constructScalar<T>(storage, room, *static_cast<const T*>(source.constStoredData()));
    });
}

IVariantData* moveConstructVariantScalar(void* storage, std::uint64_t, ZVariantDirectStorage& source) {
    return dispatchElementType(source.wellKnownDataType(), [&](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        T& element = *static_cast<T*>(source.mutableStoredData());
        return new (storage) InlineScalar<T>(std::move(element));
    });
}

template <class T>
IVariantData* constructVariantVectorWithoutDataWithDimsUnresolved(ArrayDimensionsView dimensions,
                                                                  DataOrdering ordering) {
    return VectorVariantData<T>::make(dimensions, ordering).release();
}

IVariantData* constructDefaultScalar(WellKnownType type) {
    return dispatchElementType(type, [](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        return new ScalarVariantDataRefCounted<T>(T{});
    });
}

IVariantData* constructDefaultArray(WellKnownType type, ArrayDimensionsView dimensions, DataOrdering ordering) {
    return dispatchElementType(type, [&](auto tag) -> IVariantData* {
        using T = typename decltype(tag)::type;
        auto defaults = VectorVariantData<T>::make(dimensions, ordering);
        // Elements of other types are made so.
        if constexpr (std::is_arithmetic_v<T>) {
            std::fill_n(defaults->elements(), defaults->numberAllocatedElements(), T{});
        }
        return defaults.release();
    });
}

template <class T>
IVariantData* constructVariantVectorWithDataWithDimsUnresolved(const void* data, std::uint64_t length,
                                                               ArrayDimensionsView dimensions, DataOrdering ordering) {
    return VectorVariantData<T>::makeFromData(static_cast<const T*>(data), length, dimensions, ordering).release();
}

template <class T>
IVariantData* constructVariantDataFromMovedVector(std::vector<T> elements, ArrayDimensionsView dimensions,
                                                  DataOrdering ordering) {
    return new StdVectorVariantData<T>(std::move(elements), dimensions, ordering);
}

#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName)                              \
    template IVariantData* constructVariantScalar<type>(void*, std::uint64_t, type);                          \
    template IVariantData* moveVariantScalar<type>(void*, std::uint64_t, type&&);                             \
    template IVariantData* constructVariantVectorWithoutDataWithDimsUnresolved<type>(ArrayDimensionsView,     \
                                                                                     DataOrdering);           \
    template IVariantData* constructVariantVectorWithDataWithDimsUnresolved<type>(const void*, std::uint64_t, \
                                                                                  ArrayDimensionsView, DataOrdering);
#include <pyx/types/element_types.def>

#define PYXCORE_ADOPTABLE_TYPE(type)                                                                         \
    template IVariantData* constructVariantDataFromMovedVector<type>(std::vector<type>, ArrayDimensionsView, \
                                                                     DataOrdering);
#include <pyx/types/adoptable_types.def>

}  // namespace Quorvane::Pyx::Internal
