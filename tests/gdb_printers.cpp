// What gdb_printers.py looks at in gdb, which stops in `stopHere`.
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

// A scalar and an array of 1 and 0 of each element type.
template <class... Ts>
auto valuesOf(Internal::TypeList<Ts...>) {
    const auto one = [](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_same_v<T, std::string>) {
            return T("one");
        } else if constexpr (std::is_same_v<T, Duration> || std::is_same_v<T, TimePoint>) {
            return T(1, 2);
        } else {
            return T(1);
        }
    };
    return std::vector<std::pair<ZVariant, ZVariantAbi>>{
        {one(Internal::ElementTag<Ts>{}), ZVariantAbi::fromData({one(Internal::ElementTag<Ts>{}), Ts{}})}...};
}

int main() {
    const ZVariant null;
    const ZVariant inlineScalar = 42;
    const ZVariantAbi countedScalar = 0.5;
    const ZVariant grid = ZVariant::fromData({1., 2., 3., 4., 5., 6.}, {2, 3});
    const ZVariant columns = grid.reordered(DataOrdering::ColumnMajor);
    const ZVariant adopted = ZVariant::fromVector(std::vector<short>{-1, 7});
    const ZVariant view = grid.asComplex();
    const ZVariant empty = ZVariant::fromData<float>({});
    const ZVariant text = "it's";
    const ZVariant sensors = ZVariant::fromData({Sensor{1, 0.5}, Sensor{2, 1.5}});
    const auto everyType = valuesOf(Internal::ElementTypes());

    ExternalBuffer<int> buffer(std::vector<int>{8, 9});
    const ZVariant live = buffer.value();

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

    stopHere();
}
