#include "variant/TransmuteVariant.h"

#include <pyx/variant/conversion_failure_text.h>
#include <pyx/variant/factories.h>

namespace Quorvane::Pyx::Internal {

// The object is allocated before the reference is taken over.
IVariantData* constructTransmuteRealToComplexVariant(IVariantData* data) {
    return new TransmuteRealToComplexVariant(OwnedData<>(data));
}

IVariantData* constructTransmuteComplexToRealVariant(IVariantData* data) {
    return new TransmuteComplexToRealVariant(OwnedData<>(data));
}

WellKnownType TransmuteRealToComplexVariant::wellKnownDataType() const {
    const WellKnownType type = data().wellKnownDataType();
    requireNumericView(type);
    return type.complexType();
}

IVariantData* TransmuteRealToComplexVariant::convertDataTo(WellKnownType target, ConversionMode mode) {
    return viewConverted(target.componentType(), mode);
}

WellKnownType TransmuteComplexToRealVariant::wellKnownDataType() const {
    return data().wellKnownDataType().componentType();
}

IVariantData* TransmuteComplexToRealVariant::convertDataTo(WellKnownType target, ConversionMode mode) {
    requireNumericView(target);
    return viewConverted(target.complexType(), mode);
}

}  // namespace Quorvane::Pyx::Internal
