// Values of one element beside the holders that a user would pick instead.

#include "contenders.h"

#include <pyx/variant/ZVariant.h>

#include <nlohmann/json.hpp>

#include <string>
#include <variant>

using namespace Quorvane::Pyx;

namespace {

using StandardVariant = std::variant<std::monostate, bool, int, long long, float, double, std::string>;

template <class Holder, class Element>
void addHolder(const std::string& task, const char* contender, const Element& element) {
    addContender(task, contender, [element] {
        Holder holder(element);
        benchmark::DoNotOptimize(holder);
        Holder copy(holder);
        benchmark::DoNotOptimize(copy);
    });
}

template <class Element>
void addScalar(const std::string& what, const Element& element) {
    const std::string task = "make, copy, destroy: " + what;
    addHolder<ZVariant>(task, "ours", element);
    addHolder<StandardVariant>(task, "std::variant", element);
    addHolder<nlohmann::json>(task, "nlohmann::json", element);
}

}  // namespace

void addScalars() {
    addScalar("double", 2.5);
    addScalar("text of 8", std::string(8, 'x'));
    addScalar("text of 45", std::string(45, 'x'));
}
