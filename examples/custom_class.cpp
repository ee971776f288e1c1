// A class of one's own as an element: held in values as a scalar and as an array, turned into plain trees that can be
// stored or sent, and brought back.
#include <pyx/pyx.h>

#include <iostream>
#include <string>

using namespace Quorvane::Pyx;

namespace {

// What an element needs: copies, a default constructor and ==.
struct Sensor {
    std::string name;
    double gain = 1;
    ZVariant calibration;

    friend bool operator==(const Sensor& left, const Sensor& right) {
        return left.name == right.name && left.gain == right.gain && left.calibration == right.calibration;
    }
};

PropertyMap toMap(const Sensor& sensor) {
    return {{"name", sensor.name}, {"gain", sensor.gain}, {"calibration", sensor.calibration}};
}

Sensor fromMap(const PropertyMap& map) {
    return {map.at("name").value().as<std::string>(), map.at("gain").value().as<double>(),
            map.at("calibration").value()};
}

}  // namespace

int main() {
    const CustomTypeRegistration<Sensor> registration("Sensor", toMap, fromMap);

    const Sensor north{"north", 1.25, ZVariant::fromData({0.5, 1.0, 1.5, 2.0}, {2, 2})};
    const Sensor south{"south", 0.75, ZVariant()};

    const ZVariant one = ZVariant::fromCustom(north);
    std::cout << "One sensor, encoded as \"" << encodeCustomType(one).typeName << "\":\n\n";
    ConsoleFormatter::serialize(encodeCustomType(one).values, std::cout);

    const ZVariant both = ZVariant::fromData({north, south});
    const EncodedCustomTypeValues encoded = encodeCustomType(both);
    std::cout << "\nAn array of two, on one line:\n\n" << encoded.values << '\n';

    const ZVariant decoded = decodeCustomType(encoded);
    std::cout << "\nDecoded again:\n\n";
    for (const Sensor& sensor : decoded.valueRange<Sensor>()) {
        std::cout << sensor.name << ": gain " << sensor.gain << ", calibration " << sensor.calibration << '\n';
    }

    // A frozen tree is cheap to hand around, and a path leads into it.
    const FPropertyNode frozen(encoded.values);
    const PropertyPath path{0, "gain"};
    std::cout << "\nAt the path " << path << ": " << frozen.at(path).value() << '\n';

    const bool same = decoded.elementAt<Sensor>(0) == north && decoded.elementAt<Sensor>(1) == south;
    return same ? 0 : 1;
}
