// Does not compile: each of these fails with one sentence that says what to do instead.
#include <pyx/pyx.h>

#include <string>
#include <vector>

using namespace Quorvane::Pyx;

struct Incomparable {};
struct Custom {
    bool operator==(const Custom&) const { return true; }
};

void failing(const ZVariant& value) {
    const long double wide[] = {1};
    (void)ZVariant::fromData(wide, 1);
    (void)ZVariantAbi::allocate<Custom>({1});
    (void)ZVariant::fromVector(std::vector<bool>{true});
    (void)value.elementAt<long>(0);
    (void)value.isElementType<long double>();
    PropertyList(3, 4);
    (void)sizeof(Internal::ScalarVariantDataNonCounted<PropertyPath>);
    (void)value.as<Custom>();
    (void)ZVariant::fromCustom(Incomparable());
    registerCustomType<Custom>(
        "Custom", [](const std::string&) { return PropertyMap(); }, [](const PropertyMap&) { return Custom(); });
    ExternalBuffer<char> buffer(nullptr, {0});
}
