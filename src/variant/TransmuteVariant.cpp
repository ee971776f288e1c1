#include "variant/TransmuteVariant.h"

#include <pyx/variant/array_operations.h>
#include <pyx/variant/conversion_failure_text.h>
#include <pyx/variant/factories.h>

#include <new>
#include <typeinfo>

namespace Quorvane::Pyx::Internal {

namespace {

// Plain std::bad_alloc tells the caller that there was no memory for the view. Then alone the reference stays with the
// caller, so memory that runs out after the reference was taken over has another name.
template <class View>
IVariantData* constructView(IVariantData* data) {
    bool isTakenOver = false;
    const auto takeOver = [&] {
        isTakenOver = true;
        return OwnedData<>(data);
    };
    try {
        // Memory for the view is allocated before the argument is made.
        return new View(takeOver());
    } catch (const std::bad_alloc& error) {
        if (!isTakenOver) {
            throw std::bad_alloc();
        }
        if (typeid(error) == typeid(std::bad_alloc)) {
            throw std::bad_array_new_length();
        }
        throw;
    }
}

}  // namespace

IVariantData* constructTransmuteRealToComplexVariant(IVariantData* data) {
    return constructView<TransmuteRealToComplexVariant>(data);
}

IVariantData* constructTransmuteComplexToRealVariant(IVariantData* data) {
    return constructView<TransmuteComplexToRealVariant>(data);
}

std::uint64_t numberReadableElements(const IVariantData& data) {
    if (typeid(data) == typeid(TransmuteRealToComplexVariant)) {
        return static_cast<const TransmuteRealToComplexVariant&>(data).numberReadableElements();
    }
    if (typeid(data) == typeid(TransmuteComplexToRealVariant)) {
        return static_cast<const TransmuteComplexToRealVariant&>(data).numberReadableElements();
    }
    return data.numberAllocatedElements();
}

WellKnownType TransmuteRealToComplexVariant::wellKnownDataType() const {
    const WellKnownType type = data->wellKnownDataType();
    requireNumericView(type);
    return type.complexType();
}

IVariantData* TransmuteRealToComplexVariant::convertDataTo(WellKnownType target, ConversionMode mode) {
    return viewConverted(target.componentType(), mode);
}

WellKnownType TransmuteComplexToRealVariant::wellKnownDataType() const {
    return data->wellKnownDataType().componentType();
}

IVariantData* TransmuteComplexToRealVariant::convertDataTo(WellKnownType target, ConversionMode mode) {
    requireNumericView(target);
    return viewConverted(target.complexType(), mode);
}

}  // namespace Quorvane::Pyx::Internal
