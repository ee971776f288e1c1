// A module of a client, with static objects of every kind that need the library when they are made and when they end.
#include <pyx/pyx.h>

#include <cstdlib>
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

    bool isWhole() const {
        return null.isNull() && sharableNull.isNull() && text == texts.slice({0}).element({0}) &&
               tree.at(path).value() == numbers && frozen.at(path).value() == numbers &&
               readings.elementAt<Reading>(1).value == 2;
    }
    ~Holder() {
        if (!isWhole()) {
            std::abort();
        }
    }
};

// Interns and decodes while the module goes.
struct LateHolder : Holder {
    ~LateHolder() {
        const bool isKnown = decodeCustomType(encodeCustomType(readings)) == readings;
        if (!isKnown || earlyKey != InternedString(earlyKey.view())) {
            std::abort();
        }
    }
} lateHolder;

}  // namespace

extern "C" PYXCORE_API int usePlugin() {
    const ZVariant& readings = lateHolder.readings;
    const FPropertyNode frozen(encodeCustomType(readings).values);
    const ZVariant again = decodeCustomType(encodeCustomType(readings));
    return frozen.at({1, earlyKey}).value().as<int>() + static_cast<int>(again.elementAt<Reading>(0).value);
}

// Gives what the caller is to end in his turn, and how.
extern "C" PYXCORE_API void* makeHolder(void (**end)(void*)) {
    *end = [](void* holder) { delete static_cast<Holder*>(holder); };
    return new Holder;
}
