// What a user of the library may write, without its headers' internals.
#include <pyx/pyx.h>

#include <iostream>
#include <sstream>

using namespace Quorvane::Pyx;

int main() {
    const ZVariant grid = ZVariant::fromData({1., 2., 3., 4., 5., 6.}, {2, 3});
    const ZVariantAbi shared = ZVariantAbi::fromData({1., 2., 3., 4., 5., 6.}, {2, 3});
    PropertyMap run{{"grid", grid}, {"tags", PropertyList{"a", "b"}}};
    std::ostringstream text;
    text << grid.slice({last, all}) << ' ' << FPropertyMap(run) << ' ' << grid.isEquivalentTo(shared);
    std::cout << text.str() << '\n';
    return text.str() == "[4, 5, 6] {{'grid', [1, 2, 3, 4, 5, 6]}, {'tags', {'a', 'b'}}} 1" ? 0 : 1;
}
