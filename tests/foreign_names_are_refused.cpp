// Does not compile with another standard library than the library's own: each of these fails with one sentence.
#include <pyx/pyx.h>

#include <string>

using namespace Quorvane::Pyx;

const std::string& lend(const ZVariantAbi& value) {
    return value.elementAt<std::string>(0);
}
PropertyList list;
ExternalBuffer<double> buffer;
