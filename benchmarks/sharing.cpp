// One more holder of the same data, beside std::shared_ptr. A thread has been started, so both count atomically.

#include "contenders.h"

#include <pyx/pyx.h>

#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

template <class Holder>
void addHolder(const std::string& task, const char* contender, const Holder& original) {
    addContender(task, contender, [original] {
        Holder copy(original);
        benchmark::DoNotOptimize(copy);
    });
}

}  // namespace

void addSharing() {
    const std::vector<double> elements(1'000, 1.0);
    addHolder("copy and drop: shared array", "ours", ZVariant::fromVector(std::vector<double>(elements)));
    addHolder("copy and drop: shared array", "std::shared_ptr", std::make_shared<const std::vector<double>>(elements));
    addHolder("copy and drop: frozen tree", "ours", FPropertyNode(PropertyNode(PropertyList{1, 2, 3})));
    addHolder("copy and drop: frozen tree", "std::shared_ptr",
              std::make_shared<const nlohmann::json>(nlohmann::json::array({1, 2, 3})));
}
