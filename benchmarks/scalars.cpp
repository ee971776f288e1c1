// Values of one element beside the holders of the standard library.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <any>
#include <string>
#include <variant>

using namespace Quorvane::Pyx;

namespace {

using StandardVariant = std::variant<std::monostate, bool, int, long long, float, double, std::string>;

template <class Holder, class Element>
void addHolder(const std::string& task, const char* contender, const Element& element) {
    addContender("make and destroy " + task, contender, [element] {
        Holder holder(element);
        benchmark::DoNotOptimize(holder);
    });
    addContender("copy and destroy " + task, contender, [original = Holder(element)] {
        Holder holder(original);
        benchmark::DoNotOptimize(holder);
    });
}

template <class Value, class Element>
void addScalar(const std::string& task, const Element& element) {
    addHolder<Value>(task, "ours", element);
    addHolder<std::any>(task, "std::any", element);
    addHolder<StandardVariant>(task, "std::variant", element);
}

template <class Value>
void addScalarsOf(const std::string& valueName) {
    addScalar<Value>("double, " + valueName, 2.5);
    addScalar<Value>("text of 8, " + valueName, std::string(8, 'x'));
    addScalar<Value>("text of 45, " + valueName, std::string(45, 'x'));
}

}  // namespace

void addScalars() {
    addScalarsOf<ZVariant>("ZVariant");
    addScalarsOf<ZVariantAbi>("ZVariantAbi");
}
