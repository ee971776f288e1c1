// The process-wide registry of codecs.

#include "customtypes/PropertyPathCodec.h"

#include <pyx/customtypes/custom_types.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvane::Pyx {

namespace {

using Internal::CustomTypeCodec;

struct RegisteredCodec : CustomTypeCodec {
    RegisteredCodec(CustomTypeCodec&& codec, std::uint64_t registration)
        : CustomTypeCodec(std::move(codec)), number(registration) {}

    std::uint64_t number;
};

// No two codecs have the same class or the same name.
class CodecRegistry {
public:
    static CodecRegistry& instance() {
        static CodecRegistry registry;
        return registry;
    }

    // The number of the registration.
    std::uint64_t add(CustomTypeCodec&& codec) {
        const std::lock_guard lock(mutex_);
        const bool taken = std::any_of(codecs_.begin(), codecs_.end(), [&](const CustomTypeCodec& present) {
            return *present.typeInfo == *codec.typeInfo || present.typeName == codec.typeName;
        });
        if (taken) {
            throw std::runtime_error("The proposed addition conflicts with a previously registered codec.");
        }
        codecs_.emplace_back(std::move(codec), codecsSoFar_);
        return codecsSoFar_++;
    }

    // Whether there was a codec that `matches`.
    template <class Matches>
    bool remove(Matches matches) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(codecs_.begin(), codecs_.end(), matches);
        if (found == codecs_.end()) {
            return false;
        }
        codecs_.erase(found);
        return true;
    }

    // Calls use(codec) under the lock, with the codec that `matches`.
    template <class Matches, class Use>
    auto useCodec(Matches matches, const char* failure, std::string_view name, Use use) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(codecs_.begin(), codecs_.end(), matches);
        if (found == codecs_.end()) {
            throw std::runtime_error(std::string(failure).append(name));
        }
        return use(*found);
    }

private:
    CodecRegistry() {
        add(buildCustomTypeCodec<PropertyPath>("PropertyPath", Internal::encodePropertyPath,
                                               Internal::decodePropertyPath));
    }

    std::mutex mutex_;
    std::vector<RegisteredCodec> codecs_;
    std::uint64_t codecsSoFar_ = 0;
};

// Made when the library is loaded, so that it outlasts every registration of a client, also one in a static object that
// was constructed before the first use of the registry.
[[maybe_unused]] const CodecRegistry& registryAtLoad = CodecRegistry::instance();

}  // namespace

namespace Internal {

void registerCustomTypeCodec(CustomTypeCodec&& codec) {
    CodecRegistry::instance().add(std::move(codec));
}

bool unregisterCustomTypeCodec(const std::type_info& type) {
    return CodecRegistry::instance().remove([&](const CustomTypeCodec& codec) { return *codec.typeInfo == type; });
}

std::uint64_t addCustomTypeCodec(CustomTypeCodec&& codec) {
    return CodecRegistry::instance().add(std::move(codec));
}

void removeCustomTypeCodec(std::uint64_t registration) {
    CodecRegistry::instance().remove([=](const RegisteredCodec& codec) { return codec.number == registration; });
}

}  // namespace Internal

EncodedCustomTypeValues encodeCustomType(const ZVariant& value) {
    const std::type_info& type = value.storedTypeInfo();
    return CodecRegistry::instance().useCodec([&](const CustomTypeCodec& codec) { return *codec.typeInfo == type; },
                                              "No codec found to encode type ", type.name(),
                                              [&](const CustomTypeCodec& codec) {
                                                  return EncodedCustomTypeValues{codec.typeName, codec.encoder(value)};
                                              });
}

ZVariant decodeCustomType(const EncodedCustomTypeValues& encoded) {
    return CodecRegistry::instance().useCodec(
        [&](const CustomTypeCodec& codec) { return codec.typeName == encoded.typeName; },
        "No codec found to decode type ", encoded.typeName,
        [&](const CustomTypeCodec& codec) { return codec.decoder(encoded.values); });
}

}  // namespace Quorvane::Pyx
