#include "customtypes/PropertyPathCodec.h"

#include "types/interned_keys.h"

#include <pyx/variant/conversion_failure_text.h>
#include <pyx/variant/extractSingleValue.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Quorvane::Pyx::Internal {

namespace {

template <class T>
T requireSingleValue(const ZVariant& value) {
    auto single = extractSingleValue<T>(value);
    if (!single) {
        throw std::runtime_error(conversionFailureText(CtTypeExtractor<ZVariant>::n(), value.wellKnownDataType(),
                                                       value.elementCount(), CtTypeExtractor<StoredElement<T>>::n()));
    }
    return *std::move(single);
}

}  // namespace

PropertyMap encodePropertyPath(const PropertyPath& path) {
    PropertyList segments;
    segments.reserve(path.size());
    for (const PropertyPathSegment& segment : path) {
        segments.append(segment.isName() ? ZVariant(segment.name().toString()) : ZVariant(segment.index()));
    }
    PropertyMap map;
    map.insertOrAssign(pathKey, std::move(segments));
    return map;
}

PropertyPath decodePropertyPath(const PropertyMap& map) {
    PropertyPath path;
    for (const PropertyNode& node : map.at(pathKey).list()) {
        const ZVariant& value = node.value();
        if (value.isElementType<std::string>()) {
            path.append(requireSingleValue<std::string>(value));
        } else {
            path.append(requireSingleValue<std::uint64_t>(value));
        }
    }
    return path;
}

}  // namespace Quorvane::Pyx::Internal
