// A module of a client, with static handles that need the set of interned texts before and after everything else.
#include <pyx/pyx.h>

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

// Reads its key while the module goes.
struct LateReader {
    ~LateReader() {
        if (earlyKey != InternedString(earlyKey.view())) {
            std::abort();
        }
    }
} lateReader;

}  // namespace

extern "C" PYXCORE_API int usePlugin() {
    const ZVariant readings = ZVariant::fromData({Reading{1}, Reading{2}});
    const FPropertyNode frozen(encodeCustomType(readings).values);
    const ZVariant again = decodeCustomType(encodeCustomType(readings));
    return frozen.at({1, earlyKey}).value().as<int>() + static_cast<int>(again.elementAt<Reading>(0).value);
}
