// What gdb_printers.py looks at in gdb, which stops in `stopHere`.
#include "client_storage.h"

#include <pyx/pyx.h>

#include <complex>
#include <string>
#include <utility>
#include <vector>

using namespace Quorvane::Pyx;

struct Sensor {
    int channel = 0;
    double gain = 0;

    friend bool operator==(const Sensor& left, const Sensor& right) {
        return left.channel == right.channel && left.gain == right.gain;
    }
};

__attribute__((noinline)) void stopHere() {
    asm volatile("");
}

template <class T>
T one() {
    if constexpr (std::is_same_v<T, std::string>) {
        return "one";
    } else if constexpr (Internal::isNumericElement<T>) {
        return T(1);
    } else {
        return T(1, 2);
    }
}

struct Forms {
    ZVariant inlineScalar;
    ZVariantAbi countedScalar;
    ZVariantAbi array;
};

// A scalar of 1, twice, and an array of 1 and 0 of each element type.
template <class... Ts>
auto valuesOf(Internal::TypeList<Ts...>) {
    return std::vector<Forms>{{one<Ts>(), one<Ts>(), ZVariantAbi::fromData({one<Ts>(), Ts{}})}...};
}

int main() {
    const ZVariant null;
    const ZVariant grid = ZVariant::fromData({1., 2., 3., 4., 5., 6.}, {2, 3});
    const ZVariant columns = grid.reordered(DataOrdering::ColumnMajor);
    const ZVariant adopted = ZVariant::fromVector(std::vector<short>{-1, 7});
    const ZVariant view = grid.asComplex();
    const ZVariant parts = ZVariant::fromData<std::complex<double>>({{1, 2}, {3, 4}}, {2, 1}).asReal();
    const ZVariant empty = ZVariant::fromData<float>({});
    const ZVariant text = "it's";
    const ZVariant sensors = ZVariant::fromData({Sensor{1, 0.5}, Sensor{2, 1.5}});
    const auto everyType = valuesOf(Internal::ElementTypes());

    ExternalBuffer<int> buffer(std::vector<int>{8, 9});
    const ZVariant live = buffer.value();
    ExternalBuffer<Complex<signed char>, ZVariantAbi> shortLived({8, 9}, {1, 2});
    const ZVariantAbi snapshot = shortLived.value();
    shortLived.detach();
    ClientStorage storage({WellKnownType::int32, {1}, DataOrdering::RowMajor, {Bytes(4, 0)}, false});
    const ZVariant foreign = ZVariant::fromExternal(storage);

    const PropertyNode tree =
        PropertyMap{{"name", "lattice"}, {"tags", PropertyList{1, nullptr}}, {"none", PropertyMap{}}};
    const FPropertyNode frozen(tree);
    const FPropertyNode nothing;
    const PropertyPath path{"tags", 1};
    const InternedString key("tags");
    [[maybe_unused]] const InternedString noKey;
    [[maybe_unused]] const WellKnownType type = WellKnownType::complexInt16;
    ZVariant source = grid;
    const ZVariant target = std::move(source);
    [[maybe_unused]] const ArrayDimensionsView shape = grid.dimensions();

    stopHere();
}
