// Does not compile with another standard library than the library's own: each of these fails with one sentence.
#include <pyx/pyx.h>

#include <string>

using namespace Quorvane::Pyx;

// One of the operations that would lend a string: their sentence comes once in a file.
auto lend(ZVariantAbi& value) {
    return value.LEND;
}
PropertyList list;
FlatTree tree;
ExternalBuffer<double> buffer;
struct Storage : ExternalVariantStorageInterface {
} storage;
ZVariant direct;
