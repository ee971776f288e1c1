// A module of a client, with static objects of every kind that need the library when they are made and when they end.
#include <pyx/pyx.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

using namespace Quorvane::Pyx;

namespace {

const InternedString earlyKey("a key that the module interns when it is loaded");

struct Reading {
    double value = 0;
    friend bool operator==(const Reading& left, const Reading& right) { return left.value == right.value; }
};

const CustomTypeRegistration<Reading> registration(
    "Reading",
    [](const Reading& reading) {
        return PropertyMap{{earlyKey, reading.value}};
    },
    [](const PropertyMap& map) { return Reading{map.at(earlyKey).value().as<double>()}; });

const std::string longText = "a text that needs a buffer of its own";

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Values and trees, which are still used when they end.
struct Holder {
    ZVariant null;
    ZVariant text = longText;
    ZVariant numbers = ZVariant::fromVector(std::vector<double>{1, 2}).asComplex();
    ZVariant readings = ZVariant::fromData({Reading{1}, Reading{2}});
    ZVariantAbi sharableNull;
    ZVariantAbi texts = ZVariantAbi::fromData({longText, longText});
    PropertyNode tree = PropertyMap{{earlyKey, text}, {"list", PropertyList{1, null, numbers}}};
    FPropertyNode frozen{tree};
    PropertyPath path{"list", 2};

    ~Holder() {
        require(null.isNull() && sharableNull.isNull() && text == texts.slice({0}).element({0}));
        require(tree.at(path).value() == numbers && frozen.at(path).value() == numbers);
        require(readings.elementAt<Reading>(1).value == 2);
    }
};

// Interns and decodes while the module goes.
struct LateHolder : Holder {
    ~LateHolder() {
        require(decodeCustomType(encodeCustomType(readings)) == readings);
        require(earlyKey == InternedString(earlyKey.view()));
    }
} lateHolder;

}  // namespace

extern "C" PYXCORE_API int usePlugin() {
    try {
        (void)lateHolder.texts.convertTo(WellKnownType::customType);
    } catch (const std::runtime_error&) {
        const EncodedCustomTypeValues encoded = encodeCustomType(lateHolder.readings);
        return FPropertyNode(encoded.values).at({1, earlyKey}).value().as<int>() +
               static_cast<int>(decodeCustomType(encoded).elementAt<Reading>(0).value);
    }
    return 0;
}

// Gives what the caller is to end in his turn, and how.
extern "C" PYXCORE_API void* makeHolder(void (**end)(void*)) {
    *end = [](void* holder) { delete static_cast<Holder*>(holder); };
    return new Holder;
}
